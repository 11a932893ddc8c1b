#include "utl_lib_xml_vexa_error_response_service.h"

#include <cstring>

#include "osw_os_wrapper.h"
#include "utl_lib_xml_local.h"
#include "utl_lib_xml_vexa_mediator.h"
#include "utl_lib_xml_vexa_message_local.h"

namespace norvane {

namespace {

constexpr size_t MESSAGE_MAX_LENGTH = 256;

// The word that stands in the note's type attribute; null for no known type.
const char* note_type_word(UTL_LIB_XML_VEXA_XMPP_NOTE_TYPE_ type)
{
    switch (type) {
    case UTL_LIB_XML_VEXA_XMPP_NOTE_ERROR:
        return "error";
    case UTL_LIB_XML_VEXA_XMPP_NOTE_INFO:
        return "info";
    case UTL_LIB_XML_VEXA_XMPP_NOTE_WARN:
        return "warn";
    default:
        return nullptr;
    }
}

}  // namespace

utl_lib_xml_vexa_error_response_service::utl_lib_xml_vexa_error_response_service()
    : xmpp_note_(utl_lib_xml_vexa_alloc_record<UTL_LIB_XML_VEXA_XMPP_NOTE_S>()),
      error_(utl_lib_xml_vexa_alloc_record<UTL_LIB_XML_VEXA_INTERFACE_ERROR_S>()),
      xml_vexa_mediator_(new utl_lib_xml_vexa_mediator()),
      allocated_memory_(),
      note_type_(UTL_LIB_XML_VEXA_XMPP_NOTE_TYPE_NONE),
      note_value_()
{
    clear();
}

utl_lib_xml_vexa_error_response_service::~utl_lib_xml_vexa_error_response_service()
{
    clear();
    zulOSWOrgFreeMemPart(nullptr, error_);
    zulOSWOrgFreeMemPart(nullptr, xmpp_note_);
    delete xml_vexa_mediator_;
}

int utl_lib_xml_vexa_error_response_service::clear()
{
    utl_lib_xml_vexa_free_blocks(allocated_memory_);
    std::memset(error_, 0, sizeof(UTL_LIB_XML_VEXA_INTERFACE_ERROR_S));
    std::memset(xmpp_note_, 0, sizeof(UTL_LIB_XML_VEXA_XMPP_NOTE_S));
    note_type_ = UTL_LIB_XML_VEXA_XMPP_NOTE_TYPE_NONE;
    note_value_.clear();
    return 0;
}

int utl_lib_xml_vexa_error_response_service::set_rexid(const char* rexid)
{
    if (rexid == nullptr) {
        return 0;
    }
    error_->exist_rexid = 1;
    utl_lib_xml_vexa_copy_text(error_->rexid, rexid, UTL_LIB_XML_VEXA_REXID_MAX_LENGTH);
    return 0;
}

int utl_lib_xml_vexa_error_response_service::set_note(UTL_LIB_XML_VEXA_XMPP_NOTE_TYPE_ type,
                                                      char* text)
{
    note_type_ = type;
    if (text != nullptr) {
        note_value_ = text;
    }
    return 0;
}

int utl_lib_xml_vexa_error_response_service::set_cmd_error(
    const UTL_LIB_XML_VEXA_XMPP_CMDERROR_S& e)
{
    // The record's own result_process list stays as add_result_process built it.
    error_->code = e.code;
    error_->subcode = e.subcode;
    error_->exist_message = e.exist_message;
    utl_lib_xml_vexa_copy_text(error_->message, e.message, MESSAGE_MAX_LENGTH);
    error_->result_progress = e.result_progress;
    error_->exist_result_progress = e.exist_result_progress;
    return 0;
}

int utl_lib_xml_vexa_error_response_service::add_result_process(
    const UTL_LIB_XML_VEXA_PROGRESS_INFO_S* items, int count)
{
    if (items == nullptr) {
        return 1;
    }
    return utl_lib_xml_vexa_append_progress(&error_->result_process, items, count,
                                            allocated_memory_);
}

int utl_lib_xml_vexa_error_response_service::create_note_tag(std::string& out)
{
    const char* word = note_type_word(note_type_);
    if (word == nullptr) {
        utl_lib_xml_trace("[XML][ERROR! ]note type error[%d]", static_cast<int>(note_type_));
        return 1;
    }
    out = std::string("<note type=\"") + word + "\">" + note_value_ + "</note>";
    return 0;
}

int utl_lib_xml_vexa_error_response_service::create_xml(std::string& out,
                                                        UTL_LIB_XML_VEXA_RESULT& result)
{
    std::string note;
    int ret = create_note_tag(note);
    if (ret != 0) {
        return ret;
    }
    std::string body;
    ret = xml_vexa_mediator_->create(UTL_LIB_XML_VEXA_MESSAGE_ERROR, 0, error_, body, result);
    out += note;
    out += body;
    return ret;
}

}  // namespace norvane
