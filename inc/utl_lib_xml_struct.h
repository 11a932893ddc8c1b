// One registered struct: the child elements that a structured element may
// contain, in document order, each with its kind.
#ifndef NORVANE_UTL_LIB_XML_STRUCT_H
#define NORVANE_UTL_LIB_XML_STRUCT_H

#include <string>
#include <vector>

#include "utl_lib_xml_def.h"

namespace norvane {

// One child element of a struct.
struct utl_lib_xml_struct_member_info {
    std::string name;                // the child's local name
    unsigned int namespace_id = 0;   // the child's namespace
    UTL_LIB_XML_ELEMENT_TYPE type = UTL_LIB_XML_ELEMENT_TYPE_UNKNOWN;
    unsigned int id = 0;             // enum or struct ID, 0 for string and value
};

// Lookups match a member by exact name and, unless namespace_id is 0, by
// namespace; the last matching member wins. Registration refuses a name that
// exists in any namespace.
class utl_lib_xml_struct {
public:
    explicit utl_lib_xml_struct(unsigned int namespace_id);

    unsigned int get_namespace_id() const;

    // Each appends one member; 0 when added, 1 on a duplicate name.
    int register_string_member(std::string name, unsigned int namespace_id);
    int register_value_member(std::string name, unsigned int namespace_id);
    int register_enum_member(std::string name, unsigned int namespace_id, unsigned int enum_id);
    int register_struct_member(std::string name, unsigned int namespace_id, unsigned int struct_id);

    bool is_exist_member(std::string name, unsigned int namespace_id);
    bool is_string_member(std::string name, unsigned int namespace_id);
    bool is_value_member(std::string name, unsigned int namespace_id);
    bool is_enum_member(std::string name, unsigned int namespace_id);
    bool is_struct_member(std::string name, unsigned int namespace_id);

    UTL_LIB_XML_ELEMENT_TYPE get_element_type(std::string name, unsigned int namespace_id);
    unsigned int get_enum_id(std::string name, unsigned int namespace_id);
    unsigned int get_struct_id(std::string name, unsigned int namespace_id);

    // Copies the members in registration order. Returns 0.
    int get_member_list(std::vector<utl_lib_xml_struct_member_info>& list);

private:
    int register_member_(const std::string& name, unsigned int namespace_id,
                         UTL_LIB_XML_ELEMENT_TYPE type, unsigned int id);
    // The last member matching name (and namespace unless 0), or null.
    const utl_lib_xml_struct_member_info* get_member_info_(const std::string& name,
                                                           unsigned int namespace_id) const;

    unsigned int namespace_id_;
    std::vector<utl_lib_xml_struct_member_info> member_list_;
};

}  // namespace norvane

#endif
