#include "thread_probe.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <string>
#include <thread>

namespace norvane_test {

namespace {

// The scheduler state of one thread of this process ('R' running, 'S' asleep
// in the kernel, ...): the field after the parenthesised command name.
char thread_state_(pid_t tid)
{
    std::ifstream stat("/proc/self/task/" + std::to_string(tid) + "/stat");
    std::string text;
    std::getline(stat, text);
    const size_t name_end = text.rfind(')');
    if (name_end == std::string::npos || name_end + 2 >= text.size()) {
        return '?';
    }
    return text[name_end + 2];
}

}  // namespace

pid_t current_thread_id()
{
    return static_cast<pid_t>(::syscall(SYS_gettid));
}

bool wait_until_asleep(const std::atomic<pid_t>& tid, int timeout_ms)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout_ms);
    while (std::chrono::steady_clock::now() < deadline) {
        const pid_t id = tid.load();
        if (id != 0 && thread_state_(id) == 'S') {
            return true;
        }
        std::this_thread::yield();
    }
    return false;
}

}  // namespace norvane_test
