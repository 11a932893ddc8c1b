#include "utl_lib_xml_vexa_firmware_upgrade_service.h"

#include <cstring>

#include "osw_os_wrapper.h"
#include "utl_lib_xml_local.h"
#include "utl_lib_xml_vexa_data_utl.h"
#include "utl_lib_xml_vexa_error_response_service.h"
#include "utl_lib_xml_vexa_mediator.h"
#include "utl_lib_xml_vexa_message_local.h"

namespace norvane {

namespace {

// Longest texts handed out of the package header.
constexpr size_t DEVICE_ID_MAX_LENGTH = 21;
constexpr size_t PACKAGE_VERSION_MAX_LENGTH = 32;
constexpr size_t DESCRIPTION_MAX_LENGTH = 128;

}  // namespace

utl_lib_xml_vexa_firmware_upgrade_service::utl_lib_xml_vexa_firmware_upgrade_service()
    : request_(utl_lib_xml_vexa_alloc_record<UTL_LIB_XML_VEXA_INTERFACE_REQUEST_S>()),
      response_(utl_lib_xml_vexa_alloc_record<UTL_LIB_XML_VEXA_INTERFACE_RESPONSE_S>()),
      err_res_(new utl_lib_xml_vexa_error_response_service()),
      xml_vexa_mediator_(new utl_lib_xml_vexa_mediator()),
      allocated_memory_()
{
    clear();
}

utl_lib_xml_vexa_firmware_upgrade_service::~utl_lib_xml_vexa_firmware_upgrade_service()
{
    clear();
    zulOSWOrgFreeMemPart(nullptr, request_);
    zulOSWOrgFreeMemPart(nullptr, response_);
    delete xml_vexa_mediator_;
    delete err_res_;
}

int utl_lib_xml_vexa_firmware_upgrade_service::clear()
{
    utl_lib_xml_vexa_free_blocks(allocated_memory_);
    std::memset(request_, 0, sizeof(UTL_LIB_XML_VEXA_INTERFACE_REQUEST_S));
    std::memset(response_, 0, sizeof(UTL_LIB_XML_VEXA_INTERFACE_RESPONSE_S));
    return 0;
}

int utl_lib_xml_vexa_firmware_upgrade_service::parse_xml(const std::string& xml,
                                                         UTL_LIB_XML_VEXA_RESULT& result,
                                                         UTL_LIB_XML_VEXA_PROTOCOL_TYPE_ protocol)
{
    clear();
    int ret;
    if (protocol == UTL_LIB_XML_VEXA_PROTOCOL_XMPP) {
        ret = xml_vexa_mediator_->parse(UTL_LIB_XML_VEXA_MESSAGE_REQUEST, xml, request_, result);
    } else {
        ret = xml_vexa_mediator_->parse(UTL_LIB_XML_VEXA_MESSAGE_FIRMWARE_PACKAGE, xml,
                                        &request_->firmware_package, result);
    }
    if (ret != 0) {
        return ret;
    }
    // The answer carries the identifier of the request it answers.
    if (request_->exist_rexid == 1) {
        response_->exist_rexid = 1;
        utl_lib_xml_vexa_copy_text(response_->rexid, request_->rexid,
                                   UTL_LIB_XML_VEXA_REXID_MAX_LENGTH);
    }
    return ret;
}

int utl_lib_xml_vexa_firmware_upgrade_service::create_xml(UTL_LIB_XML_VEXA_MESSAGE_TYPE_ type,
                                                          std::string& xml,
                                                          UTL_LIB_XML_VEXA_RESULT& result)
{
    if (type == UTL_LIB_XML_VEXA_MESSAGE_RESPONSE) {
        return xml_vexa_mediator_->create(UTL_LIB_XML_VEXA_MESSAGE_RESPONSE, 0, response_, xml,
                                          result);
    }
    if (type == UTL_LIB_XML_VEXA_MESSAGE_ERROR) {
        return err_res_->create_xml(xml, result);
    }
    utl_lib_xml_trace("[XML][ERROR! ]create message_type invalid [%d]", static_cast<int>(type));
    return 1;
}

int utl_lib_xml_vexa_firmware_upgrade_service::create_status_xml(
    const UTL_LIB_XML_VEXA_TASK_STATUS_INFO_& info, std::string& xml,
    UTL_LIB_XML_VEXA_RESULT& result)
{
    // A status message carries the two status fields alone, never the
    // member response's identifier or progress.
    auto* status = utl_lib_xml_vexa_alloc_record<UTL_LIB_XML_VEXA_INTERFACE_RESPONSE_S>();
    if (status == nullptr) {
        result = UTL_LIB_XML_VEXA_RESULT_MEMORY_ERR;
        return 1;
    }
    std::memset(status, 0, sizeof(UTL_LIB_XML_VEXA_INTERFACE_RESPONSE_S));
    status->status = info.status;
    status->detailed_status = info.detailed_status;
    int ret = xml_vexa_mediator_->create(UTL_LIB_XML_VEXA_MESSAGE_RESPONSE, 0, status, xml, result);
    zulOSWOrgFreeMemPart(nullptr, status);
    return ret;
}

int utl_lib_xml_vexa_firmware_upgrade_service::get_rexid(int& exist, char* rexid)
{
    if (rexid == nullptr) {
        return 1;
    }
    exist = request_->exist_rexid;
    if (exist == 1) {
        utl_lib_xml_vexa_copy_text(rexid, request_->rexid, UTL_LIB_XML_VEXA_REXID_MAX_LENGTH);
    }
    return 0;
}

int utl_lib_xml_vexa_firmware_upgrade_service::get_firmware_upgrade(
    int& exist_device_id, char* device_id, int& exist_package_version, char* package_version,
    int& exist_description, char* description, int& exist_total_size, int* total_size,
    UTL_LIB_XML_VEXA_PACKAGE_TYPE_& package_type)
{
    // The bounded copies add no terminator at the limit: callers pass zeroed
    // buffers of the record's full length.
    const UTL_LIB_XML_VEXA_FIRMWARE_PACKAGE_S& package = request_->firmware_package;
    exist_device_id = package.exist_device_id;
    if (exist_device_id == 1 && device_id != nullptr) {
        utl_lib_xml_vexa_copy_text(device_id, package.device_id, DEVICE_ID_MAX_LENGTH);
    }
    exist_package_version = package.exist_package_version;
    if (exist_package_version == 1 && package_version != nullptr) {
        utl_lib_xml_vexa_copy_text(package_version, package.package_version,
                                   PACKAGE_VERSION_MAX_LENGTH);
    }
    exist_description = package.exist_description;
    if (exist_description == 1 && description != nullptr) {
        utl_lib_xml_vexa_copy_text(description, package.description, DESCRIPTION_MAX_LENGTH);
    }
    exist_total_size = package.exist_total_size;
    if (exist_total_size == 1 && total_size != nullptr) {
        *total_size = package.total_size;
    }
    package_type = package.package_type;
    return 0;
}

int utl_lib_xml_vexa_firmware_upgrade_service::get_firmware_upgrade(
    int& exist_device_id, char* device_id, int& exist_package_version, char* package_version,
    int& exist_description, char* description, int& exist_total_size, int* total_size)
{
    UTL_LIB_XML_VEXA_PACKAGE_TYPE_ discarded = UTL_LIB_XML_VEXA_PACKAGE_TYPE_NONE;
    return get_firmware_upgrade(exist_device_id, device_id, exist_package_version,
                                package_version, exist_description, description,
                                exist_total_size, total_size, discarded);
}

int utl_lib_xml_vexa_firmware_upgrade_service::get_download_information_count(int& count)
{
    count = request_->firmware_package.download_information.count;
    return 0;
}

int utl_lib_xml_vexa_firmware_upgrade_service::get_download_information(
    int index, UTL_LIB_XML_VEXA_FIRMWARE_DOWNLOAD_INFORMATION_S& out)
{
    utl_lib_xml_vexa_data_utl data_utl;
    return data_utl.get_list_data(&request_->firmware_package.download_information, index,
                                  sizeof(UTL_LIB_XML_VEXA_FIRMWARE_DOWNLOAD_INFORMATION_S), &out);
}

int utl_lib_xml_vexa_firmware_upgrade_service::get_firmware_data_information_count(
    const UTL_LIB_XML_VEXA_FIRMWARE_DOWNLOAD_INFORMATION_S* group, int& count)
{
    if (group == nullptr) {
        return 1;
    }
    count = group->data_information.count;
    return 0;
}

int utl_lib_xml_vexa_firmware_upgrade_service::get_firmware_data_information(
    int index, const UTL_LIB_XML_VEXA_FIRMWARE_DOWNLOAD_INFORMATION_S* group,
    UTL_LIB_XML_VEXA_FIRMWARE_DATA_INFORMATION_S& out)
{
    if (group == nullptr) {
        return 1;
    }
    // Lists are walked forward from the head only, so a copy of the head
    // reaches the same nodes and the caller's group stays untouched.
    LIST files = group->data_information;
    utl_lib_xml_vexa_data_utl data_utl;
    return data_utl.get_list_data(&files, index,
                                  sizeof(UTL_LIB_XML_VEXA_FIRMWARE_DATA_INFORMATION_S), &out);
}

int utl_lib_xml_vexa_firmware_upgrade_service::get_xmpp_request_parameter(
    int& exist, UTL_LIB_XML_VEXA_XMPP_REQUEST_PARAM_S& param)
{
    exist = request_->exist_param;
    if (exist == 1) {
        param = request_->param;
    }
    return 0;
}

int utl_lib_xml_vexa_firmware_upgrade_service::set_rexid(
    const char* rexid, const UTL_LIB_XML_VEXA_XMPP_PROGRESS_RESPONSE_S* progress)
{
    if (rexid != nullptr) {
        response_->exist_rexid = 1;
        utl_lib_xml_vexa_copy_text(response_->rexid, rexid, UTL_LIB_XML_VEXA_REXID_MAX_LENGTH);
        err_res_->set_rexid(rexid);
    }
    if (progress != nullptr) {
        response_->exist_progress = 1;
        response_->progress = *progress;
    }
    return 0;
}

int utl_lib_xml_vexa_firmware_upgrade_service::set_note(UTL_LIB_XML_VEXA_XMPP_NOTE_TYPE_ type,
                                                        char* note)
{
    return err_res_->set_note(type, note);
}

int utl_lib_xml_vexa_firmware_upgrade_service::set_cmd_error(
    const UTL_LIB_XML_VEXA_XMPP_CMDERROR_S& error)
{
    return err_res_->set_cmd_error(error);
}

}  // namespace norvane
