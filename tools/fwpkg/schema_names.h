// The names that stand for enum values in a package description, taken from
// the schema's own tables, so the tool writes exactly what the device reads.
#ifndef NORVANE_TOOLS_SCHEMA_NAMES_H
#define NORVANE_TOOLS_SCHEMA_NAMES_H

#include "utl_lib_xml_vexa_schema.h"

#include <string>
#include <vector>

namespace norvane_tools {

class schema_names {
public:
    schema_names();

    // 0 and the value of name in enum id, or 1 when the name is not there.
    int value_of(norvane::UTL_LIB_XML_VEXA_ENUM_ID id, const std::string& name, int& value) const;
    // The name of value in enum id, or "" when it has none.
    std::string name_of(norvane::UTL_LIB_XML_VEXA_ENUM_ID id, int value) const;
    // Every name of enum id, in table order.
    std::vector<std::string> names(norvane::UTL_LIB_XML_VEXA_ENUM_ID id) const;

private:
    norvane::UTL_LIB_XML_VEXA_ENUM_TABLE enums_;
};

}  // namespace norvane_tools

#endif
