// utl_lib_xml_mediator, writing half: the write cycles, the stores that the
// derived class calls from request_store_xaddr(), and the text conversions.
// The document is exactly the sequence of stores: no tree, no validation, no
// automatic escaping, no line breaks.
#include "utl_lib_xml_mediator.h"

#include <cstdio>

#include "utl_lib_xml_local.h"

namespace norvane {

namespace {

// Entity and character, in the order in which both conversions apply them.
struct xml_string_cnv {
    const char* entity;
    const char* character;
};

const xml_string_cnv xml_string_cnv_tbl[] = {
    {"&amp;", "&"}, {"&gt;", ">"}, {"&lt;", "<"}, {"&apos;", "'"}, {"&quot;", "\""},
};

// Replaces every occurrence of from, searching on after each replacement.
std::string replace_all(const std::string& in, const std::string& from, const std::string& to)
{
    std::string out;
    out.reserve(in.size());
    size_t start = 0;
    size_t found = in.find(from, start);
    while (found != std::string::npos) {
        out.append(in, start, found - start);
        out += to;
        start = found + from.size();
        found = in.find(from, start);
    }
    out.append(in, start, std::string::npos);
    return out;
}

}  // namespace

// ---- cycles ----

int utl_lib_xml_mediator::write(std::string& out, int header)
{
    // A refused cycle must not redirect the output of the one that runs.
    if (!open_cycle_(MY_STATE_WRITING, MY_STATE_BUFF)) {
        return UTL_LIB_XML_RET_ERR;
    }
    output_buffer_ = &out;
    int result = construct_xml_spec_();
    if (result == UTL_LIB_XML_RET_OK) {
        if (header == 1) {
            append_(create_xml_header_());
        }
        result = run_stores_();
    }
    return finish_cycle_(result);
}

int utl_lib_xml_mediator::write(utl_lib_xml_file& file, int header)
{
    if (!open_cycle_(MY_STATE_WRITING, MY_STATE_FILE)) {
        return UTL_LIB_XML_RET_ERR;
    }
    std::string collected;
    // finish_cycle_ clears the pointer before this function returns.
    // cppcheck-suppress danglingLifetime
    output_buffer_ = &collected;
    int result = build_schema_and_accessor_();
    if (result == UTL_LIB_XML_RET_OK) {
        result = xml_accesser_->open(file, 1);
    }
    if (result == UTL_LIB_XML_RET_OK) {
        if (header == 1) {
            std::string declaration = create_xml_header_();
            unsigned long size = declaration.size();
            result |= xml_accesser_->write(declaration, size);
        }
        result |= run_stores_();
        result |= xml_accesser_->close();
    }
    return finish_cycle_(result);
}

int utl_lib_xml_mediator::write_direct(utl_lib_xml_file& file, std::string& data)
{
    // No schema is built: the data goes out as it stands.
    if (!open_cycle_(MY_STATE_WRITING, MY_STATE_FILE)) {
        return UTL_LIB_XML_RET_ERR;
    }
    int result = create_accessor_();
    if (result == UTL_LIB_XML_RET_OK) {
        result = xml_accesser_->open(file, 1);
    }
    if (result == UTL_LIB_XML_RET_OK) {
        unsigned long size = data.size();
        result |= xml_accesser_->write(data, size);
        result |= xml_accesser_->close();
    }
    return finish_cycle_(result);
}

int utl_lib_xml_mediator::run_stores_()
{
    my_state_.set(MY_STATE_STORE_ELEMENT);
    int result = request_store_xaddr();
    my_state_.reset(MY_STATE_STORE_ELEMENT);
    return result;
}

std::string utl_lib_xml_mediator::create_xml_header_()
{
    return std::string("<?xml ") + "version=\"" + processing_version_ + "\" " + "encoding=\"" +
           processing_encode_ + "\"" + "?>";
}

// ---- stores ----

// Common first steps of a store: outside request_store_xaddr() the call is
// reported but goes on; an unregistered xaddr ends it with 1.
const utl_lib_xml_mediator::utl_lib_xml_element_info* utl_lib_xml_mediator::begin_store_(
    unsigned int xaddr_id)
{
    if (!my_state_.test(MY_STATE_STORE_ELEMENT)) {
        log_out_of_reception_();
    }
    const utl_lib_xml_element_info* element = search_element_by_xaddr_(xaddr_id);
    if (element == nullptr) {
        utl_lib_xml_trace("[XML][ERROR! ]element not found. xaddr_id=%d", xaddr_id);
    }
    return element;
}

const utl_lib_xml_mediator::utl_lib_xml_element_info* utl_lib_xml_mediator::search_element_by_xaddr_(
    unsigned int xaddr_id) const
{
    auto found = xaddr_list_.find(xaddr_id);
    return found == xaddr_list_.end() ? nullptr : found->second;
}

// Outside a write cycle there is no output string; the text is then lost.
void utl_lib_xml_mediator::append_(const std::string& text)
{
    if (output_buffer_ != nullptr) {
        output_buffer_->append(text);
    }
}

std::string utl_lib_xml_mediator::make_start_tag_(const std::string& q_name,
                                                  const attribute_map_& attributes)
{
    std::string tag = "<" + q_name;
    for (const auto& attribute : attributes) {
        tag += " " + attribute.first + "=\"" + attribute.second + "\"";
    }
    return tag + ">";
}

int utl_lib_xml_mediator::store_xaddr_namespace_open(unsigned int xaddr_id, unsigned int namespace_id)
{
    const utl_lib_xml_element_info* element = begin_store_(xaddr_id);
    if (element == nullptr) {
        return UTL_LIB_XML_RET_ERR;
    }
    std::string tag = "<" + element->q_name;
    auto found = namespace_list_.find(namespace_id);
    if (found != namespace_list_.end()) {
        tag += " xmlns:" + found->second.prefix + "=\"" + found->second.uri + "\"";
    }
    append_(tag + ">");
    return UTL_LIB_XML_RET_OK;
}

int utl_lib_xml_mediator::store_xaddr_namespace_close(unsigned int xaddr_id)
{
    return store_xaddr_element_struct_close(xaddr_id);
}

int utl_lib_xml_mediator::store_xaddr_element_struct_open(unsigned int xaddr_id)
{
    attribute_map_ none;
    return store_xaddr_element_struct_open(xaddr_id, none);
}

int utl_lib_xml_mediator::store_xaddr_element_struct_open(
    unsigned int xaddr_id, std::map<std::string, std::string>& attributes)
{
    const utl_lib_xml_element_info* element = begin_store_(xaddr_id);
    if (element == nullptr) {
        return UTL_LIB_XML_RET_ERR;
    }
    append_(make_start_tag_(element->q_name, attributes));
    return UTL_LIB_XML_RET_OK;
}

int utl_lib_xml_mediator::store_xaddr_element_struct_open(unsigned int xaddr_id, std::string name,
                                                          std::string value)
{
    attribute_map_ one{{name, value}};
    return store_xaddr_element_struct_open(xaddr_id, one);
}

int utl_lib_xml_mediator::store_xaddr_element_struct_close(unsigned int xaddr_id)
{
    const utl_lib_xml_element_info* element = begin_store_(xaddr_id);
    if (element == nullptr) {
        return UTL_LIB_XML_RET_ERR;
    }
    append_("</" + element->q_name + ">");
    return UTL_LIB_XML_RET_OK;
}

int utl_lib_xml_mediator::store_xaddr_element(unsigned int xaddr_id, int value)
{
    attribute_map_ none;
    return store_xaddr_element(xaddr_id, value, none);
}

int utl_lib_xml_mediator::store_xaddr_element(unsigned int xaddr_id, int value,
                                              std::map<std::string, std::string>& attributes)
{
    char number[128] = {};
    std::snprintf(number, sizeof(number), "%d", value);
    return store_number_element_(xaddr_id, number, value, false, attributes);
}

int utl_lib_xml_mediator::store_xaddr_element(unsigned int xaddr_id, int value, std::string name,
                                              std::string attr_value)
{
    attribute_map_ one{{name, attr_value}};
    return store_xaddr_element(xaddr_id, value, one);
}

int utl_lib_xml_mediator::store_xaddr_element(unsigned int xaddr_id, unsigned int value)
{
    attribute_map_ none;
    return store_xaddr_element(xaddr_id, value, none);
}

int utl_lib_xml_mediator::store_xaddr_element(unsigned int xaddr_id, unsigned int value,
                                              std::map<std::string, std::string>& attributes)
{
    char number[128] = {};
    std::snprintf(number, sizeof(number), "%u", value);
    return store_number_element_(xaddr_id, number, static_cast<int>(value), true, attributes);
}

int utl_lib_xml_mediator::store_xaddr_element(unsigned int xaddr_id, unsigned int value,
                                              std::string name, std::string attr_value)
{
    attribute_map_ one{{name, attr_value}};
    return store_xaddr_element(xaddr_id, value, one);
}

// A long is written as an int (the device's long is 32 bits).
int utl_lib_xml_mediator::store_xaddr_element(unsigned int xaddr_id, long value)
{
    return store_xaddr_element(xaddr_id, static_cast<int>(value));
}

int utl_lib_xml_mediator::store_xaddr_element(unsigned int xaddr_id, unsigned long value)
{
    return store_xaddr_element(xaddr_id, static_cast<unsigned int>(value));
}

int utl_lib_xml_mediator::store_xaddr_element(unsigned int xaddr_id, std::string value)
{
    attribute_map_ none;
    return store_xaddr_element(xaddr_id, value, none);
}

int utl_lib_xml_mediator::store_xaddr_element(unsigned int xaddr_id, std::string value,
                                              std::map<std::string, std::string>& attributes)
{
    const utl_lib_xml_element_info* element = begin_store_(xaddr_id);
    if (element == nullptr) {
        return UTL_LIB_XML_RET_ERR;
    }
    append_element_(*element, value, attributes);
    return UTL_LIB_XML_RET_OK;
}

int utl_lib_xml_mediator::store_xaddr_element(unsigned int xaddr_id, std::string value,
                                              std::string name, std::string attr_value)
{
    attribute_map_ one{{name, attr_value}};
    return store_xaddr_element(xaddr_id, value, one);
}

// A number's content depends on the element: the member name for an enum
// element (left out entirely when the value has no name), the decimal text
// for a value element, nothing otherwise.
int utl_lib_xml_mediator::store_number_element_(unsigned int xaddr_id, const std::string& number,
                                                int value, bool is_unsigned,
                                                const attribute_map_& attributes)
{
    const utl_lib_xml_element_info* element = begin_store_(xaddr_id);
    if (element == nullptr) {
        return UTL_LIB_XML_RET_ERR;
    }
    std::string content;
    if (element->type == UTL_LIB_XML_ELEMENT_TYPE_ENUM) {
        auto found = enum_list_.find(element->id);
        if (found != enum_list_.end() && found->second.convert(value, content) != UTL_LIB_XML_RET_OK) {
            if (is_unsigned) {
                utl_lib_xml_trace("[XML][IMP    ]Skip store enum(not found enum). xaddr_id=%u data=%u",
                                  xaddr_id, static_cast<unsigned int>(value));
            } else {
                utl_lib_xml_trace("[XML][IMP    ]Skip store enum(not found enum). xaddr_id=%d data=%d",
                                  xaddr_id, value);
            }
            return UTL_LIB_XML_RET_OK;
        }
    } else if (element->type == UTL_LIB_XML_ELEMENT_TYPE_VALUE) {
        content = number;
    }
    append_element_(*element, content, attributes);
    return UTL_LIB_XML_RET_OK;
}

void utl_lib_xml_mediator::append_element_(const utl_lib_xml_element_info& element,
                                           const std::string& content,
                                           const attribute_map_& attributes)
{
    append_(make_start_tag_(element.q_name, attributes) + content + "</" + element.q_name + ">");
}

// In file mode hands the collected text to the accessor and starts afresh.
int utl_lib_xml_mediator::store_xaddr_fix(unsigned int xaddr_id)
{
    int result = my_state_.test(MY_STATE_STORE_ELEMENT) ? UTL_LIB_XML_RET_OK : UTL_LIB_XML_RET_ERR;
    if (begin_store_(xaddr_id) == nullptr) {
        return UTL_LIB_XML_RET_ERR;
    }
    if (my_state_.test(MY_STATE_FILE) && xml_accesser_ != nullptr && output_buffer_ != nullptr) {
        unsigned long size = output_buffer_->size();
        result |= xml_accesser_->write(*output_buffer_, size);
        output_buffer_->clear();
    }
    return result;
}

// ---- conversions ----

int utl_lib_xml_mediator::convert_string_to_xml(const std::string& in, std::string& out)
{
    std::string converted = in;
    for (const auto& row : xml_string_cnv_tbl) {
        converted = replace_all(converted, row.character, row.entity);
    }
    out = converted;
    return UTL_LIB_XML_RET_OK;
}

int utl_lib_xml_mediator::convert_xml_to_string(const std::string& in, std::string& out)
{
    std::string converted = in;
    for (const auto& row : xml_string_cnv_tbl) {
        converted = replace_all(converted, row.entity, row.character);
    }
    out = converted;
    return UTL_LIB_XML_RET_OK;
}

}  // namespace norvane
