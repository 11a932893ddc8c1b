#include "program_log_watch.h"

#include <chrono>
#include <fstream>
#include <iterator>
#include <thread>

namespace norvane_tools {

size_t program_log_watch::count(const std::string& text) const
{
    std::ifstream log(log_path_, std::ios::binary);
    const std::string content((std::istreambuf_iterator<char>(log)), std::istreambuf_iterator<char>());
    size_t found = 0;
    for (size_t at = content.find(text); !text.empty() && at != std::string::npos;
         at = content.find(text, at + text.size())) {
        ++found;
    }
    return found;
}

int program_log_watch::wait_for(const std::string& text, size_t occurrences, int timeout_ms) const
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout_ms);
    for (;;) {
        if (count(text) >= occurrences) {
            return 0;
        }
        if (std::chrono::steady_clock::now() >= deadline) {
            return 1;
        }
        // The program writes its log with plain writes; there is nothing to
        // be woken by, so the file is looked at again shortly.
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
}

}  // namespace norvane_tools
