// Schema rows, enumeration rows and the table builder's life cycle. The
// tables of this build are in utl_lib_xml_vexa_schema_fwupdate.cpp.
#include "utl_lib_xml_vexa_schema.h"

#include <cstdint>
#include <cstring>

#include "utl_lib_xml_local.h"

namespace norvane {

namespace {

UINT appearance_of_(UTL_LIB_XML_VEXA_SCHEMA_TYPE type)
{
    return type & UTL_LIB_XML_VEXA_SCHEMA_TYPE_MASK_APPEAR_TYPE;
}

}  // namespace

UTL_LIB_XML_VEXA_XML_SCHEMA::UTL_LIB_XML_VEXA_XML_SCHEMA()
{
}

UTL_LIB_XML_VEXA_XML_SCHEMA::UTL_LIB_XML_VEXA_XML_SCHEMA(const char* tag,
                                                         UTL_LIB_XML_VEXA_SCHEMA_TYPE type,
                                                         size_t offset, UINT size,
                                                         UINT additional_id)
{
    set_common_(tag, type, offset, size, additional_id);
}

UTL_LIB_XML_VEXA_XML_SCHEMA::UTL_LIB_XML_VEXA_XML_SCHEMA(const char* tag,
                                                         UTL_LIB_XML_VEXA_SCHEMA_TYPE type,
                                                         size_t offset, UINT size,
                                                         UINT additional_id, void* pointer)
{
    set_common_(tag, type, offset, size, additional_id);
    if (appearance_of_(type) == UTL_LIB_XML_VEXA_SCHEMA_TYPE_BASE_OMISSIBLE) {
        additional_data.omissible.is_exist_offset = reinterpret_cast<uintptr_t>(pointer);
    } else if (type == UTL_LIB_XML_VEXA_SCHEMA_TYPE_INTERFACE) {
        management_info.tmp_buff = pointer;
    } else {
        utl_lib_xml_trace("[XML][ERROR! ]XML schema type ng [0x%08x(%d)]", type, type);
    }
}

UTL_LIB_XML_VEXA_XML_SCHEMA::UTL_LIB_XML_VEXA_XML_SCHEMA(const char* tag,
                                                         UTL_LIB_XML_VEXA_SCHEMA_TYPE type,
                                                         size_t offset, UINT size,
                                                         UINT additional_id, UINT node_size)
{
    set_common_(tag, type, offset, size, additional_id);
    if (appearance_of_(type) == UTL_LIB_XML_VEXA_SCHEMA_TYPE_BASE_UNBOUNDED) {
        additional_data.unbounded.node_size = node_size;
        additional_data.unbounded.node_p = nullptr;
    } else {
        utl_lib_xml_trace("[XML][ERROR! ]XML schema type ng [0x%08x(%d)]", type, type);
    }
}

UTL_LIB_XML_VEXA_XML_SCHEMA::UTL_LIB_XML_VEXA_XML_SCHEMA(const char* tag,
                                                         UTL_LIB_XML_VEXA_SCHEMA_TYPE type,
                                                         size_t offset, UINT size,
                                                         UINT additional_id, void* count_offset,
                                                         UINT count_max)
{
    set_common_(tag, type, offset, size, additional_id);
    if (appearance_of_(type) == UTL_LIB_XML_VEXA_SCHEMA_TYPE_BASE_FIXED_MAX) {
        additional_data.fixed_max.count_offset = reinterpret_cast<uintptr_t>(count_offset);
        additional_data.fixed_max.count_max = count_max;
    } else {
        utl_lib_xml_trace("[XML][ERROR! ]XML schema type not fixed max [0x%08x(%d)][%s]", type,
                          type, tag);
    }
}

// The five leading fields, a null scratch record and no attribute. The rest
// of the bookkeeping starts cleared as well, so that a fresh row never
// carries stale interrupt ids.
void UTL_LIB_XML_VEXA_XML_SCHEMA::set_common_(const char* tag, UTL_LIB_XML_VEXA_SCHEMA_TYPE type,
                                              size_t offset, UINT size, UINT additional_id)
{
    tag_name = tag;
    schema_type = type;
    this->offset = offset;
    this->size = size;
    this->additional_id = additional_id;
    std::memset(&attr_info, 0, sizeof(attr_info));
    std::memset(&management_info, 0, sizeof(management_info));
    management_info.tmp_buff = nullptr;
}

UTL_LIB_XML_VEXA_XML_ENUMERATION::UTL_LIB_XML_VEXA_XML_ENUMERATION(const char* name, UINT value)
    : enum_name(name), enum_value(value)
{
}

utl_lib_xml_vexa_schema::utl_lib_xml_vexa_schema()
{
}

utl_lib_xml_vexa_schema::~utl_lib_xml_vexa_schema()
{
}

}  // namespace norvane
