// utl_lib_xml_vexa_mediator: registration from the schema tables, the
// interrupts that fill records while the engine parses, and the writing of
// records as XML.
#include "utl_lib_xml_vexa_mediator.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "clb_list.h"
#include "osw_os_wrapper.h"
#include "utl_lib_xml_local.h"

namespace norvane {

namespace {

constexpr unsigned int XADDR_ID_FIRST = UTL_LIB_XML_XADDR_ID_TOP;
constexpr unsigned int INTERRUPT_ID_RESET = UTL_LIB_XML_INTERRUPT_ID_TOP;
constexpr size_t PARSE_LOG_PIECE = 128;

UINT value_kind_(UTL_LIB_XML_VEXA_SCHEMA_TYPE type)
{
    return type & UTL_LIB_XML_VEXA_SCHEMA_TYPE_MASK_VALUE_TYPE;
}

UINT appearance_(UTL_LIB_XML_VEXA_SCHEMA_TYPE type)
{
    return type & UTL_LIB_XML_VEXA_SCHEMA_TYPE_MASK_APPEAR_TYPE;
}

// piece holds PARSE_LOG_PIECE + 1 bytes.
void copy_parse_piece_(char* piece, const char* text, size_t length)
{
    std::memset(piece, 0, PARSE_LOG_PIECE + 1);
    std::memcpy(piece, text, std::min(length, PARSE_LOG_PIECE));
}

bool is_struct_(const UTL_LIB_XML_VEXA_XML_SCHEMA& row)
{
    return value_kind_(row.schema_type) == UTL_LIB_XML_VEXA_SCHEMA_TYPE_BASE_STRUCT;
}

unsigned int trace_address_(const void* address)
{
    return static_cast<unsigned int>(reinterpret_cast<uintptr_t>(address));
}

// Records hold 32-bit values. strtol is read the way a 32-bit long reads it:
// out-of-range text saturates instead of wrapping.
int32_t text_to_int32_(const std::string& text)
{
    long value = std::strtol(text.c_str(), nullptr, 10);
    if (value > INT32_MAX) {
        return INT32_MAX;
    }
    if (value < INT32_MIN) {
        return INT32_MIN;
    }
    return static_cast<int32_t>(value);
}

// The first width bytes (at most 4) of a 32-bit value: on the little-endian
// device and host alike, its low-order bytes.
void write_int_(char* dest, size_t width, int32_t value)
{
    std::memcpy(dest, &value, std::min(width, sizeof(value)));
}

int32_t read_int_(const char* source, size_t width)
{
    int32_t value = 0;
    std::memcpy(&value, source, std::min(width, sizeof(value)));
    return value;
}

void set_flag_(char* address)
{
    BOOL one = 1;
    std::memcpy(address, &one, sizeof(one));
}

BOOL read_flag_(const char* address)
{
    BOOL flag = 0;
    std::memcpy(&flag, address, sizeof(flag));
    return flag;
}

}  // namespace

utl_lib_xml_vexa_mediator::utl_lib_xml_vexa_mediator()
    : utl_lib_xml_mediator(),
      parse_dest_(nullptr),
      store_from_(nullptr),
      interrupt_id_(INTERRUPT_ID_RESET),
      allocation_failed_(false)
{
    clear_private_member();
}

utl_lib_xml_vexa_mediator::~utl_lib_xml_vexa_mediator()
{
    free_allocated_memory();
}

// ---- public operations ----

int utl_lib_xml_vexa_mediator::parse(UTL_LIB_XML_VEXA_MESSAGE_TYPE_ type, const std::string& xml,
                                     void* dest, UTL_LIB_XML_VEXA_RESULT& result)
{
    utl_lib_xml_trace("[XML][IMP    ]Parse IN  type[%d] size[%d]<<", type,
                      static_cast<int>(xml.size()));
    output_debug_log_parse(xml);

    int ret = clear_private_member();
    ret |= constract_xml_spec();
    if (ret == 0) {
        parse_dest_ = dest;
        std::string text = xml;  // the engine takes the text by reference
        ret = utl_lib_xml_mediator::parse(text);
        release_open_scratch_records_();
        ret |= check_allocations_();
        if (ret != 0) {
            result = UTL_LIB_XML_VEXA_RESULT_PARSER_ERR;
        }
    }

    utl_lib_xml_trace("[XML][IMP    ]Parse OUT ret[%d] result[%d] size[%d] >>", ret, result,
                      static_cast<int>(xml.size()));
    return ret;
}

int utl_lib_xml_vexa_mediator::create(UTL_LIB_XML_VEXA_MESSAGE_TYPE_ type, int header,
                                      const void* src, std::string& out,
                                      UTL_LIB_XML_VEXA_RESULT& result)
{
    utl_lib_xml_trace("[XML][IMP    ]Create IN  type[%d]<<", type);
    int ret = clear_private_member();
    ret |= constract_xml_spec();
    if (ret == 0) {
        // A type without an interface row selects a struct id that has no
        // entry, so nothing is written.
        unsigned int struct_id = UTL_LIB_XML_VEXA_STRUCT_ID_STR_TOP;
        for (const ROW& row : interface_vec_) {
            if (row.additional_data.interface_type.message_type == type) {
                struct_id = row.additional_id;
                break;
            }
        }
        ret = store_start(struct_id, out, src, header);
    }
    utl_lib_xml_trace("[XML][IMP    ]Create OUT ret[%d] result[%d] size[%d] >>", ret, result,
                      static_cast<int>(out.size()));
    return ret;
}

int utl_lib_xml_vexa_mediator::free_allocated_memory()
{
    if (!alloc_mem_vec_.empty()) {
        utl_lib_xml_trace("[XML][IMP    ]Free list member size[%d] <<",
                          static_cast<int>(alloc_mem_vec_.size()));
        for (void* block : alloc_mem_vec_) {
            zulOSWOrgFreeMemPart(nullptr, block);
        }
        alloc_mem_vec_.clear();
    }
    return 0;
}

// ---- registration hooks ----

int utl_lib_xml_vexa_mediator::request_register_xml_spec(std::string& version,
                                                         std::string& encoding)
{
    version = "1.0";
    encoding = "UTF-8";
    return 0;
}

int utl_lib_xml_vexa_mediator::request_register_namespace()
{
    return 0;
}

int utl_lib_xml_vexa_mediator::request_register_enum()
{
    int result = 0;
    for (const auto& entry : xml_enum_map_) {
        result |= register_enum(entry.first, 0);
    }
    return result;
}

// Unknown ids and refused members are logged and skipped.
int utl_lib_xml_vexa_mediator::request_register_enum_member(unsigned int enum_id)
{
    auto entry = xml_enum_map_.find(static_cast<UTL_LIB_XML_VEXA_ENUM_ID>(enum_id));
    if (entry == xml_enum_map_.end()) {
        utl_lib_xml_trace("[XML][ERROR! ]regist enum member id is invalid [0x%08x(%d)]", enum_id,
                          enum_id);
        return 0;
    }
    for (const UTL_LIB_XML_VEXA_XML_ENUMERATION& row : entry->second) {
        register_enum_member(row.enum_name, static_cast<int>(row.enum_value));
    }
    return 0;
}

int utl_lib_xml_vexa_mediator::request_register_struct()
{
    int result = 0;
    for (const auto& entry : xml_schema_map_) {
        result |= register_struct(entry.first, 0);
    }
    return result;
}

int utl_lib_xml_vexa_mediator::request_register_struct_member(unsigned int struct_id)
{
    auto entry = xml_schema_map_.find(static_cast<UTL_LIB_XML_VEXA_STRUCT_ID>(struct_id));
    if (entry == xml_schema_map_.end()) {
        utl_lib_xml_trace("[XML][ERROR! ]regist struct member id is invalid [0x%08x(%d)]",
                          struct_id, struct_id);
        return 0;
    }
    for (const ROW& row : entry->second) {
        int result = 0;
        switch (value_kind_(row.schema_type)) {
        case UTL_LIB_XML_VEXA_SCHEMA_TYPE_BASE_VALUE:
            result = register_struct_member_value(row.tag_name, 0);
            break;
        case UTL_LIB_XML_VEXA_SCHEMA_TYPE_BASE_STRING:
            result = register_struct_member_string(row.tag_name, 0);
            break;
        case UTL_LIB_XML_VEXA_SCHEMA_TYPE_BASE_ENUM:
            result = register_struct_member_enum(row.tag_name, row.additional_id);
            break;
        case UTL_LIB_XML_VEXA_SCHEMA_TYPE_BASE_STRUCT:
            result = register_struct_member_struct(row.tag_name, row.additional_id);
            break;
        default:
            utl_lib_xml_trace("[XML][ERROR! ]struct member not support schema type 0x%08x",
                              row.schema_type);
            continue;
        }
        if (result != 0) {
            utl_lib_xml_trace(
                "[XML][ERROR! ]struct member regist member fail type[0x%08x] id[0x%08x(%d)]",
                row.schema_type, struct_id, struct_id);
        }
    }
    return 0;
}

int utl_lib_xml_vexa_mediator::request_register_interface()
{
    int result = 0;
    for (ROW& row : interface_vec_) {
        result |= register_interface(row.tag_name, row.additional_id);
        row.management_info.tmp_buff = parse_dest_;
    }
    return result;
}

// Interface rows take 3000001 and the ids after their last descendant's;
// descendants are numbered depth first in document order.
int utl_lib_xml_vexa_mediator::request_register_xaddr()
{
    interrupt_id_ = INTERRUPT_ID_RESET;
    unsigned int counter = XADDR_ID_FIRST;
    if (interface_vec_.empty()) {
        return 0;
    }
    int result = 0;
    for (ROW& row : interface_vec_) {
        std::string path = std::string("/") + row.tag_name;
        unsigned int interface_id = counter;
        xaddr_map_[interface_id] = &row;
        result |= register_xaddr(interface_id, path);
        ROWS& members = xml_schema_map_[static_cast<UTL_LIB_XML_VEXA_STRUCT_ID>(row.additional_id)];
        result |= regist_xaddr(members, path, counter, interface_id);
        ++counter;
    }
    return result;
}

// Every element position gets a row copy of its own, so that two positions
// that share a struct keep their own scratch records and list nodes.
int utl_lib_xml_vexa_mediator::regist_xaddr(ROWS& rows, const std::string& parent_path,
                                            unsigned int& counter, unsigned int parent_id)
{
    int result = 0;
    for (ROW& row : rows) {
        ++counter;
        unsigned int xaddr_id = counter;
        std::string path = parent_path + "/" + row.tag_name;
        result |= register_xaddr(xaddr_id, path);
        row.management_info.parent_xaddr_id = parent_id;

        void* block = zulOSWSubAllocMem(sizeof(ROW));
        if (block == nullptr) {
            return 1;
        }
        alloc_mem_vec_.push_back(block);
        xaddr_map_[xaddr_id] = new (block) ROW(row);

        if ((row.schema_type & UTL_LIB_XML_VEXA_SCHEMA_TYPE_BASE_STRUCT) != 0) {
            ROWS& members =
                xml_schema_map_[static_cast<UTL_LIB_XML_VEXA_STRUCT_ID>(row.additional_id)];
            result |= regist_xaddr(members, path, counter, xaddr_id);
        }
    }
    return result;
}

int utl_lib_xml_vexa_mediator::request_register_xaddr_action(unsigned int xaddr_id)
{
    auto found = xaddr_map_.find(xaddr_id);
    if (found == xaddr_map_.end()) {
        utl_lib_xml_trace("[XML][ERROR! ]Xaddr action. xaddr id is not exist. [0x%08x(%d)]",
                          xaddr_id, xaddr_id);
        return 0;
    }
    ROW* row = found->second;
    int result = 0;
    if ((row->schema_type & UTL_LIB_XML_VEXA_SCHEMA_TYPE_BIT_INTERRUPT_START) != 0) {
        result |= regist_interrupt_(row, UTL_LIB_XML_VEXA_XML_INTERRUPT_TYPE_START,
                                    UTL_LIB_XML_INTERRUPT_TYPE_START);
    }
    if ((row->schema_type & UTL_LIB_XML_VEXA_SCHEMA_TYPE_BIT_INTERRUPT_DATA) != 0) {
        result |= regist_interrupt_(row, UTL_LIB_XML_VEXA_XML_INTERRUPT_TYPE_DATA,
                                    UTL_LIB_XML_INTERRUPT_TYPE_DATA);
    }
    if ((row->schema_type & UTL_LIB_XML_VEXA_SCHEMA_TYPE_BIT_INTERRUPT_END) != 0) {
        result |= regist_interrupt_(row, UTL_LIB_XML_VEXA_XML_INTERRUPT_TYPE_END,
                                    UTL_LIB_XML_INTERRUPT_TYPE_END);
    }
    if (row->attr_info.attr_type != UTL_LIB_XML_VEXA_ATTRIBUTE_TYPE_NO_EXIST) {
        result |= regist_interrupt_(row, UTL_LIB_XML_VEXA_XML_INTERRUPT_TYPE_ATTR,
                                    UTL_LIB_XML_INTERRUPT_TYPE_ATTR);
    }
    return result;
}

int utl_lib_xml_vexa_mediator::regist_interrupt_(ROW* row,
                                                 UTL_LIB_XML_VEXA_XML_INTERRUPT_TYPE slot,
                                                 UTL_LIB_XML_INTERRUPT_TYPE engine_type)
{
    ++interrupt_id_;
    row->management_info.interrupt_id[slot] = interrupt_id_;
    interrupt_map_[interrupt_id_] = row;
    return register_xaddr_interrupt(engine_type, interrupt_id_);
}

int utl_lib_xml_vexa_mediator::request_register_rules()
{
    return 0;
}

int utl_lib_xml_vexa_mediator::notify_xaddr_interrupt(
    unsigned int interrupt_id, std::map<std::string, std::string>& attributes,
    std::string& /*data*/)
{
    auto found = interrupt_map_.find(interrupt_id);
    if (found == interrupt_map_.end()) {
        utl_lib_xml_trace("[XML][ERROR! ]Xaddr notify. interrupt id is not exist. [0x%08x(%d)]",
                          interrupt_id, interrupt_id);
        return 0;
    }
    ROW* row = found->second;
    const UTL_LIB_XML_VEXA_INTERRUPT_ID* slots = row->management_info.interrupt_id;
    if (slots[UTL_LIB_XML_VEXA_XML_INTERRUPT_TYPE_DATA] == interrupt_id) {
        if (!attributes.empty()) {
            process_element_data(row, attributes.begin()->second);
        }
    } else if (slots[UTL_LIB_XML_VEXA_XML_INTERRUPT_TYPE_START] == interrupt_id) {
        process_element_start(row);
    } else if (slots[UTL_LIB_XML_VEXA_XML_INTERRUPT_TYPE_END] == interrupt_id) {
        process_element_end(row);
    } else if (slots[UTL_LIB_XML_VEXA_XML_INTERRUPT_TYPE_ATTR] == interrupt_id) {
        process_element_attr(row, attributes);
    }
    return 0;
}

// ---- per-message set-up ----

int utl_lib_xml_vexa_mediator::clear_private_member()
{
    parse_dest_ = nullptr;
    store_from_ = nullptr;
    interrupt_id_ = INTERRUPT_ID_RESET;
    allocation_failed_ = false;
    interface_vec_.clear();
    xml_schema_map_.clear();
    xml_enum_map_.clear();
    xaddr_map_.clear();
    interrupt_map_.clear();
    return 0;
}

int utl_lib_xml_vexa_mediator::constract_xml_spec()
{
    utl_lib_xml_vexa_schema schema;
    int result = schema.constract_interface(interface_vec_);
    result |= schema.constract_struct(xml_schema_map_);
    result |= schema.constract_enum(xml_enum_map_);
    return result;
}

// ---- parsing ----

// The record that holds the row's member: the scratch record of the
// enclosing element, or the caller's record for a child of the root.
char* utl_lib_xml_vexa_mediator::parent_record_(const ROW* row)
{
    auto parent = xaddr_map_.find(row->management_info.parent_xaddr_id);
    if (parent == xaddr_map_.end() || parent->second == nullptr) {
        return nullptr;
    }
    return static_cast<char*>(parent->second->management_info.tmp_buff);
}

int utl_lib_xml_vexa_mediator::process_element_start(ROW* row)
{
    if (is_struct_(*row)) {
        if (row->management_info.tmp_buff == nullptr) {
            row->management_info.tmp_buff = allocate_zeroed_(row, row->size);
        } else {
            utl_lib_xml_trace("[XML][ERROR! ]MALLOC Tmp buff is invalid data.[0x%08x]",
                              trace_address_(row->management_info.tmp_buff));
        }
    }
    UINT appearance = appearance_(row->schema_type);
    if (appearance == UTL_LIB_XML_VEXA_SCHEMA_TYPE_BASE_UNBOUNDED) {
        void* node = allocate_zeroed_(row, row->additional_data.unbounded.node_size);
        if (node != nullptr) {
            alloc_mem_vec_.push_back(node);
        }
        row->additional_data.unbounded.node_p = static_cast<NODE*>(node);
    }

    char* parent = parent_record_(row);
    if (parent == nullptr) {
        return 0;
    }
    if (appearance == UTL_LIB_XML_VEXA_SCHEMA_TYPE_BASE_OMISSIBLE) {
        set_flag_(parent + row->additional_data.omissible.is_exist_offset);
    } else if (appearance == UTL_LIB_XML_VEXA_SCHEMA_TYPE_BASE_FIXED_MAX) {
        // At the maximum the count stays, and later elements overwrite the
        // last slot.
        char* count_at = parent + row->additional_data.fixed_max.count_offset;
        int32_t count = read_int_(count_at, sizeof(INT));
        if (count < static_cast<int32_t>(row->additional_data.fixed_max.count_max)) {
            write_int_(count_at, sizeof(INT), count + 1);
        }
    }
    return 0;
}

int utl_lib_xml_vexa_mediator::process_element_data(ROW* row, const std::string& text)
{
    char* parent = parent_record_(row);
    if (parent == nullptr) {
        return 0;
    }
    char* dest = parent + row->offset;
    size_t width = row->size;
    UINT appearance = appearance_(row->schema_type);
    if (appearance == UTL_LIB_XML_VEXA_SCHEMA_TYPE_BASE_FIXED_MAX) {
        int32_t count = read_int_(parent + row->additional_data.fixed_max.count_offset, sizeof(INT));
        if (count >= 1 && count <= static_cast<int32_t>(row->additional_data.fixed_max.count_max)) {
            dest += static_cast<size_t>(row->size) * static_cast<size_t>(count - 1);
        }
    } else if (appearance == UTL_LIB_XML_VEXA_SCHEMA_TYPE_BASE_UNBOUNDED) {
        NODE* node = row->additional_data.unbounded.node_p;
        if (node == nullptr) {
            return 0;
        }
        dest = reinterpret_cast<char*>(node) + sizeof(NODE);
        width = row->additional_data.unbounded.node_size - sizeof(NODE);
    }

    switch (value_kind_(row->schema_type)) {
    case UTL_LIB_XML_VEXA_SCHEMA_TYPE_BASE_STRING:
        // Longer text is cut to the capacity less the NUL, without notice.
        if (width > 0) {
            std::strncpy(dest, text.c_str(), width - 1);
        }
        break;
    case UTL_LIB_XML_VEXA_SCHEMA_TYPE_BASE_ENUM: {
        // An unknown name stores 0.
        int value = 0;
        convert_enum_element_(row->additional_id, text, value);
        write_int_(dest, width, value);
        break;
    }
    case UTL_LIB_XML_VEXA_SCHEMA_TYPE_BASE_VALUE:
        write_int_(dest, width, text_to_int32_(text));
        break;
    default:
        break;
    }
    return 0;
}

int utl_lib_xml_vexa_mediator::process_element_attr(ROW* row,
                                                    std::map<std::string, std::string>& attributes)
{
    char* base = (row->schema_type == UTL_LIB_XML_VEXA_SCHEMA_TYPE_INTERFACE)
                     ? static_cast<char*>(row->management_info.tmp_buff)
                     : parent_record_(row);
    const UTL_LIB_XML_VEXA_XML_ATTRIBUTE& attr = row->attr_info;
    if (base == nullptr || attributes.empty() || attr.attr_name == nullptr) {
        return 0;
    }
    char* field = base + attr.attr_offset;
    for (const auto& attribute : attributes) {
        if (attribute.first != attr.attr_name) {
            continue;
        }
        set_flag_(base + attr.attr_occur_offset);
        switch (attr.attr_type) {
        case UTL_LIB_XML_VEXA_ATTRIBUTE_TYPE_STRING:
            std::strncpy(field, attribute.second.c_str(), attr.attr_size);
            break;
        case UTL_LIB_XML_VEXA_ATTRIBUTE_TYPE_VALUE:
            write_int_(field, attr.attr_size, text_to_int32_(attribute.second));
            break;
        case UTL_LIB_XML_VEXA_ATTRIBUTE_TYPE_ENUM: {
            int value = 0;
            convert_enum_element_(attr.attr_enum_id, attribute.second, value);
            write_int_(field, attr.attr_size, value);
            break;
        }
        default:
            break;
        }
    }
    return 0;
}

// Without a parent record the end does nothing at all; a scratch record
// left open that way is returned when the parse is over.
int utl_lib_xml_vexa_mediator::process_element_end(ROW* row)
{
    char* parent = parent_record_(row);
    if (parent == nullptr) {
        return 0;
    }
    char* member = parent + row->offset;
    void* scratch = row->management_info.tmp_buff;
    UINT appearance = appearance_(row->schema_type);
    if (row->schema_type == UTL_LIB_XML_VEXA_SCHEMA_TYPE_STRUCT_UNBOUNDED) {
        // The element's record, its own lists included, goes into the node;
        // a copied list head still reaches its elements.
        NODE* node = row->additional_data.unbounded.node_p;
        if (node != nullptr && scratch != nullptr) {
            std::memcpy(reinterpret_cast<char*>(node) + sizeof(NODE), scratch, row->size);
            zulCLBLstAdd(reinterpret_cast<LIST*>(member), node);
        }
    } else if (appearance == UTL_LIB_XML_VEXA_SCHEMA_TYPE_BASE_UNBOUNDED) {
        NODE* node = row->additional_data.unbounded.node_p;
        if (node != nullptr) {
            zulCLBLstAdd(reinterpret_cast<LIST*>(member), node);
        }
    } else if (is_struct_(*row) && scratch != nullptr) {
        char* slot = member;
        if (appearance == UTL_LIB_XML_VEXA_SCHEMA_TYPE_BASE_FIXED_MAX) {
            int32_t count =
                read_int_(parent + row->additional_data.fixed_max.count_offset, sizeof(INT));
            if (count >= 1 &&
                count <= static_cast<int32_t>(row->additional_data.fixed_max.count_max)) {
                slot += static_cast<size_t>(row->size) * static_cast<size_t>(count - 1);
            }
        }
        std::memcpy(slot, scratch, row->size);
    }
    if (is_struct_(*row)) {
        if (scratch == nullptr) {
            utl_lib_xml_trace("[XML][ERROR! ]FREE Tmp buff is invalid data. [%s]", row->tag_name);
        } else {
            zulOSWOrgFreeMemPart(nullptr, scratch);
            row->management_info.tmp_buff = nullptr;
        }
    }
    return 0;
}

// A zeroed block for the element of row: its scratch record or its list
// node. Without it the element could not be stored, so the failure is kept
// for the end of the parse, which then fails.
void* utl_lib_xml_vexa_mediator::allocate_zeroed_(const ROW* row, UINT size)
{
    void* block = zulOSWSubAllocMem(size);
    if (block == nullptr) {
        utl_lib_xml_trace("[XML][ERROR! ]MALLOC failed. size[%u] [%s]", size, row->tag_name);
        allocation_failed_ = true;
        return nullptr;
    }
    std::memset(block, 0, size);
    return block;
}

// A parse that lost an element to a failed allocation has not read the
// whole document: it fails like a parser error, so that no declaration can
// go missing unnoticed.
int utl_lib_xml_vexa_mediator::check_allocations_()
{
    if (!allocation_failed_) {
        return 0;
    }
    utl_lib_xml_trace("[XML][ERROR! ]Parse failed. an element could not be stored.");
    return 1;
}

// A parse that stops inside open struct elements never reaches their end
// interrupts; their scratch records are returned here.
void utl_lib_xml_vexa_mediator::release_open_scratch_records_()
{
    for (auto& entry : xaddr_map_) {
        ROW* row = entry.second;
        if (row == nullptr || row->schema_type == UTL_LIB_XML_VEXA_SCHEMA_TYPE_INTERFACE ||
            !is_struct_(*row) || row->management_info.tmp_buff == nullptr) {
            continue;
        }
        zulOSWOrgFreeMemPart(nullptr, row->management_info.tmp_buff);
        row->management_info.tmp_buff = nullptr;
    }
}

// Pieces of at most 128 characters, each copied into a zeroed buffer: a
// short text whole, a longer one as its first and its last 128 characters.
int utl_lib_xml_vexa_mediator::output_debug_log_parse(const std::string& xml)
{
    char piece[PARSE_LOG_PIECE + 1];
    if (xml.size() < PARSE_LOG_PIECE) {
        copy_parse_piece_(piece, xml.data(), xml.size());
        utl_lib_xml_trace("[XML][IMP    ]Parse [%s]", piece);
    } else {
        copy_parse_piece_(piece, xml.data(), PARSE_LOG_PIECE);
        utl_lib_xml_trace("[XML][IMP    ]Parse START[%s]", piece);
        copy_parse_piece_(piece, xml.data() + xml.size() - PARSE_LOG_PIECE, PARSE_LOG_PIECE);
        utl_lib_xml_trace("[XML][IMP    ]Parse END  [%s]", piece);
    }
    return 0;
}

// ---- writing ----

int utl_lib_xml_vexa_mediator::store_start(unsigned int struct_id, std::string& out,
                                           const void* src, int header)
{
    ROW* root = nullptr;
    for (ROW& row : interface_vec_) {
        if (row.additional_id == struct_id) {
            row.management_info.tmp_buff = const_cast<void*>(src);
            root = &row;
        }
    }
    if (root == nullptr && !interface_vec_.empty()) {
        root = &interface_vec_.front();
    }
    auto entry = xml_schema_map_.find(static_cast<UTL_LIB_XML_VEXA_STRUCT_ID>(struct_id));
    if (entry == xml_schema_map_.end() || root == nullptr) {
        return 0;
    }
    int result = 0;
    if (header == 1) {
        result = store_xml_header(out);
    }
    store_xml_tag_start(*root, out, src);
    store_element_member(entry->second, out, src);
    store_xml_tag_end(*root, out);
    return result;
}

int utl_lib_xml_vexa_mediator::store_xml_header(std::string& out)
{
    std::string version;
    std::string encoding;
    request_register_xml_spec(version, encoding);
    out += "<?xml ";
    out += "version=\"";
    out += version;
    out += "\" ";
    out += "encoding=\"";
    out += encoding;
    out += "\"";
    out += "?>";
    return 0;
}

int utl_lib_xml_vexa_mediator::store_xml_tag_start(const ROW& row, std::string& out,
                                                   const void* record)
{
    out += "<";
    out += row.tag_name;
    store_element_attribute(row, out, record);
    out += ">";
    return 0;
}

int utl_lib_xml_vexa_mediator::store_xml_tag(const ROW& row, const std::string& text,
                                             std::string& out, const void* record)
{
    std::string escaped;
    convert_string_to_xml(text, escaped);
    store_xml_tag_start(row, out, record);
    out += escaped;
    return store_xml_tag_end(row, out);
}

int utl_lib_xml_vexa_mediator::store_xml_tag_end(const ROW& row, std::string& out)
{
    out += "</";
    out += row.tag_name;
    out += ">";
    return 0;
}

int utl_lib_xml_vexa_mediator::store_element_member(const ROWS& rows, std::string& out,
                                                    const void* record)
{
    for (const ROW& row : rows) {
        switch (value_kind_(row.schema_type)) {
        case UTL_LIB_XML_VEXA_SCHEMA_TYPE_BASE_VALUE:
            store_element_value(row, out, record);
            break;
        case UTL_LIB_XML_VEXA_SCHEMA_TYPE_BASE_STRING:
            store_element_string(row, out, record);
            break;
        case UTL_LIB_XML_VEXA_SCHEMA_TYPE_BASE_ENUM:
            store_element_enum(row, out, record);
            break;
        case UTL_LIB_XML_VEXA_SCHEMA_TYPE_BASE_STRUCT:
            store_element_struct(row, out, record);
            break;
        default:
            utl_lib_xml_trace("[XML][ERROR! ]store struct error! unknown schema type.[0x%08x]",
                              row.schema_type);
            break;
        }
    }
    return 0;
}

// The addresses of the row's occurrences in record, by appearance kind:
// OMISSIBLE once if its flag is exactly 1, NORMAL once, UNBOUNDED each list
// node's payload, FIXED_MAX each counted slot.
int utl_lib_xml_vexa_mediator::collect_elements_(const ROW& row, const void* record,
                                                 std::vector<const char*>& items)
{
    UINT appearance = appearance_(row.schema_type);
    const char* base = static_cast<const char*>(record);
    switch (appearance) {
    case UTL_LIB_XML_VEXA_SCHEMA_TYPE_BASE_OMISSIBLE:
    case UTL_LIB_XML_VEXA_SCHEMA_TYPE_BASE_NORMAL:
    case UTL_LIB_XML_VEXA_SCHEMA_TYPE_BASE_UNBOUNDED:
    case UTL_LIB_XML_VEXA_SCHEMA_TYPE_BASE_FIXED_MAX:
        break;
    default:
        utl_lib_xml_trace("[XML][ERROR! ]store value error! unknown schema type.[0x%08x]",
                          row.schema_type);
        return 1;
    }
    if (base == nullptr) {
        return 0;
    }
    if (appearance == UTL_LIB_XML_VEXA_SCHEMA_TYPE_BASE_OMISSIBLE) {
        if (read_flag_(base + row.additional_data.omissible.is_exist_offset) == 1) {
            items.push_back(base + row.offset);
        }
    } else if (appearance == UTL_LIB_XML_VEXA_SCHEMA_TYPE_BASE_NORMAL) {
        items.push_back(base + row.offset);
    } else if (appearance == UTL_LIB_XML_VEXA_SCHEMA_TYPE_BASE_UNBOUNDED) {
        LIST* list = reinterpret_cast<LIST*>(const_cast<char*>(base + row.offset));
        for (int index = 1; index <= list->count; ++index) {
            NODE* node = zulCLBLstNth(list, index);
            if (node != nullptr) {
                items.push_back(reinterpret_cast<const char*>(node) + sizeof(NODE));
            }
        }
    } else {
        // The count never passes the maximum, so no slot beyond the array
        // is read.
        int32_t count = read_int_(base + row.additional_data.fixed_max.count_offset, sizeof(INT));
        count = std::min(count, static_cast<int32_t>(row.additional_data.fixed_max.count_max));
        for (int32_t index = 0; index < count; ++index) {
            items.push_back(base + row.offset + static_cast<size_t>(row.size) * index);
        }
    }
    return 0;
}

int utl_lib_xml_vexa_mediator::store_element_value(const ROW& row, std::string& out,
                                                   const void* record)
{
    std::vector<const char*> items;
    collect_elements_(row, record, items);
    for (const char* item : items) {
        char text[32];
        std::snprintf(text, sizeof(text), "%d", read_int_(item, row.size));
        store_xml_tag(row, text, out, record);
    }
    return 0;
}

int utl_lib_xml_vexa_mediator::store_element_string(const ROW& row, std::string& out,
                                                    const void* record)
{
    std::vector<const char*> items;
    collect_elements_(row, record, items);
    for (const char* item : items) {
        store_xml_tag(row, std::string(item, strnlen(item, row.size)), out, record);
    }
    return 0;
}

// A value without a name in the row's enum leaves the element out.
int utl_lib_xml_vexa_mediator::store_element_enum(const ROW& row, std::string& out,
                                                  const void* record)
{
    std::vector<const char*> items;
    collect_elements_(row, record, items);
    for (const char* item : items) {
        const char* name = enum_name_(row.additional_id, read_int_(item, row.size));
        if (name != nullptr) {
            store_xml_tag(row, name, out, record);
        }
    }
    return 0;
}

int utl_lib_xml_vexa_mediator::store_element_struct(const ROW& row, std::string& out,
                                                    const void* record)
{
    std::vector<const char*> items;
    collect_elements_(row, record, items);
    auto entry = xml_schema_map_.find(static_cast<UTL_LIB_XML_VEXA_STRUCT_ID>(row.additional_id));
    for (const char* item : items) {
        store_xml_tag_start(row, out, record);
        if (entry != xml_schema_map_.end()) {
            store_element_member(entry->second, out, item);
        }
        store_xml_tag_end(row, out);
    }
    return 0;
}

const char* utl_lib_xml_vexa_mediator::enum_name_(unsigned int enum_id, int value)
{
    auto entry = xml_enum_map_.find(static_cast<UTL_LIB_XML_VEXA_ENUM_ID>(enum_id));
    if (entry == xml_enum_map_.end()) {
        return nullptr;
    }
    for (const UTL_LIB_XML_VEXA_XML_ENUMERATION& row : entry->second) {
        if (static_cast<int>(row.enum_value) == value) {
            return row.enum_name;
        }
    }
    return nullptr;
}

// Written only when the row has an attribute whose occurrence flag is 1:
// a blank, the name, ="value" and a blank (kept before the closing ">").
int utl_lib_xml_vexa_mediator::store_element_attribute(const ROW& row, std::string& out,
                                                       const void* record)
{
    const UTL_LIB_XML_VEXA_XML_ATTRIBUTE& attr = row.attr_info;
    if (attr.attr_type == UTL_LIB_XML_VEXA_ATTRIBUTE_TYPE_NO_EXIST || attr.attr_name == nullptr) {
        return 0;
    }
    const char* base = (row.schema_type == UTL_LIB_XML_VEXA_SCHEMA_TYPE_INTERFACE)
                           ? static_cast<const char*>(row.management_info.tmp_buff)
                           : static_cast<const char*>(record);
    if (base == nullptr || read_flag_(base + attr.attr_occur_offset) != 1) {
        return 0;
    }
    out += " ";
    out += attr.attr_name;
    out += "=\"";
    out += attribute_text_(row, base);
    out += "\" ";
    return 0;
}

std::string utl_lib_xml_vexa_mediator::attribute_text_(const ROW& row, const char* base)
{
    const UTL_LIB_XML_VEXA_XML_ATTRIBUTE& attr = row.attr_info;
    const char* field = base + attr.attr_offset;
    std::string text;
    switch (attr.attr_type) {
    case UTL_LIB_XML_VEXA_ATTRIBUTE_TYPE_STRING:
        convert_string_to_xml(std::string(field, strnlen(field, attr.attr_size)), text);
        break;
    case UTL_LIB_XML_VEXA_ATTRIBUTE_TYPE_VALUE:
        text = std::to_string(read_int_(field, attr.attr_size));
        break;
    case UTL_LIB_XML_VEXA_ATTRIBUTE_TYPE_ENUM: {
        const char* name = enum_name_(attr.attr_enum_id, read_int_(field, attr.attr_size));
        if (name != nullptr) {
            text = name;
        }
        break;
    }
    default:
        break;
    }
    return text;
}

}  // namespace norvane
