#include "qav_mnt_fwupdate_lib_log.h"

#include <cstdarg>
#include <cstdio>
#include <string>

namespace norvane {
namespace {

// Formats the whole line first and writes it with one call, so that a line
// from the link's thread never splits a line of the main thread.
void write_line_(const char* tag, const char* operation, const char* format, va_list args)
{
    std::string line = std::string(tag) + " " + operation + "(): ";
    va_list measure;
    va_copy(measure, args);
    int length = std::vsnprintf(nullptr, 0, format, measure);
    va_end(measure);
    if (length > 0) {
        std::string text(static_cast<size_t>(length) + 1, '\0');
        std::vsnprintf(&text[0], text.size(), format, args);
        text.resize(static_cast<size_t>(length));
        line += text;
    }
    std::fwrite(line.data(), 1, line.size(), stderr);
    std::fflush(stderr);
}

}  // namespace

void qav_mnt_fwupdate_log_imp(const char* operation, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    write_line_("[IMP]", operation, format, args);
    va_end(args);
}

void qav_mnt_fwupdate_log_inf(const char* operation, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    write_line_("[INF]", operation, format, args);
    va_end(args);
}

void qav_mnt_fwupdate_log_err(const char* operation, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    write_line_("[ERR]", operation, format, args);
    va_end(args);
}

}  // namespace norvane
