#include "schema_names.h"

namespace norvane_tools {

using namespace norvane;

schema_names::schema_names()
{
    utl_lib_xml_vexa_schema().constract_enum(enums_);
}

int schema_names::value_of(UTL_LIB_XML_VEXA_ENUM_ID id, const std::string& name, int& value) const
{
    auto table = enums_.find(id);
    if (table == enums_.end()) {
        return 1;
    }
    for (const UTL_LIB_XML_VEXA_XML_ENUMERATION& row : table->second) {
        if (name == row.enum_name) {
            value = static_cast<int>(row.enum_value);
            return 0;
        }
    }
    return 1;
}

std::string schema_names::name_of(UTL_LIB_XML_VEXA_ENUM_ID id, int value) const
{
    auto table = enums_.find(id);
    if (table != enums_.end()) {
        for (const UTL_LIB_XML_VEXA_XML_ENUMERATION& row : table->second) {
            if (static_cast<int>(row.enum_value) == value) {
                return row.enum_name;
            }
        }
    }
    return "";
}

std::vector<std::string> schema_names::names(UTL_LIB_XML_VEXA_ENUM_ID id) const
{
    std::vector<std::string> all;
    auto table = enums_.find(id);
    if (table != enums_.end()) {
        for (const UTL_LIB_XML_VEXA_XML_ENUMERATION& row : table->second) {
            all.push_back(row.enum_name);
        }
    }
    return all;
}

}  // namespace norvane_tools
