// Trace for the fuzz targets: formats every line like the host trace, so that
// the format and its arguments are still exercised, and then drops it.
#include "gen_trace.h"

#include <cstdarg>
#include <cstdio>

void zulGENTrcPrintf(unsigned int /*category*/, unsigned int /*level*/, unsigned int /*flag*/,
                     const char* format, ...)
{
    char line[512];
    va_list args;
    va_start(args, format);
    std::vsnprintf(line, sizeof(line), format, args);
    va_end(args);
}
