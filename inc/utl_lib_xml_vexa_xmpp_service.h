// Message object for requests that arrive over the XMPP channel: reads the
// request (identifier, parameters) and builds its response (identifier,
// progress and command result, with their progress lists).
#ifndef NORVANE_UTL_LIB_XML_VEXA_XMPP_SERVICE_H
#define NORVANE_UTL_LIB_XML_VEXA_XMPP_SERVICE_H

#include <string>
#include <vector>

#include "utl_lib_xml_vexa_data.h"
#include "utl_lib_xml_vexa_def.h"

namespace norvane {

class utl_lib_xml_vexa_mediator;
class utl_lib_xml_vexa_xmpp_service_peer;

class utl_lib_xml_vexa_xmpp_service {
public:
    utl_lib_xml_vexa_xmpp_service();
    ~utl_lib_xml_vexa_xmpp_service();
    utl_lib_xml_vexa_xmpp_service(const utl_lib_xml_vexa_xmpp_service&) = delete;
    utl_lib_xml_vexa_xmpp_service& operator=(const utl_lib_xml_vexa_xmpp_service&) = delete;

    int clear();
    int parse_xml(const std::string& xml, UTL_LIB_XML_VEXA_RESULT& result);
    int create_xml(std::string& out, UTL_LIB_XML_VEXA_RESULT& result);
    int set_rexid(const char* rexid);
    int get_rexid(int& exist, char* out);
    int get_xmpp_request_parameter(int& exist, UTL_LIB_XML_VEXA_XMPP_REQUEST_PARAM_S& out);
    // Copies the records over the response but keeps the response's own
    // list heads, so lists added before or after survive.
    int set_response(const UTL_LIB_XML_VEXA_XMPP_PROGRESS_RESPONSE_S* progress,
                     const UTL_LIB_XML_VEXA_XMPP_COMMAND_RESULT_S* command_result);
    int add_progress_info(const UTL_LIB_XML_VEXA_PROGRESS_INFO_S* items, int count);
    int add_result_process(const UTL_LIB_XML_VEXA_PROGRESS_INFO_S* items, int count);

private:
    // Unit tests read the records through this peer.
    friend class utl_lib_xml_vexa_xmpp_service_peer;

    UTL_LIB_XML_VEXA_INTERFACE_REQUEST_S* request_;
    UTL_LIB_XML_VEXA_INTERFACE_RESPONSE_S* response_;
    UTL_LIB_XML_VEXA_INTERFACE_ERROR_S* error_;
    UTL_LIB_XML_VEXA_XMPP_NOTE_S* xmpp_note_;
    UTL_LIB_XML_VEXA_XMPP_NOTE_TYPE_ note_type_;
    std::string note_value_;
    utl_lib_xml_vexa_mediator* xml_vexa_mediator_;
    std::vector<void*> allocated_memory_;
};

}  // namespace norvane

#endif
