// The compiled-in vocabulary of the vexa message family.
//
// A schema row binds one XML element to a member of a fixed-layout record by
// byte offset and width; an enumeration row binds an enum name to its value.
// utl_lib_xml_vexa_schema builds the interface, struct and enum tables of
// this build on request; the schema mediator rebuilds them for every message.
#ifndef NORVANE_UTL_LIB_XML_VEXA_SCHEMA_H
#define NORVANE_UTL_LIB_XML_VEXA_SCHEMA_H

#include <cstddef>
#include <map>
#include <vector>

#include "clb_list.h"
#include "utl_lib_xml_vexa_def.h"

namespace norvane {

// Omissible member: where its presence flag lies.
typedef struct UTL_LIB_XML_VEXA_XML_SCHEMA_OMISSIBLE {
    size_t is_exist_offset;
} UTL_LIB_XML_VEXA_XML_SCHEMA_OMISSIBLE;

// Unbounded member: allocation size of one list node (header + record) and
// the node that the mediator is filling.
typedef struct UTL_LIB_XML_VEXA_XML_SCHEMA_UNBOUNDED {
    UINT node_size;
    NODE* node_p;
} UTL_LIB_XML_VEXA_XML_SCHEMA_UNBOUNDED;

// Member with a fixed maximum of occurrences: where its count lies, and the
// maximum.
typedef struct UTL_LIB_XML_VEXA_XML_SCHEMA_FIXED_MAX {
    size_t count_offset;
    UINT count_max;
} UTL_LIB_XML_VEXA_XML_SCHEMA_FIXED_MAX;

// Interface row: the message kind that it describes.
typedef struct UTL_LIB_XML_VEXA_XML_SCHEMA_INTERFACE {
    UTL_LIB_XML_VEXA_MESSAGE_TYPE message_type;
} UTL_LIB_XML_VEXA_XML_SCHEMA_INTERFACE;

// An XML attribute of an element and where its value and presence flag lie.
typedef struct UTL_LIB_XML_VEXA_XML_ATTRIBUTE {
    UTL_LIB_XML_VEXA_ATTRIBUTE_TYPE attr_type;
    const char* attr_name;
    size_t attr_offset;
    UINT attr_size;
    size_t attr_occur_offset;
    UTL_LIB_XML_VEXA_ENUM_ID attr_enum_id;
} UTL_LIB_XML_VEXA_XML_ATTRIBUTE;

// The mediator's run-time bookkeeping for one row.
typedef struct UTL_LIB_XML_VEXA_XML_MANAGEMENT_INFO {
    UTL_LIB_XML_VEXA_XADDR_ID parent_xaddr_id;
    UTL_LIB_XML_VEXA_INTERRUPT_ID interrupt_id[UTL_LIB_XML_VEXA_XML_INTERRUPT_TYPE_MAX];
    void* tmp_buff;  // record being filled while the element is open
} UTL_LIB_XML_VEXA_XML_MANAGEMENT_INFO;

// One element of a message: a plain value copied memberwise into the tables.
// The constructor forms differ in what they set in additional_data; a form
// given a schema type that it does not accept logs the fact and leaves
// additional_data unset.
struct UTL_LIB_XML_VEXA_XML_SCHEMA {
    const char* tag_name;  // a string constant, never freed
    UTL_LIB_XML_VEXA_SCHEMA_TYPE schema_type;
    size_t offset;  // of the member inside the record the table describes
    UINT size;      // member size; STRING: capacity incl. NUL; STRUCT/UNBOUNDED: one element
    UINT additional_id;  // enum id of an ENUM row, struct id of a STRUCT or INTERFACE row
    union {
        UTL_LIB_XML_VEXA_XML_SCHEMA_OMISSIBLE omissible;
        UTL_LIB_XML_VEXA_XML_SCHEMA_UNBOUNDED unbounded;
        UTL_LIB_XML_VEXA_XML_SCHEMA_FIXED_MAX fixed_max;
        UTL_LIB_XML_VEXA_XML_SCHEMA_INTERFACE interface_type;
    } additional_data;
    UTL_LIB_XML_VEXA_XML_ATTRIBUTE attr_info;
    UTL_LIB_XML_VEXA_XML_MANAGEMENT_INFO management_info;

