// One registered enum: member names and their values.
#include "utl_lib_xml_enum.h"

#include "utl_lib_xml_local.h"

namespace norvane {

utl_lib_xml_enum::utl_lib_xml_enum(unsigned int namespace_id)
    : namespace_id_(namespace_id), member_list_()
{
}

unsigned int utl_lib_xml_enum::get_namespace_id() const
{
    return namespace_id_;
}

int utl_lib_xml_enum::register_member(std::string name, int value)
{
    if (member_list_.find(name) != member_list_.end()) {
        utl_lib_xml_trace("[XML][ERROR! ]previously register_member. name=%s", name.c_str());
        return UTL_LIB_XML_RET_ERR;
    }
    member_list_[name] = value;
    return UTL_LIB_XML_RET_OK;
}

int utl_lib_xml_enum::convert(int value, std::string& name)
{
    // The map walks in byte order of the names, so the first hit is the
    // smallest name that has this value.
    for (const auto& member : member_list_) {
        if (member.second == value) {
            name = member.first;
            return UTL_LIB_XML_RET_OK;
        }
    }
    utl_lib_xml_trace("[XML][WARNING]value not found. value=%d", value);
    return UTL_LIB_XML_RET_ERR;
}

int utl_lib_xml_enum::convert(std::string name, int& value)
{
    auto member = member_list_.find(name);
    if (member == member_list_.end()) {
        utl_lib_xml_trace("[XML][WARNING]enum not found. name=%s", name.c_str());
        return UTL_LIB_XML_RET_ERR;
    }
    value = member->second;
    return UTL_LIB_XML_RET_OK;
}

}  // namespace norvane
