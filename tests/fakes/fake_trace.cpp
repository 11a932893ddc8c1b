// The fake trace: lines are kept in memory instead of being written.
#include "fake_trace.h"

#include <cstdarg>
#include <cstdio>
#include <mutex>

#include "gen_trace.h"

namespace {

struct trace_control {
    std::mutex lock;
    std::vector<norvane_fake::fake_trace_line> lines;
};

trace_control& trace_()
{
    static trace_control control;
    return control;
}

}  // namespace

void zulGENTrcPrintf(unsigned int category, unsigned int level, unsigned int flag,
                     const char* format, ...)
{
    va_list args;
    va_start(args, format);
    va_list measure;
    va_copy(measure, args);
    int length = std::vsnprintf(nullptr, 0, format, measure);
    va_end(measure);
    std::string text;
    if (length > 0) {
        text.assign(static_cast<size_t>(length) + 1, '\0');
        std::vsnprintf(&text[0], text.size(), format, args);
        text.resize(static_cast<size_t>(length));
    }
    va_end(args);
    std::lock_guard<std::mutex> held(trace_().lock);
    trace_().lines.push_back({category, level, flag, text});
}

namespace norvane_fake {

void fake_trace::reset()
{
    std::lock_guard<std::mutex> held(trace_().lock);
    trace_().lines.clear();
}

std::vector<fake_trace_line> fake_trace::lines()
{
    std::lock_guard<std::mutex> held(trace_().lock);
    return trace_().lines;
}

std::vector<std::string> fake_trace::texts()
{
    std::vector<std::string> texts;
    for (const fake_trace_line& line : lines()) {
        texts.push_back(line.text);
    }
    return texts;
}

}  // namespace norvane_fake
