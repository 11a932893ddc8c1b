// utl_lib_xml_mediator, reading half: the parse cycles, the accessor's
// notifications followed down the element tree, and the storing of text into
// the automatic targets.
#include "utl_lib_xml_mediator.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "utl_lib_xml_local.h"

namespace norvane {

namespace {

unsigned int trace_address(const void* address)
{
    return static_cast<unsigned int>(reinterpret_cast<uintptr_t>(address));
}

// Copies the low-order bytes of value into an integer of type T at addr.
template <typename T>
void store_low_bytes(void* addr, long value)
{
    T narrowed = static_cast<T>(value);
    std::memcpy(addr, &narrowed, sizeof(T));
}

template <typename T>
void append_low_bytes(void* addr, long value)
{
    static_cast<std::vector<T>*>(addr)->push_back(static_cast<T>(value));
}

}  // namespace

// ---- cycles ----

int utl_lib_xml_mediator::parse(std::string& xml)
{
    if (!open_cycle_(MY_STATE_PARSING, MY_STATE_BUFF)) {
        return UTL_LIB_XML_RET_ERR;
    }
    int result = build_schema_and_accessor_();
    if (result == UTL_LIB_XML_RET_OK) {
        result = xml_accesser_->parse(xml);
    }
    return finish_cycle_(result);
}

int utl_lib_xml_mediator::parse(utl_lib_xml_file& file)
{
    if (!open_cycle_(MY_STATE_PARSING, MY_STATE_FILE)) {
        return UTL_LIB_XML_RET_ERR;
    }
    int result = build_schema_and_accessor_();
    if (result == UTL_LIB_XML_RET_OK) {
        result = xml_accesser_->parse(file);
    }
    return finish_cycle_(result);
}

// Reads a whole file in chunks of XML_FILE_READ_SIZE through an accessor of
// its own, so that a running cycle's accessor is left alone.
int utl_lib_xml_mediator::read(utl_lib_xml_file& file, std::string& out, unsigned int& size)
{
    utl_lib_xml_accessor* accessor = utl_lib_xml_accessor_factory::create_accessor(this);
    if (accessor == nullptr) {
        utl_lib_xml_trace("[XML][ERROR! ]failed create utl_lib_xml_accessor. 0x%08x",
                          trace_address(accessor));
        return UTL_LIB_XML_RET_ERR;
    }
    size = 0;
    int result = accessor->open(file, 0);
    if (result == UTL_LIB_XML_RET_OK) {
        unsigned long got = 0;
        do {
            std::string chunk;
            got = XML_FILE_READ_SIZE;
            result |= accessor->read(chunk, got);
            got = std::min<unsigned long>(got, chunk.size());
            out.append(chunk, 0, got);
            size += static_cast<unsigned int>(got);
        } while (result == UTL_LIB_XML_RET_OK && got == XML_FILE_READ_SIZE);
        result |= accessor->close();
    }
    delete accessor;
    return result;
}

unsigned long utl_lib_xml_mediator::get_current_parse_position()
{
    return xml_accesser_ == nullptr ? 0 : xml_accesser_->get_current_parse_position();
}

// ---- notifications ----

void utl_lib_xml_mediator::notify_xml_header(std::string& /*version*/, std::string& /*encoding*/)
{
}

void utl_lib_xml_mediator::notify_error()
{
}

void utl_lib_xml_mediator::notify_element_start(std::string& name,
                                                std::map<std::string, std::string>& attributes)
{
    if (!check_state_(MY_STATE_PARSING)) {
        return;
    }
    utl_lib_xml_element_info* element = find_open_element_(name);
    if (element == nullptr) {
        // Not pushed: the element's own end tag and its descendants end in
        // warnings, which is how an unknown element is skipped.
        utl_lib_xml_trace("[XML][WARNING]element not found. name=%s", name.c_str());
        return;
    }
    processing_xaddr_.push_back(element);
    for (unsigned int xaddr_id : element->xaddr_id_list) {
        store_attributes_(xaddr_id, attributes);
        notify_start_interrupts_(xaddr_id, attributes);
    }
}

// The record that name opens: an interface when nothing is open, else a
// child of the innermost open element; compared with the prefix as written.
utl_lib_xml_mediator::utl_lib_xml_element_info* utl_lib_xml_mediator::find_open_element_(
    const std::string& name)
{
    std::vector<utl_lib_xml_element_info>& candidates =
        processing_xaddr_.empty() ? interface_list_ : processing_xaddr_.back()->element_list;
    for (auto& element : candidates) {
        if (element.q_name == name) {
            return &element;
        }
    }
    return nullptr;
}

// Every attribute whose local name is a target's name is stored into it.
void utl_lib_xml_mediator::store_attributes_(unsigned int xaddr_id, const attribute_map_& attributes)
{
    auto targets = xaddr_attr_auto_setting_list_.equal_range(xaddr_id);
    for (auto target = targets.first; target != targets.second; ++target) {
        const utl_lib_xaddr_attr_auto_setting_info& info = target->second;
        for (const auto& attribute : attributes) {
            if (get_local_name_(attribute.first) == info.attr_name) {
                proc_xaddr_auto_setting_(info.type, info.addr, info.size, attribute.second,
                                         UTL_LIB_XML_INVALID_ID);
            }
        }
    }
}

void utl_lib_xml_mediator::notify_start_interrupts_(unsigned int xaddr_id,
                                                    const attribute_map_& attributes)
{
    attribute_map_ local_attributes;
    for (const auto& attribute : attributes) {
        local_attributes[get_local_name_(attribute.first)] = attribute.second;
    }
    auto interrupts = xaddr_intrrupt_list_.equal_range(xaddr_id);
    for (auto interrupt = interrupts.first; interrupt != interrupts.second; ++interrupt) {
        const utl_lib_xaddr_interrupt_info& info = interrupt->second;
        std::string no_data;
        if (info.type == UTL_LIB_XML_INTERRUPT_TYPE_ATTR && !attributes.empty()) {
            attribute_map_ passed = local_attributes;
            notify_xaddr_interrupt(info.interrupt_id, passed, no_data);
        } else if (info.type == UTL_LIB_XML_INTERRUPT_TYPE_START) {
            attribute_map_ none;
            notify_xaddr_interrupt(info.interrupt_id, none, no_data);
        }
    }
}

void utl_lib_xml_mediator::notify_character_data(std::string& data)
{
    if (!check_state_(MY_STATE_PARSING)) {
        return;
    }
    if (processing_xaddr_.empty()) {
        utl_lib_xml_trace("[XML][ERROR! ]element not found. data=%s", data.c_str());
        return;
    }
    utl_lib_xml_element_info* element = processing_xaddr_.back();
    for (unsigned int xaddr_id : element->xaddr_id_list) {
        store_data_(xaddr_id, *element, data);
    }
}

// Stores the text into the xaddr's targets (through the enum of an enum
// element) and calls its DATA interrupts with element name -> text.
void utl_lib_xml_mediator::store_data_(unsigned int xaddr_id, const utl_lib_xml_element_info& element,
                                       std::string& data)
{
    unsigned int enum_id =
        element.type == UTL_LIB_XML_ELEMENT_TYPE_ENUM ? element.id : UTL_LIB_XML_INVALID_ID;
    auto targets = xaddr_data_auto_setting_list_.equal_range(xaddr_id);
    for (auto target = targets.first; target != targets.second; ++target) {
        utl_lib_xaddr_data_auto_setting_info& info = target->second;
        proc_xaddr_auto_setting_(info.type, info.addr, info.size, data, enum_id);
        info.exist_data = TRUE;
    }
    auto interrupts = xaddr_intrrupt_list_.equal_range(xaddr_id);
    for (auto interrupt = interrupts.first; interrupt != interrupts.second; ++interrupt) {
        if (interrupt->second.type == UTL_LIB_XML_INTERRUPT_TYPE_DATA) {
            attribute_map_ passed{{element.local_name, data}};
            std::string text = data;
            notify_xaddr_interrupt(interrupt->second.interrupt_id, passed, text);
        }
    }
}

void utl_lib_xml_mediator::notify_element_end(std::string& name)
{
    if (!check_state_(MY_STATE_PARSING)) {
        return;
    }
    if (processing_xaddr_.empty()) {
        utl_lib_xml_trace("[XML][WARNING]element not found. name=%s", name.c_str());
        return;
    }
    utl_lib_xml_element_info* element = processing_xaddr_.back();
    if (element->q_name != name) {
        // The end of a skipped unknown element, absorbed here.
        utl_lib_xml_trace("[XML][WARNING]element name mismatch. name=%s:%s", name.c_str(),
                          element->q_name.c_str());
        return;
    }
    int result = UTL_LIB_XML_RET_OK;
    for (unsigned int xaddr_id : element->xaddr_id_list) {
        result |= close_element_targets_(xaddr_id);
    }
    // A failing END interrupt keeps the element open on purpose: the derived
    // class signals a fatal content error this way.
    if (result == UTL_LIB_XML_RET_OK) {
        processing_xaddr_.pop_back();
    }
}

// Targets that received no text get the empty text (number targets thus 0),
// then the END interrupts run.
int utl_lib_xml_mediator::close_element_targets_(unsigned int xaddr_id)
{
    int result = UTL_LIB_XML_RET_OK;
    auto targets = xaddr_data_auto_setting_list_.equal_range(xaddr_id);
    for (auto target = targets.first; target != targets.second; ++target) {
        utl_lib_xaddr_data_auto_setting_info& info = target->second;
        if (info.exist_data == FALSE) {
            result |= proc_xaddr_auto_setting_(info.type, info.addr, info.size, std::string(),
                                               UTL_LIB_XML_INVALID_ID);
        }
        info.exist_data = FALSE;
    }
    auto interrupts = xaddr_intrrupt_list_.equal_range(xaddr_id);
    for (auto interrupt = interrupts.first; interrupt != interrupts.second; ++interrupt) {
        if (interrupt->second.type == UTL_LIB_XML_INTERRUPT_TYPE_END) {
            attribute_map_ none;
            std::string no_data;
            result |= notify_xaddr_interrupt(interrupt->second.interrupt_id, none, no_data);
        }
    }
    return result;
}

// ---- storing into targets ----

int utl_lib_xml_mediator::proc_xaddr_auto_setting_(UTL_LIB_XADDR_DATA_TYPE type, void* addr,
                                                   int size, const std::string& text,
                                                   unsigned int enum_id)
{
    if (addr == nullptr) {
        utl_lib_xml_trace("[XML][ERROR! ]Auto setting address is NULL! type=%d 0x%08x %d", type,
                          trace_address(addr), size);
        return UTL_LIB_XML_RET_ERR;
    }
    bool text_target = type == XADDR_DATA_TYPE_STRING || type == XADDR_DATA_TYPE_CHAR_BUFF ||
                       type == XADDR_DATA_TYPE_VECTOR_STRING;
    if (text_target && enum_id != UTL_LIB_XML_INVALID_ID) {
        utl_lib_xml_trace("[XML][ERROR! ]Invalid data types. type=%d enum_id=%d", type, enum_id);
        return UTL_LIB_XML_RET_ERR;
    }
    switch (type) {
    case XADDR_DATA_TYPE_STRING:
        *static_cast<std::string*>(addr) = text;
        return UTL_LIB_XML_RET_OK;
    case XADDR_DATA_TYPE_CHAR_BUFF:
        store_char_buffer_(addr, size, text);
        return UTL_LIB_XML_RET_OK;
    case XADDR_DATA_TYPE_VECTOR_STRING:
        static_cast<std::vector<std::string>*>(addr)->push_back(text);
        return UTL_LIB_XML_RET_OK;
    case XADDR_DATA_TYPE_1BYTE_VAL:
    case XADDR_DATA_TYPE_2BYTE_VAL:
    case XADDR_DATA_TYPE_4BYTE_VAL:
    case XADDR_DATA_TYPE_VECTOR_1BYTE_VAL:
    case XADDR_DATA_TYPE_VECTOR_2BYTE_VAL:
    case XADDR_DATA_TYPE_VECTOR_4BYTE_VAL:
        return store_number_text_(type, addr, text, enum_id);
    case XADDR_DATA_TYPE_DATA_FOUND:
        store_low_bytes<int32_t>(addr, 1);
        return UTL_LIB_XML_RET_OK;
    default:
        utl_lib_xml_trace("[XML][ERROR! ]Invalid data type. type=%d size=%d", type, size);
        return UTL_LIB_XML_RET_ERR;
    }
}

// Zero-fills the buffer and copies at most size bytes of text: a text of size
// bytes or more leaves no terminating zero.
void utl_lib_xml_mediator::store_char_buffer_(void* addr, int size, const std::string& text)
{
    if (size <= 0) {
        return;
    }
    size_t capacity = static_cast<size_t>(size);
    std::memset(addr, 0, capacity);
    std::memcpy(addr, text.data(), std::min(capacity, text.size()));
}

// A decimal number, or with an enum ID the member's value; nothing is stored
// when the name is not a member.
int utl_lib_xml_mediator::store_number_text_(UTL_LIB_XADDR_DATA_TYPE type, void* addr,
                                             const std::string& text, unsigned int enum_id)
{
    long value = 0;
    if (enum_id == UTL_LIB_XML_INVALID_ID) {
        value = std::strtol(text.c_str(), nullptr, 10);
    } else {
        int converted = 0;
        if (get_enum_convert_value_(enum_id, text, converted) != UTL_LIB_XML_RET_OK) {
            return UTL_LIB_XML_RET_ERR;
        }
        value = converted;
    }
    store_number_(type, addr, value);
    return UTL_LIB_XML_RET_OK;
}

void utl_lib_xml_mediator::store_number_(UTL_LIB_XADDR_DATA_TYPE type, void* addr, long value)
{
    switch (type) {
    case XADDR_DATA_TYPE_1BYTE_VAL:
        store_low_bytes<int8_t>(addr, value);
        break;
    case XADDR_DATA_TYPE_2BYTE_VAL:
        store_low_bytes<int16_t>(addr, value);
        break;
    case XADDR_DATA_TYPE_4BYTE_VAL:
        store_low_bytes<int32_t>(addr, value);
        break;
    case XADDR_DATA_TYPE_VECTOR_1BYTE_VAL:
        append_low_bytes<char>(addr, value);
        break;
    case XADDR_DATA_TYPE_VECTOR_2BYTE_VAL:
        append_low_bytes<short>(addr, value);
        break;
    case XADDR_DATA_TYPE_VECTOR_4BYTE_VAL:
        append_low_bytes<int>(addr, value);
        break;
    default:
        break;
    }
}

// An enum that is not registered converts every name to 0 (value left as the
// caller set it); a name that is not a member is skipped with 1.
int utl_lib_xml_mediator::get_enum_convert_value_(unsigned int enum_id, const std::string& text,
                                                  int& value)
{
    auto found = enum_list_.find(enum_id);
    if (found == enum_list_.end()) {
        return UTL_LIB_XML_RET_OK;
    }
    if (found->second.convert(text, value) != UTL_LIB_XML_RET_OK) {
        utl_lib_xml_trace("[XML][IMP    ]skip convert enum. enum_id=%d string=%s", enum_id,
                          text.c_str());
        return UTL_LIB_XML_RET_ERR;
    }
    return UTL_LIB_XML_RET_OK;
}

int utl_lib_xml_mediator::convert_enum_element(unsigned int enum_id, const std::string& text,
                                               int& value)
{
    return get_enum_convert_value_(enum_id, text, value);
}

int utl_lib_xml_mediator::convert_enum_element_(unsigned int enum_id, const std::string& text,
                                                int& value)
{
    return get_enum_convert_value_(enum_id, text, value);
}

// Value to member name; an enum that is not registered leaves text as it is.
int utl_lib_xml_mediator::convert_enum_element(unsigned int enum_id, const int& value,
                                               std::string& text)
{
    auto found = enum_list_.find(enum_id);
    if (found == enum_list_.end()) {
        return UTL_LIB_XML_RET_OK;
    }
    if (found->second.convert(value, text) != UTL_LIB_XML_RET_OK) {
        utl_lib_xml_trace("[XML][IMP    ]skip convert enum. enum_id=%d string=%s", enum_id,
                          text.c_str());
        return UTL_LIB_XML_RET_ERR;
    }
    return UTL_LIB_XML_RET_OK;
}

}  // namespace norvane
