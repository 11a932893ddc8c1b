// Message object for the error answer of the vexa family: a hand-built note
// element followed by the error message body that the schema mediator writes
// from the error record.
#ifndef NORVANE_UTL_LIB_XML_VEXA_ERROR_RESPONSE_SERVICE_H
#define NORVANE_UTL_LIB_XML_VEXA_ERROR_RESPONSE_SERVICE_H

#include <string>
#include <vector>

#include "utl_lib_xml_vexa_data.h"
#include "utl_lib_xml_vexa_def.h"

namespace norvane {

class utl_lib_xml_vexa_mediator;
class utl_lib_xml_vexa_error_response_service_peer;

class utl_lib_xml_vexa_error_response_service {
public:
    utl_lib_xml_vexa_error_response_service();
    ~utl_lib_xml_vexa_error_response_service();
    utl_lib_xml_vexa_error_response_service(const utl_lib_xml_vexa_error_response_service&) =
        delete;
    utl_lib_xml_vexa_error_response_service& operator=(
        const utl_lib_xml_vexa_error_response_service&) = delete;

    int clear();
    // A null identifier is ignored without a message.
    int set_rexid(const char* rexid);
    int set_note(UTL_LIB_XML_VEXA_XMPP_NOTE_TYPE_ type, char* text);
    int set_cmd_error(const UTL_LIB_XML_VEXA_XMPP_CMDERROR_S& e);
    int add_result_process(const UTL_LIB_XML_VEXA_PROGRESS_INFO_S* items, int count);
    // "<note type=\"...\">text</note>"; the text goes in unescaped.
    int create_note_tag(std::string& out);
    // Appends the note and then the error body; nothing when the note fails.
    int create_xml(std::string& out, UTL_LIB_XML_VEXA_RESULT& result);

private:
    // Unit tests read the records through this peer.
    friend class utl_lib_xml_vexa_error_response_service_peer;

    UTL_LIB_XML_VEXA_XMPP_NOTE_S* xmpp_note_;
    UTL_LIB_XML_VEXA_INTERFACE_ERROR_S* error_;
    utl_lib_xml_vexa_mediator* xml_vexa_mediator_;
    std::vector<void*> allocated_memory_;
    UTL_LIB_XML_VEXA_XMPP_NOTE_TYPE_ note_type_;
    std::string note_value_;
};

}  // namespace norvane

#endif
