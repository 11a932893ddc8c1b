// Private definitions of the XML binding engine and its schema layer.
//
// Every "[XML]..." line of these layers goes through utl_lib_xml_trace, which
// hands the formatted text to the platform trace on the engine's fixed
// channel. The texts carry no line feed of their own.
#ifndef NORVANE_UTL_LIB_XML_LOCAL_H
#define NORVANE_UTL_LIB_XML_LOCAL_H

#include "utl_lib_xml_def.h"

namespace norvane {

// The trace channel of the XML layers, whatever the message's severity.
constexpr unsigned int UTL_LIB_XML_TRACE_CATEGORY = 0x3002;
constexpr unsigned int UTL_LIB_XML_TRACE_LEVEL = 0x102;
constexpr unsigned int UTL_LIB_XML_TRACE_FLAG = 0;

// Formats one trace line and writes it through zulGENTrcPrintf.
void utl_lib_xml_trace(const char* format, ...) __attribute__((format(printf, 1, 2)));

}  // namespace norvane

#endif
