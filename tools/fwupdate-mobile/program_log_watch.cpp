#include "program_log_watch.h"

#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace norvane_tools {

std::string program_log_watch::read_from_(size_t offset) const
{
    std::ifstream log(log_path_, std::ios::binary);
    log.seekg(static_cast<std::streamoff>(offset));
    if (!log) {
        return "";
    }
    return std::string(std::istreambuf_iterator<char>(log), std::istreambuf_iterator<char>());
}

bool program_log_watch::poll_until_(const std::function<bool()>& found, int timeout_ms) const
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout_ms);
    // The program appends to its log with plain writes: inotify on the log's
    // folder wakes this thread at each write (and when the log is created).
    // The watch is set before the first look, so no write falls between.
    const int watch = ::inotify_init1(IN_CLOEXEC | IN_NONBLOCK);
    if (watch >= 0) {
        const std::string folder = std::filesystem::path(log_path_).parent_path().string();
        ::inotify_add_watch(watch, folder.empty() ? "." : folder.c_str(),
                            IN_MODIFY | IN_CREATE | IN_MOVED_TO);
    }
    bool held = false;
    for (;;) {
        held = found();
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        if (held || left.count() <= 0) {
            break;
        }
        pollfd events{watch, POLLIN, 0};
        ::poll(&events, watch >= 0 ? 1 : 0, static_cast<int>(left.count()) + 1);
        drain_events_(watch);
    }
    if (watch >= 0) {
        ::close(watch);
    }
    return held;
}

void program_log_watch::drain_events_(int watch)
{
    char buffer[4096];
    while (watch >= 0 && ::read(watch, buffer, sizeof buffer) > 0) {
    }
}

int program_log_watch::wait_for(const std::string& text, int timeout_ms, size_t from) const
{
    return wait_for_any({text}, timeout_ms, from) == 0 ? 0 : 1;
}

int program_log_watch::wait_for_any(const std::vector<std::string>& texts, int timeout_ms,
                                    size_t from) const
{
    int index = -1;
    poll_until_(
        [&]() {
            const std::string log = read_from_(from);
            for (size_t i = 0; i < texts.size(); ++i) {
                if (log.find(texts[i]) != std::string::npos) {
                    index = static_cast<int>(i);
                    return true;
                }
            }
            return false;
        },
        timeout_ms);
    return index;
}

int program_log_watch::wait_for_count(const std::string& text, size_t occurrences, int timeout_ms) const
{
    return poll_until_([&]() { return count(text) >= occurrences; }, timeout_ms) ? 0 : 1;
}

size_t program_log_watch::count(const std::string& text) const
{
    const std::string log = read_from_(0);
    size_t found = 0;
    for (size_t at = log.find(text); !text.empty() && at != std::string::npos;
         at = log.find(text, at + text.size())) {
        ++found;
    }
    return found;
}

}  // namespace norvane_tools
