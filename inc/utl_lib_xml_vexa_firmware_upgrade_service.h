// Message object for the firmware-upgrade messages of the vexa family.
//
// It owns one request record and one response record. parse_xml fills the
// request record through the schema mediator; the getters hand out copies of
// the firmware package header, its download groups and their data files. The
// response, status and error documents are written through the mediator and
// the error-response object. List nodes built while parsing belong to the
// mediator and live until this object is destroyed.
#ifndef NORVANE_UTL_LIB_XML_VEXA_FIRMWARE_UPGRADE_SERVICE_H
#define NORVANE_UTL_LIB_XML_VEXA_FIRMWARE_UPGRADE_SERVICE_H

#include <string>
#include <vector>

#include "utl_lib_xml_vexa_data.h"
#include "utl_lib_xml_vexa_def.h"

namespace norvane {

class utl_lib_xml_vexa_mediator;
class utl_lib_xml_vexa_firmware_upgrade_service_peer;
class utl_lib_xml_vexa_error_response_service;

class utl_lib_xml_vexa_firmware_upgrade_service {
public:
    utl_lib_xml_vexa_firmware_upgrade_service();
    ~utl_lib_xml_vexa_firmware_upgrade_service();
    utl_lib_xml_vexa_firmware_upgrade_service(const utl_lib_xml_vexa_firmware_upgrade_service&) =
        delete;
    utl_lib_xml_vexa_firmware_upgrade_service& operator=(
        const utl_lib_xml_vexa_firmware_upgrade_service&) = delete;

    int clear();

    // XMPP parses a whole request; any other protocol parses a document
    // whose root is "firmware_package" into the request's firmware_package.
    int parse_xml(const std::string& xml, UTL_LIB_XML_VEXA_RESULT& result,
                  UTL_LIB_XML_VEXA_PROTOCOL_TYPE_ protocol);
    int create_xml(UTL_LIB_XML_VEXA_MESSAGE_TYPE_ type, std::string& xml,
                   UTL_LIB_XML_VEXA_RESULT& result);
    int create_status_xml(const UTL_LIB_XML_VEXA_TASK_STATUS_INFO_& info, std::string& xml,
                          UTL_LIB_XML_VEXA_RESULT& result);

    int get_rexid(int& exist, char* rexid);
    int get_firmware_upgrade(int& exist_device_id, char* device_id, int& exist_package_version,
                             char* package_version, int& exist_description, char* description,
                             int& exist_total_size, int* total_size,
                             UTL_LIB_XML_VEXA_PACKAGE_TYPE_& package_type);
    int get_firmware_upgrade(int& exist_device_id, char* device_id, int& exist_package_version,
                             char* package_version, int& exist_description, char* description,
                             int& exist_total_size, int* total_size);
    int get_download_information_count(int& count);
    int get_download_information(int index, UTL_LIB_XML_VEXA_FIRMWARE_DOWNLOAD_INFORMATION_S& out);
    int get_firmware_data_information_count(
        const UTL_LIB_XML_VEXA_FIRMWARE_DOWNLOAD_INFORMATION_S* group, int& count);
    int get_firmware_data_information(int index,
                                      const UTL_LIB_XML_VEXA_FIRMWARE_DOWNLOAD_INFORMATION_S* group,
                                      UTL_LIB_XML_VEXA_FIRMWARE_DATA_INFORMATION_S& out);
    int get_xmpp_request_parameter(int& exist, UTL_LIB_XML_VEXA_XMPP_REQUEST_PARAM_S& param);

    int set_rexid(const char* rexid, const UTL_LIB_XML_VEXA_XMPP_PROGRESS_RESPONSE_S* progress);
    int set_note(UTL_LIB_XML_VEXA_XMPP_NOTE_TYPE_ type, char* note);
    int set_cmd_error(const UTL_LIB_XML_VEXA_XMPP_CMDERROR_S& error);

private:
    // Unit tests read the records through this peer.
    friend class utl_lib_xml_vexa_firmware_upgrade_service_peer;

    UTL_LIB_XML_VEXA_INTERFACE_REQUEST_S* request_;
    UTL_LIB_XML_VEXA_INTERFACE_RESPONSE_S* response_;
    utl_lib_xml_vexa_error_response_service* err_res_;
    utl_lib_xml_vexa_mediator* xml_vexa_mediator_;
    std::vector<void*> allocated_memory_;
};

}  // namespace norvane

#endif
