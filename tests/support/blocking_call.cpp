#include "blocking_call.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <fstream>
#include <iterator>
#include <string>

namespace norvane_test {

namespace {

std::string task_file(long tid, const char* name)
{
    std::ifstream in("/proc/self/task/" + std::to_string(tid) + "/" + name);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// The state letter of /proc/.../stat: the first field after the command
// name, which is in parentheses and may itself hold blanks and parentheses.
char scheduler_state(long tid)
{
    const std::string stat = task_file(tid, "stat");
    const size_t name_end = stat.rfind(')');
    if (name_end == std::string::npos || name_end + 2 >= stat.size()) {
        return '?';
    }
    return stat[name_end + 2];
}

// /proc/.../syscall starts with the number of the system call the thread is
// blocked in; "running" or -1 when it is in none.
bool inside_system_call(long tid)
{
    const std::string syscall = task_file(tid, "syscall");
    return !syscall.empty() && std::isdigit(static_cast<unsigned char>(syscall[0])) != 0;
}

}  // namespace

long current_thread_id()
{
    return static_cast<long>(::syscall(SYS_gettid));
}

bool thread_asleep_in_kernel(long tid)
{
    const char state = scheduler_state(tid);
    return (state == 'S' || state == 'D') && inside_system_call(tid);
}

blocking_call::blocking_call(std::function<int()> call)
    : thread_([this, call] { run_(call); })
{
}

blocking_call::~blocking_call()
{
    thread_.join();
}

void blocking_call::run_(const std::function<int()>& call)
{
    tid_.store(current_thread_id());
    const int result = call();
    std::lock_guard<std::mutex> held(lock_);
    result_ = result;
    returned_ = true;
    done_.notify_all();
}

bool blocking_call::wait_until_asleep(int timeout_ms)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout_ms);
    std::unique_lock<std::mutex> held(lock_);
    while (!returned_) {
        // The kernel's view is read with the lock released: the thread takes
        // it after its call, and must not be seen asleep waiting for it.
        const long tid = tid_.load();
        held.unlock();
        const bool asleep = tid != 0 && thread_asleep_in_kernel(tid);
        held.lock();
        if (asleep && !returned_) {
            return true;
        }
        // Nothing signals another thread falling asleep in the kernel, but
        // its return is signalled: wait for that, and read the kernel's view
        // again after each millisecond until the deadline.
        const auto next =
            std::min(deadline, std::chrono::steady_clock::now() + std::chrono::milliseconds(1));
        done_.wait_until(held, next, [this] { return returned_; });
        if (std::chrono::steady_clock::now() >= deadline) {
            return false;
        }
    }
    return false;
}

bool blocking_call::returned() const
{
    std::lock_guard<std::mutex> held(lock_);
    return returned_;
}

bool blocking_call::wait_returned(int timeout_ms, int& result)
{
    std::unique_lock<std::mutex> held(lock_);
    if (!done_.wait_for(held, std::chrono::milliseconds(timeout_ms), [this] { return returned_; })) {
        return false;
    }
    result = result_;
    return true;
}

}  // namespace norvane_test
