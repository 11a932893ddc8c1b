// Test double of the platform trace: every line is kept (formatted, without
// the line feed) with its category, level and flag, instead of being written.
#ifndef NORVANE_TESTS_FAKE_TRACE_H
#define NORVANE_TESTS_FAKE_TRACE_H

#include <string>
#include <vector>

namespace norvane_fake {

struct fake_trace_line {
    unsigned int category;
    unsigned int level;
    unsigned int flag;
    std::string text;
};

class fake_trace {
public:
    static void reset();
    static std::vector<fake_trace_line> lines();
    // The texts alone.
    static std::vector<std::string> texts();
};

}  // namespace norvane_fake

#endif
