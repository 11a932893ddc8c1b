// The engine's accessor on expat.
#include "utl_lib_xml_accessor_impl.h"

#include <cstdint>
#include <cstring>
#include <map>
#include <vector>

#include "utl_lib_xml_local.h"

namespace norvane {

namespace {

// Time-out of mutex_.request: wait without limit.
constexpr int ACCESSOR_MUTEX_WAIT_FOREVER = -1;
// XML_Parse gets the whole document in one final call.
constexpr int ACCESSOR_PARSE_FINAL = 1;

}  // namespace

utl_lib_xml_accessor_impl* utl_lib_xml_accessor_impl::instance_ = nullptr;
OSW_Mutex_Semaphore utl_lib_xml_accessor_impl::mutex_(1);

utl_lib_xml_accessor_impl::utl_lib_xml_accessor_impl(utl_lib_xml_parse_observer* observer)
    : obs_(observer), fd_(0), character_data_(), xml_parser_(nullptr)
{
}

utl_lib_xml_accessor_impl::~utl_lib_xml_accessor_impl() = default;

int utl_lib_xml_accessor_impl::stat(utl_lib_xml_file& /*file*/)
{
    return UTL_LIB_XML_RET_OK;
}

int utl_lib_xml_accessor_impl::parse(utl_lib_xml_file& /*file*/)
{
    return UTL_LIB_XML_RET_ERR;
}

int utl_lib_xml_accessor_impl::parse(std::string& xml)
{
    XML_Parser parser = XML_ParserCreate(nullptr);
    if (parser == nullptr) {
        utl_lib_xml_trace("[XML][ERROR! ]Failed XML perser create. %d",
                          static_cast<int>(reinterpret_cast<uintptr_t>(parser)));
        notify_error_();
        return UTL_LIB_XML_RET_ERR;
    }
    xml_parser_ = parser;
    enter_(this);

    int result = set_handler_(parser);
    if (result == UTL_LIB_XML_RET_OK) {
        XML_Status status = XML_Parse(parser, xml.data(), static_cast<int>(xml.size()),
                                      ACCESSOR_PARSE_FINAL);
        if (status != XML_STATUS_OK) {
            utl_lib_xml_trace("[XML][ERROR! ]XML perser error. %d EOF=%d line=%d msg=%s",
                              static_cast<int>(status), ACCESSOR_PARSE_FINAL,
                              static_cast<int>(XML_GetCurrentLineNumber(parser)),
                              XML_ErrorString(XML_GetErrorCode(parser)));
            notify_error_();
            result = UTL_LIB_XML_RET_ERR;
        }
    }

    leave_();
    XML_ParserFree(parser);
    xml_parser_ = nullptr;
    return result;
}

unsigned long utl_lib_xml_accessor_impl::get_current_parse_position()
{
    if (xml_parser_ == nullptr) {
        return 0;
    }
    return static_cast<unsigned long>(XML_GetCurrentByteIndex(xml_parser_));
}

int utl_lib_xml_accessor_impl::open(utl_lib_xml_file& /*file*/, unsigned int /*mode*/)
{
    return UTL_LIB_XML_RET_ERR;
}

int utl_lib_xml_accessor_impl::read(std::string& /*data*/, unsigned long& /*size*/)
{
    return UTL_LIB_XML_RET_ERR;
}

int utl_lib_xml_accessor_impl::write(std::string& /*data*/, unsigned long& /*size*/)
{
    return UTL_LIB_XML_RET_ERR;
}

int utl_lib_xml_accessor_impl::close()
{
    return UTL_LIB_XML_RET_ERR;
}

void utl_lib_xml_accessor_impl::element_start(const XML_Char* name, const XML_Char** attributes)
{
    if (obs_ == nullptr) {
        return;
    }
    // Pairs in order up to the first incomplete one; a repeated name
    // overwrites the earlier value.
    std::map<std::string, std::string> attribute_map;
    for (int i = 0; attributes != nullptr && attributes[i] != nullptr && attributes[i + 1] != nullptr;
         i += 2) {
        attribute_map[attributes[i]] = attributes[i + 1];
    }
    std::string element_name(name);
    obs_->notify_element_start(element_name, attribute_map);
    // Text before a child's start tag is discarded.
    character_data_.clear();
}

void utl_lib_xml_accessor_impl::character_data(const XML_Char* data, int length)
{
    if (obs_ == nullptr || length < 1) {
        return;
    }
    // Appended as a NUL-terminated string: an embedded NUL cuts the piece.
    std::vector<char> piece(static_cast<size_t>(length) + 1, '\0');
    std::memcpy(piece.data(), data, static_cast<size_t>(length));
    character_data_.append(piece.data());
}

void utl_lib_xml_accessor_impl::element_end(const XML_Char* name)
{
    if (obs_ == nullptr) {
        return;
    }
    if (!character_data_.empty()) {
        obs_->notify_character_data(character_data_);
        character_data_.clear();
    }
    std::string element_name(name);
    obs_->notify_element_end(element_name);
}

int utl_lib_xml_accessor_impl::set_handler_(XML_Parser parser)
{
    if (parser == nullptr) {
        utl_lib_xml_trace("[XML][ERROR! ]Invalid param. XML_Parser=0x%08x",
                          static_cast<unsigned int>(reinterpret_cast<uintptr_t>(parser)));
        return UTL_LIB_XML_RET_ERR;
    }
    XML_SetElementDeclHandler(parser, on_element_decl_);
    XML_SetAttlistDeclHandler(parser, on_attlist_decl_);
    XML_SetXmlDeclHandler(parser, on_xml_decl_);
    XML_SetEntityDeclHandler(parser, on_entity_decl_);
    XML_SetElementHandler(parser, on_element_start_, on_element_end_);
    XML_SetCharacterDataHandler(parser, on_character_data_);
    XML_SetProcessingInstructionHandler(parser, on_processing_instruction_);
    XML_SetCommentHandler(parser, on_comment_);
    XML_SetCdataSectionHandler(parser, on_cdata_start_, on_cdata_end_);
    XML_SetDefaultHandler(parser, on_default_);
    XML_SetDefaultHandlerExpand(parser, on_default_);
    XML_SetDoctypeDeclHandler(parser, on_doctype_start_, on_doctype_end_);
    XML_SetNamespaceDeclHandler(parser, on_namespace_start_, on_namespace_end_);
    XML_SetNotStandaloneHandler(parser, on_not_standalone_);
    XML_SetExternalEntityRefHandler(parser, on_external_entity_ref_);
    XML_SetSkippedEntityHandler(parser, on_skipped_entity_);
    XML_SetUnknownEncodingHandler(parser, on_unknown_encoding_, nullptr);
    return UTL_LIB_XML_RET_OK;
}

void utl_lib_xml_accessor_impl::notify_error_()
{
    if (obs_ != nullptr) {
        obs_->notify_error();
    }
}

void utl_lib_xml_accessor_impl::enter_(utl_lib_xml_accessor_impl* accessor)
{
    mutex_.request(ACCESSOR_MUTEX_WAIT_FOREVER);
    if (instance_ == nullptr) {
        instance_ = accessor;
    }
    mutex_.release();
}

void utl_lib_xml_accessor_impl::leave_()
{
    mutex_.request(ACCESSOR_MUTEX_WAIT_FOREVER);
    instance_ = nullptr;
    mutex_.release();
}

void XMLCALL utl_lib_xml_accessor_impl::on_element_start_(void* /*user_data*/,
                                                          const XML_Char* name,
                                                          const XML_Char** attributes)
{
    mutex_.request(ACCESSOR_MUTEX_WAIT_FOREVER);
    if (instance_ != nullptr) {
        instance_->element_start(name, attributes);
    }
    mutex_.release();
}

void XMLCALL utl_lib_xml_accessor_impl::on_element_end_(void* /*user_data*/, const XML_Char* name)
{
    mutex_.request(ACCESSOR_MUTEX_WAIT_FOREVER);
    if (instance_ != nullptr) {
        instance_->element_end(name);
    }
    mutex_.release();
}

void XMLCALL utl_lib_xml_accessor_impl::on_character_data_(void* /*user_data*/,
                                                           const XML_Char* data, int length)
{
    mutex_.request(ACCESSOR_MUTEX_WAIT_FOREVER);
    if (instance_ != nullptr) {
        instance_->character_data(data, length);
    }
    mutex_.release();
}

// expat hands the content model of an element declaration to the handler,
// which owns it; it is returned at once so that declarations cost nothing.
void XMLCALL utl_lib_xml_accessor_impl::on_element_decl_(void* /*user_data*/,
                                                         const XML_Char* /*name*/,
                                                         XML_Content* model)
{
    mutex_.request(ACCESSOR_MUTEX_WAIT_FOREVER);
    if (instance_ != nullptr && instance_->xml_parser_ != nullptr) {
        XML_FreeContentModel(instance_->xml_parser_, model);
    }
    mutex_.release();
}

void XMLCALL utl_lib_xml_accessor_impl::on_attlist_decl_(void*, const XML_Char*, const XML_Char*,
                                                         const XML_Char*, const XML_Char*, int)
{
}

void XMLCALL utl_lib_xml_accessor_impl::on_xml_decl_(void*, const XML_Char*, const XML_Char*, int)
{
}

void XMLCALL utl_lib_xml_accessor_impl::on_entity_decl_(void*, const XML_Char*, int,
                                                        const XML_Char*, int, const XML_Char*,
                                                        const XML_Char*, const XML_Char*,
                                                        const XML_Char*)
{
}

void XMLCALL utl_lib_xml_accessor_impl::on_processing_instruction_(void*, const XML_Char*,
                                                                   const XML_Char*)
{
}

void XMLCALL utl_lib_xml_accessor_impl::on_comment_(void*, const XML_Char*)
{
}

void XMLCALL utl_lib_xml_accessor_impl::on_cdata_start_(void*)
{
}

void XMLCALL utl_lib_xml_accessor_impl::on_cdata_end_(void*)
{
}

void XMLCALL utl_lib_xml_accessor_impl::on_default_(void*, const XML_Char*, int)
{
}

void XMLCALL utl_lib_xml_accessor_impl::on_doctype_start_(void*, const XML_Char*, const XML_Char*,
                                                          const XML_Char*, int)
{
}

void XMLCALL utl_lib_xml_accessor_impl::on_doctype_end_(void*)
{
}

void XMLCALL utl_lib_xml_accessor_impl::on_namespace_start_(void*, const XML_Char*,
                                                            const XML_Char*)
{
}

void XMLCALL utl_lib_xml_accessor_impl::on_namespace_end_(void*, const XML_Char*)
{
}

int XMLCALL utl_lib_xml_accessor_impl::on_not_standalone_(void*)
{
    return 0;
}

int XMLCALL utl_lib_xml_accessor_impl::on_external_entity_ref_(XML_Parser, const XML_Char*,
                                                               const XML_Char*, const XML_Char*,
                                                               const XML_Char*)
{
    return 0;
}

void XMLCALL utl_lib_xml_accessor_impl::on_skipped_entity_(void*, const XML_Char*, int)
{
}

int XMLCALL utl_lib_xml_accessor_impl::on_unknown_encoding_(void*, const XML_Char*, XML_Encoding*)
{
    return 0;
}

}  // namespace norvane
