// One registered enum: the mapping between the member names of an enumerated
// element and their integer values.
#ifndef NORVANE_UTL_LIB_XML_ENUM_H
#define NORVANE_UTL_LIB_XML_ENUM_H

#include <map>
#include <string>

#include "utl_lib_xml_def.h"

namespace norvane {

// Names are unique; several names may share a value, in which case the value
// converts to the first name in byte order.
class utl_lib_xml_enum {
public:
    explicit utl_lib_xml_enum(unsigned int namespace_id);

    unsigned int get_namespace_id() const;

    // 0 when added, 1 when the name exists already (the old value stays).
    int register_member(std::string name, int value);
    // 0 and name set when some member has this value, else 1.
    int convert(int value, std::string& name);
    // 0 and value set when the name is registered, else 1 (value untouched).
    int convert(std::string name, int& value);

private:
    unsigned int namespace_id_;
    std::map<std::string, int> member_list_;
};

}  // namespace norvane

#endif
