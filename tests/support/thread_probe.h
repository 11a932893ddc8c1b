// Whether another thread of this process is blocked, read from /proc: a test
// that checks that a call blocks first proves that the thread is inside it,
// instead of sleeping and hoping.
#ifndef NORVANE_TESTS_THREAD_PROBE_H
#define NORVANE_TESTS_THREAD_PROBE_H

#include <sys/types.h>

#include <atomic>

namespace norvane_test {

// The kernel's id of the calling thread.
pid_t current_thread_id();

// Waits until the thread whose id is published in tid (0 until then) sleeps
// in the kernel. A thread that publishes its id and then makes one call can
// only sleep inside that call, so this proves that it is blocked there.
// False when that does not happen within timeout_ms.
bool wait_until_asleep(const std::atomic<pid_t>& tid, int timeout_ms);

}  // namespace norvane_test

#endif
