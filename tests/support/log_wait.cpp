#include "log_wait.h"

#include <chrono>
#include <fstream>
#include <iterator>
#include <thread>

namespace norvane_test {

namespace {

// The file's bytes from offset on; "" when there are none or no file.
std::string log_from(const std::string& path, size_t offset)
{
    std::ifstream in(path, std::ios::binary);
    in.seekg(static_cast<std::streamoff>(offset));
    if (!in) {
        return "";
    }
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

}  // namespace

bool wait_for_log_text(const std::string& path, const std::string& text, int timeout_ms,
                       size_t from)
{
    return wait_for_any_log_text(path, {text}, timeout_ms, from) == 0;
}

int wait_for_any_log_text(const std::string& path, const std::vector<std::string>& texts,
                          int timeout_ms, size_t from)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout_ms);
    for (;;) {
        const std::string log = log_from(path, from);
        for (size_t index = 0; index < texts.size(); ++index) {
            if (log.find(texts[index]) != std::string::npos) {
                return static_cast<int>(index);
            }
        }
        if (std::chrono::steady_clock::now() >= deadline) {
            return -1;
        }
        // The log is a file another process appends to; there is nothing to
        // block on, so it is read again shortly.
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
}

}  // namespace norvane_test
