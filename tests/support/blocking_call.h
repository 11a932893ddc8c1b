// A call that a test expects to block, run on a thread of its own. Before a
// test may say "the call is still blocked" it has to know the thread is
// inside the call at all; a pause proves nothing on a loaded machine or under
// emulation. So the thread publishes its kernel thread id just before the
// call, and the test waits until the kernel shows that thread asleep in a
// system call (/proc/self/task/<tid>/stat in state S or D, and
// /proc/self/task/<tid>/syscall naming a call rather than "running"). The
// kernel's view is the same under qemu-user, whose guest threads are host
// threads, and under the sanitizers.
#ifndef NORVANE_TESTS_BLOCKING_CALL_H
#define NORVANE_TESTS_BLOCKING_CALL_H

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace norvane_test {

class blocking_call {
public:
    // Starts a thread that runs call once and keeps its result.
    explicit blocking_call(std::function<int()> call);
    // Joins the thread: the test must have released the call by then.
    ~blocking_call();
    blocking_call(const blocking_call&) = delete;
    blocking_call& operator=(const blocking_call&) = delete;

    // Waits at most timeout_ms until the thread has entered the call and
    // sleeps in the kernel. True when it does.
    bool wait_until_asleep(int timeout_ms = 5000);
    // True once the call has returned.
    bool returned() const;
    // Waits at most timeout_ms for the call to return. True with its result
    // when it did.
    bool wait_returned(int timeout_ms, int& result);

private:
    void run_(const std::function<int()>& call);

    std::atomic<long> tid_{0};
    mutable std::mutex lock_;
    std::condition_variable done_;
    bool returned_ = false;
    int result_ = -1;
    std::thread thread_;
};

// The calling thread's kernel thread id.
long current_thread_id();
// True when the kernel shows thread tid of this process asleep in a system
// call right now.
bool thread_asleep_in_kernel(long tid);

}  // namespace norvane_test

#endif
