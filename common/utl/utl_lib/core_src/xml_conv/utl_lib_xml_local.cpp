// The trace helper of the XML layers.
#include "utl_lib_xml_local.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include "gen_trace.h"

namespace norvane {

void utl_lib_xml_trace(const char* format, ...)
{
    va_list args;
    va_start(args, format);
    // Names and values come from documents, so the text has no length limit.
    char* text = nullptr;
    if (vasprintf(&text, format, args) < 0) {
        text = nullptr;
    }
    va_end(args);
    zulGENTrcPrintf(UTL_LIB_XML_TRACE_CATEGORY, UTL_LIB_XML_TRACE_LEVEL, UTL_LIB_XML_TRACE_FLAG,
                    "%s", text != nullptr ? text : "");
    std::free(text);
}

}  // namespace norvane
