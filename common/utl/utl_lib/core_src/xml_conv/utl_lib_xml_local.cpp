// The trace helper of the XML layers.
#include "utl_lib_xml_local.h"

#include <cstdarg>
#include <cstdio>
#include <string>

#include "gen_trace.h"

namespace norvane {

void utl_lib_xml_trace(const char* format, ...)
{
    va_list args;
    va_start(args, format);
    va_list measure;
    va_copy(measure, args);
    int length = std::vsnprintf(nullptr, 0, format, measure);
    va_end(measure);
    std::string text;
    if (length > 0) {
        // vsnprintf writes the terminating NUL, so format into one byte more.
        text.assign(static_cast<size_t>(length) + 1, '\0');
        std::vsnprintf(&text[0], text.size(), format, args);
        text.resize(static_cast<size_t>(length));
    }
    va_end(args);
    zulGENTrcPrintf(UTL_LIB_XML_TRACE_CATEGORY, UTL_LIB_XML_TRACE_LEVEL, UTL_LIB_XML_TRACE_FLAG,
                    "%s", text.c_str());
}

}  // namespace norvane
