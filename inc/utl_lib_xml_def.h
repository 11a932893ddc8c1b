// Shared public definitions of the XML binding engine: result codes, the
// 32-bit BOOL, element kinds, identifier ranges, automatic-target kinds,
// interrupt events and parse rules.
#ifndef NORVANE_UTL_LIB_XML_DEF_H
#define NORVANE_UTL_LIB_XML_DEF_H

#include <cstdint>

#ifndef TRUE
#define TRUE 1
#endif
#ifndef FALSE
#define FALSE 0
#endif

namespace norvane {

// Results of every engine operation; errors of several steps are OR-ed.
constexpr int UTL_LIB_XML_RET_OK = 0;
constexpr int UTL_LIB_XML_RET_ERR = 1;

// Presence flags and truth values are 32 bits wide in every record.
typedef int32_t BOOL;
static_assert(sizeof(BOOL) == 4, "BOOL is 32 bits");

// Kind of an element: how its content is read and written.
enum UTL_LIB_XML_ELEMENT_TYPE {
    UTL_LIB_XML_ELEMENT_TYPE_UNKNOWN = 0,  // not registered / not found
    UTL_LIB_XML_ELEMENT_TYPE_STRING = 1,   // free text
    UTL_LIB_XML_ELEMENT_TYPE_VALUE = 2,    // decimal number
    UTL_LIB_XML_ELEMENT_TYPE_ENUM = 3,     // one name of a registered enum
    UTL_LIB_XML_ELEMENT_TYPE_STRUCT = 4    // child elements of a registered struct
};

// Identifier ranges: every registered thing takes an ID from its own range.
enum UTL_LIB_XML_CTRL_ID : uint32_t {
    UTL_LIB_XML_INVALID_ID = 0,
    UTL_LIB_XML_NAMESPACE_ID_TOP = 1,
    UTL_LIB_XML_NAMESPACE_ID_TERM = 1000000,
    UTL_LIB_XML_ENUM_ID_TOP = 1000001,
    UTL_LIB_XML_ENUM_ID_TERM = 2000000,
    UTL_LIB_XML_STRUCT_ID_TOP = 2000001,
    UTL_LIB_XML_STRUCT_ID_TERM = 3000000,
    UTL_LIB_XML_XADDR_ID_TOP = 3000001,
    UTL_LIB_XML_XADDR_ID_TERM = 4000000,
    UTL_LIB_XML_INTERRUPT_ID_TOP = 4000001,
    UTL_LIB_XML_INTERRUPT_ID_TERM = 5000000
};

// Kind of an automatic storage target in the caller's memory.
enum UTL_LIB_XADDR_DATA_TYPE {
    XADDR_DATA_TYPE_UNKNOWN = 0,
    XADDR_DATA_TYPE_STRING = 1,             // std::string
    XADDR_DATA_TYPE_1BYTE_VAL = 2,          // integer of 1 byte
    XADDR_DATA_TYPE_2BYTE_VAL = 3,          // integer of 2 bytes
    XADDR_DATA_TYPE_4BYTE_VAL = 4,          // integer of 4 bytes
    XADDR_DATA_TYPE_CHAR_BUFF = 5,          // char array of a given size
    XADDR_DATA_TYPE_VECTOR_STRING = 6,      // std::vector<std::string>
    XADDR_DATA_TYPE_VECTOR_1BYTE_VAL = 7,   // std::vector<char>
    XADDR_DATA_TYPE_VECTOR_2BYTE_VAL = 8,   // std::vector<short>
    XADDR_DATA_TYPE_VECTOR_4BYTE_VAL = 9,   // std::vector<int>
    XADDR_DATA_TYPE_DATA_FOUND = 10         // flag set when the element occurs
};

// Single value or vector target.
enum UTL_LIB_XADDR_VALUE_OPTION_TYPE {
    UTL_LIB_XADDR_VALUE_OPTION_NONE = 0,
    UTL_LIB_XADDR_VALUE_OPTION_VECTOR = 1
};

// Event at which the derived class is called back.
enum UTL_LIB_XML_INTERRUPT_TYPE {
    UTL_LIB_XML_INTERRUPT_TYPE_UNKNOWN = 0,
    UTL_LIB_XML_INTERRUPT_TYPE_START = 1,
    UTL_LIB_XML_INTERRUPT_TYPE_END = 2,
    UTL_LIB_XML_INTERRUPT_TYPE_DATA = 3,
    UTL_LIB_XML_INTERRUPT_TYPE_ATTR = 4,
    UTL_LIB_XML_INTERRUPT_TYPE_ERROR = 5
};

// Bit numbers of the mediator's parse rules.
enum UTL_LIB_XML_RULE {
    UTL_LIB_XML_RULE_DETECT_VERSION_MISMATCH = 0,
    UTL_LIB_XML_RULE_DETECT_ILLEGAL_ENUM = 1,
    UTL_LIB_XML_RULE_DETECT_ILLEGAL_STRUCT = 2,
    UTL_LIB_XML_RULE_DETECT_ILLEGAL_INTERFACE = 3,
    UTL_LIB_XML_RULE_MAX = 4
};

}  // namespace norvane

#endif
