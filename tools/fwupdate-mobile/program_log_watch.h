// Watches the log of a program that was started here, for a line to appear.
// The simulator's own checks and the tests use it; a phone cannot read the
// device's log, so a delivery never waits on it to decide when to send.
#ifndef NORVANE_TOOLS_PROGRAM_LOG_WATCH_H
#define NORVANE_TOOLS_PROGRAM_LOG_WATCH_H

#include <cstddef>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace norvane_tools {

class program_log_watch {
public:
    explicit program_log_watch(std::string log_path) : log_path_(std::move(log_path)) {}

    // Waits at most timeout_ms until text occurs in the log at or after byte
    // offset from. 0 when it does, 1 otherwise.
    int wait_for(const std::string& text, int timeout_ms, size_t from = 0) const;
    // Waits at most timeout_ms until one of texts occurs in the log at or
    // after byte offset from. The index of a text that does (the first listed
    // when several do), or -1 on time-out.
    int wait_for_any(const std::vector<std::string>& texts, int timeout_ms, size_t from = 0) const;
    // Waits at most timeout_ms until text occurs at least occurrences times
    // in the log. 0 when it does, 1 otherwise.
    int wait_for_count(const std::string& text, size_t occurrences, int timeout_ms) const;
    // How often text occurs in the log now.
    size_t count(const std::string& text) const;

private:
    // The log's bytes from offset on; "" when there are none or no log.
    std::string read_from_(size_t offset) const;
    // Looks at the log each time it is written to, until found() holds or
    // timeout_ms have passed. True when it held.
    bool poll_until_(const std::function<bool()>& found, int timeout_ms) const;
    // Reads away the pending events of an inotify descriptor (-1: none).
    static void drain_events_(int watch);

    std::string log_path_;
};

}  // namespace norvane_tools

#endif