    // Scratch row: every field unset.
    UTL_LIB_XML_VEXA_XML_SCHEMA();
    // NORMAL row.
    UTL_LIB_XML_VEXA_XML_SCHEMA(const char* tag, UTL_LIB_XML_VEXA_SCHEMA_TYPE type, size_t offset,
                                UINT size, UINT additional_id);
    // OMISSIBLE row (pointer = offset of the presence flag) or INTERFACE row
    // (pointer = the record being filled).
    UTL_LIB_XML_VEXA_XML_SCHEMA(const char* tag, UTL_LIB_XML_VEXA_SCHEMA_TYPE type, size_t offset,
                                UINT size, UINT additional_id, void* pointer);
    // UNBOUNDED row: allocation size of one list node.
    UTL_LIB_XML_VEXA_XML_SCHEMA(const char* tag, UTL_LIB_XML_VEXA_SCHEMA_TYPE type, size_t offset,
                                UINT size, UINT additional_id, UINT node_size);
    // FIXED_MAX row: offset of the element count and the maximum count.
    UTL_LIB_XML_VEXA_XML_SCHEMA(const char* tag, UTL_LIB_XML_VEXA_SCHEMA_TYPE type, size_t offset,
                                UINT size, UINT additional_id, void* count_offset, UINT count_max);

private:
    void set_common_(const char* tag, UTL_LIB_XML_VEXA_SCHEMA_TYPE type, size_t offset,
                     UINT size, UINT additional_id);
};

// One name/value pair of an enum table.
struct UTL_LIB_XML_VEXA_XML_ENUMERATION {
    const char* enum_name;  // the text that stands in the XML
    UINT enum_value;        // the value that stands in the record

    UTL_LIB_XML_VEXA_XML_ENUMERATION(const char* name, UINT value);
};

typedef std::vector<UTL_LIB_XML_VEXA_XML_SCHEMA> UTL_LIB_XML_VEXA_SCHEMA_ROWS;
typedef std::map<UTL_LIB_XML_VEXA_STRUCT_ID, UTL_LIB_XML_VEXA_SCHEMA_ROWS>
    UTL_LIB_XML_VEXA_STRUCT_TABLE;
typedef std::vector<UTL_LIB_XML_VEXA_XML_ENUMERATION> UTL_LIB_XML_VEXA_ENUM_ROWS;
typedef std::map<UTL_LIB_XML_VEXA_ENUM_ID, UTL_LIB_XML_VEXA_ENUM_ROWS> UTL_LIB_XML_VEXA_ENUM_TABLE;

// Builds this build's tables. It holds no state: each operation clears the
// container that it is given, fills it and returns 0.
class utl_lib_xml_vexa_schema {
public:
    utl_lib_xml_vexa_schema();
    ~utl_lib_xml_vexa_schema();

    // Top-level messages.
    int constract_interface(std::vector<UTL_LIB_XML_VEXA_XML_SCHEMA>& interfaces);
    // For each struct id, its member rows in document order.
    int constract_struct(
        std::map<UTL_LIB_XML_VEXA_STRUCT_ID, std::vector<UTL_LIB_XML_VEXA_XML_SCHEMA>>& structs);
    // For each enum id, its name/value rows.
    int constract_enum(
        std::map<UTL_LIB_XML_VEXA_ENUM_ID, std::vector<UTL_LIB_XML_VEXA_XML_ENUMERATION>>& enums);

private:
    void constract_firmware_package_(UTL_LIB_XML_VEXA_STRUCT_TABLE& structs);
    void constract_firmware_download_information_(UTL_LIB_XML_VEXA_STRUCT_TABLE& structs);
    void constract_firmware_data_information_(UTL_LIB_XML_VEXA_STRUCT_TABLE& structs);
    void constract_xmpp_note_type_(UTL_LIB_XML_VEXA_ENUM_TABLE& enums);
    void constract_on_off_type_(UTL_LIB_XML_VEXA_ENUM_TABLE& enums);
    void constract_version_information_type_(UTL_LIB_XML_VEXA_ENUM_TABLE& enums);
    void constract_package_type_(UTL_LIB_XML_VEXA_ENUM_TABLE& enums);
};

}  // namespace norvane

#endif
