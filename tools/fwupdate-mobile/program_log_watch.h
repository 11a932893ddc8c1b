// Watches the log of a program the simulator started, for a line to appear a
// given number of times. Only the simulator's own checks use it: a phone
// cannot read the device's log.
#ifndef NORVANE_TOOLS_PROGRAM_LOG_WATCH_H
#define NORVANE_TOOLS_PROGRAM_LOG_WATCH_H

#include <cstddef>
#include <string>
#include <utility>

namespace norvane_tools {

class program_log_watch {
public:
    explicit program_log_watch(std::string log_path) : log_path_(std::move(log_path)) {}

    // Waits at most timeout_ms until text occurs at least occurrences times
    // in the log. 0 when it does, 1 otherwise.
    int wait_for(const std::string& text, size_t occurrences, int timeout_ms) const;
    // How often text occurs in the log now.
    size_t count(const std::string& text) const;

private:
    std::string log_path_;
};

}  // namespace norvane_tools

#endif
