#include "utl_lib_xml_vexa_xmpp_service.h"

#include <cstdint>
#include <cstring>

#include "osw_os_wrapper.h"
#include "utl_lib_xml_local.h"
#include "utl_lib_xml_vexa_mediator.h"
#include "utl_lib_xml_vexa_message_local.h"

namespace norvane {

utl_lib_xml_vexa_xmpp_service::utl_lib_xml_vexa_xmpp_service()
    : request_(utl_lib_xml_vexa_alloc_record<UTL_LIB_XML_VEXA_INTERFACE_REQUEST_S>()),
      response_(utl_lib_xml_vexa_alloc_record<UTL_LIB_XML_VEXA_INTERFACE_RESPONSE_S>()),
      error_(nullptr),
      xmpp_note_(nullptr),
      note_type_(UTL_LIB_XML_VEXA_XMPP_NOTE_TYPE_NONE),
      note_value_(),
      xml_vexa_mediator_(new utl_lib_xml_vexa_mediator()),
      allocated_memory_()
{
    clear();
}

utl_lib_xml_vexa_xmpp_service::~utl_lib_xml_vexa_xmpp_service()
{
    clear();
    zulOSWOrgFreeMemPart(nullptr, request_);
    zulOSWOrgFreeMemPart(nullptr, response_);
    delete xml_vexa_mediator_;
}

int utl_lib_xml_vexa_xmpp_service::clear()
{
    utl_lib_xml_vexa_free_blocks(allocated_memory_);
    std::memset(request_, 0, sizeof(UTL_LIB_XML_VEXA_INTERFACE_REQUEST_S));
    std::memset(response_, 0, sizeof(UTL_LIB_XML_VEXA_INTERFACE_RESPONSE_S));
    return 0;
}

int utl_lib_xml_vexa_xmpp_service::parse_xml(const std::string& xml,
                                             UTL_LIB_XML_VEXA_RESULT& result)
{
    result = UTL_LIB_XML_VEXA_RESULT_NO_ERR;
    return xml_vexa_mediator_->parse(UTL_LIB_XML_VEXA_MESSAGE_REQUEST, xml, request_, result);
}

int utl_lib_xml_vexa_xmpp_service::create_xml(std::string& out, UTL_LIB_XML_VEXA_RESULT& result)
{
    result = UTL_LIB_XML_VEXA_RESULT_NO_ERR;
    return xml_vexa_mediator_->create(UTL_LIB_XML_VEXA_MESSAGE_RESPONSE, 0, response_, out,
                                      result);
}

int utl_lib_xml_vexa_xmpp_service::set_rexid(const char* rexid)
{
    if (rexid == nullptr) {
        utl_lib_xml_trace("[XML][ERROR! ]param Error. p[0x%08x]",
                          (unsigned int)(uintptr_t)rexid);
        return 1;
    }
    response_->exist_rexid = 1;
    utl_lib_xml_vexa_copy_text(response_->rexid, rexid, UTL_LIB_XML_VEXA_REXID_MAX_LENGTH);
    return 0;
}

int utl_lib_xml_vexa_xmpp_service::get_rexid(int& exist, char* out)
{
    if (out == nullptr) {
        utl_lib_xml_trace("[XML][ERROR! ]param Error. p[0x%08x]", (unsigned int)(uintptr_t)out);
        return 1;
    }
    exist = request_->exist_rexid;
    if (exist == 1) {
        utl_lib_xml_vexa_copy_text(out, request_->rexid, UTL_LIB_XML_VEXA_REXID_MAX_LENGTH);
    }
    return 0;
}

int utl_lib_xml_vexa_xmpp_service::get_xmpp_request_parameter(
    int& exist, UTL_LIB_XML_VEXA_XMPP_REQUEST_PARAM_S& out)
{
    exist = request_->exist_param;
    out = request_->param;
    return 0;
}

int utl_lib_xml_vexa_xmpp_service::set_response(
    const UTL_LIB_XML_VEXA_XMPP_PROGRESS_RESPONSE_S* progress,
    const UTL_LIB_XML_VEXA_XMPP_COMMAND_RESULT_S* command_result)
{
    if (progress != nullptr) {
        LIST own_process_info = response_->progress.process_info;
        response_->progress = *progress;
        response_->progress.process_info = own_process_info;
        response_->exist_progress = 1;
    } else {
        response_->exist_progress = 0;
    }
    if (command_result != nullptr) {
        LIST own_result_process = response_->command_result.result_process;
        response_->command_result = *command_result;
        response_->command_result.result_process = own_result_process;
        response_->exist_command_result = 1;
    } else {
        response_->exist_command_result = 0;
    }
    return 0;
}

int utl_lib_xml_vexa_xmpp_service::add_progress_info(const UTL_LIB_XML_VEXA_PROGRESS_INFO_S* items,
                                                     int count)
{
    if (items == nullptr) {
        return 1;
    }
    int ret = utl_lib_xml_vexa_append_progress(&response_->progress.process_info, items, count,
                                               allocated_memory_);
    response_->exist_progress = 1;
    return ret;
}

int utl_lib_xml_vexa_xmpp_service::add_result_process(
    const UTL_LIB_XML_VEXA_PROGRESS_INFO_S* items, int count)
{
    if (items == nullptr) {
        return 1;
    }
    int ret = utl_lib_xml_vexa_append_progress(&response_->command_result.result_process, items,
                                               count, allocated_memory_);
    response_->exist_command_result = 1;
    return ret;
}

}  // namespace norvane
