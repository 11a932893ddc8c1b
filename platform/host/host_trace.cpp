// Trace on the host: one line per call on standard error, or appended to
// FWUPDATE_TRACE_FILE when that is set.
#include "gen_trace.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <unistd.h>

namespace {

// One write per line, so trace lines never interleave with the program log.
void write_all_(int fd, const std::string& line)
{
    size_t written = 0;
    while (written < line.size()) {
        ssize_t result = ::write(fd, line.data() + written, line.size() - written);
        if (result <= 0) {
            return;
        }
        written += static_cast<size_t>(result);
    }
}

}  // namespace

void zulGENTrcPrintf(unsigned int /*category*/, unsigned int /*level*/, unsigned int /*flag*/,
                     const char* format, ...)
{
    va_list args;
    va_start(args, format);
    va_list measure;
    va_copy(measure, args);
    int length = std::vsnprintf(nullptr, 0, format, measure);
    va_end(measure);
    std::string line;
    if (length > 0) {
        line.assign(static_cast<size_t>(length) + 1, '\0');
        std::vsnprintf(&line[0], line.size(), format, args);
        line.resize(static_cast<size_t>(length));
    }
    va_end(args);
    line += '\n';

    std::fflush(stderr);
    const char* trace_file = std::getenv("FWUPDATE_TRACE_FILE");
    if (trace_file != nullptr && trace_file[0] != '\0') {
        int fd = ::open(trace_file, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
        if (fd >= 0) {
            write_all_(fd, line);
            ::close(fd);
            return;
        }
    }
    write_all_(STDERR_FILENO, line);
}
