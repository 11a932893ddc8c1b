#include "program_log_watch.h"

#include <chrono>
#include <fstream>
#include <iterator>
#include <thread>

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

bool program_log_watch::poll_until_(const std::function<bool()>& found, int timeout_ms)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout_ms);
    for (;;) {
        if (found()) {
            return true;
        }
        if (std::chrono::steady_clock::now() >= deadline) {
            return false;
        }
        // The program appends to its log with plain writes; there is nothing
        // to be woken by, so the file is looked at again shortly.
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
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
