// One registered struct: its child elements in document order.
#include "utl_lib_xml_struct.h"

#include "utl_lib_xml_local.h"

namespace norvane {

utl_lib_xml_struct::utl_lib_xml_struct(unsigned int namespace_id)
    : namespace_id_(namespace_id), member_list_()
{
}

unsigned int utl_lib_xml_struct::get_namespace_id() const
{
    return namespace_id_;
}

int utl_lib_xml_struct::register_string_member(std::string name, unsigned int namespace_id)
{
    return register_member_(name, namespace_id, UTL_LIB_XML_ELEMENT_TYPE_STRING,
                            UTL_LIB_XML_INVALID_ID);
}

int utl_lib_xml_struct::register_value_member(std::string name, unsigned int namespace_id)
{
    return register_member_(name, namespace_id, UTL_LIB_XML_ELEMENT_TYPE_VALUE,
                            UTL_LIB_XML_INVALID_ID);
}

int utl_lib_xml_struct::register_enum_member(std::string name, unsigned int namespace_id,
                                             unsigned int enum_id)
{
    return register_member_(name, namespace_id, UTL_LIB_XML_ELEMENT_TYPE_ENUM, enum_id);
}

int utl_lib_xml_struct::register_struct_member(std::string name, unsigned int namespace_id,
                                               unsigned int struct_id)
{
    return register_member_(name, namespace_id, UTL_LIB_XML_ELEMENT_TYPE_STRUCT, struct_id);
}

bool utl_lib_xml_struct::is_exist_member(std::string name, unsigned int namespace_id)
{
    return get_member_info_(name, namespace_id) != nullptr;
}

bool utl_lib_xml_struct::is_string_member(std::string name, unsigned int namespace_id)
{
    return get_element_type(name, namespace_id) == UTL_LIB_XML_ELEMENT_TYPE_STRING;
}

bool utl_lib_xml_struct::is_value_member(std::string name, unsigned int namespace_id)
{
    return get_element_type(name, namespace_id) == UTL_LIB_XML_ELEMENT_TYPE_VALUE;
}

bool utl_lib_xml_struct::is_enum_member(std::string name, unsigned int namespace_id)
{
    return get_element_type(name, namespace_id) == UTL_LIB_XML_ELEMENT_TYPE_ENUM;
}

bool utl_lib_xml_struct::is_struct_member(std::string name, unsigned int namespace_id)
{
    return get_element_type(name, namespace_id) == UTL_LIB_XML_ELEMENT_TYPE_STRUCT;
}

UTL_LIB_XML_ELEMENT_TYPE utl_lib_xml_struct::get_element_type(std::string name,
                                                              unsigned int namespace_id)
{
    const utl_lib_xml_struct_member_info* member = get_member_info_(name, namespace_id);
    if (member == nullptr) {
        return UTL_LIB_XML_ELEMENT_TYPE_UNKNOWN;
    }
    return member->type;
}

unsigned int utl_lib_xml_struct::get_enum_id(std::string name, unsigned int namespace_id)
{
    const utl_lib_xml_struct_member_info* member = get_member_info_(name, namespace_id);
    if (member == nullptr || member->type != UTL_LIB_XML_ELEMENT_TYPE_ENUM) {
        return UTL_LIB_XML_INVALID_ID;
    }
    return member->id;
}

unsigned int utl_lib_xml_struct::get_struct_id(std::string name, unsigned int namespace_id)
{
    const utl_lib_xml_struct_member_info* member = get_member_info_(name, namespace_id);
    if (member == nullptr || member->type != UTL_LIB_XML_ELEMENT_TYPE_STRUCT) {
        return UTL_LIB_XML_INVALID_ID;
    }
    return member->id;
}

int utl_lib_xml_struct::get_member_list(std::vector<utl_lib_xml_struct_member_info>& list)
{
    list = member_list_;
    return UTL_LIB_XML_RET_OK;
}

int utl_lib_xml_struct::register_member_(const std::string& name, unsigned int namespace_id,
                                         UTL_LIB_XML_ELEMENT_TYPE type, unsigned int id)
{
    // A local name may appear once, whatever its namespace.
    if (is_exist_member(name, UTL_LIB_XML_INVALID_ID)) {
        utl_lib_xml_trace("[XML][ERROR! ]Duplicate register. name=%s ID=%d", name.c_str(),
                          static_cast<int>(namespace_id));
        return UTL_LIB_XML_RET_ERR;
    }
    utl_lib_xml_struct_member_info member;
    member.name = name;
    member.namespace_id = namespace_id;
    member.type = type;
    member.id = id;
    member_list_.push_back(member);
    return UTL_LIB_XML_RET_OK;
}

const utl_lib_xml_struct_member_info* utl_lib_xml_struct::get_member_info_(
    const std::string& name, unsigned int namespace_id) const
{
    // The whole list is walked: the last match wins.
    const utl_lib_xml_struct_member_info* found = nullptr;
    for (const auto& member : member_list_) {
        bool same_namespace = namespace_id == UTL_LIB_XML_INVALID_ID ||
                              member.namespace_id == namespace_id;
        if (member.name == name && same_namespace) {
            found = &member;
        }
    }
    return found;
}

}  // namespace norvane
