// Test double of the OS wrapper (message queue, mutex, heap blocks) with the
// knobs that unit tests need: fail the next queue send or receive, hold the
// receivers, make the next receive throw as an allocation failure inside
// the wrapper would, wait until a receiver sits on an empty queue or a sender
// on a full one, fail the i-th allocation or the next allocation of a given
// size, and count the blocks that are still outstanding.
//
// The queue and the mutex behave like the host's (same contract tests); the
// allocators hand out malloc blocks like the host's.
#ifndef NORVANE_TESTS_FAKE_OS_WRAPPER_H
#define NORVANE_TESTS_FAKE_OS_WRAPPER_H

#include <vector>

namespace norvane_fake {

class fake_os_wrapper {
public:
    // Clears every knob and counter (not the queues that exist).
    static void reset();

    // The next send on any queue returns result without copying.
    static void fail_next_send(int result);
    // The receive waiting now on any queue (held or not), or else the next
    // one, returns result without taking a message.
    static void fail_next_receive(int result);
    // The next receive on any queue throws std::bad_alloc, as the wrapper's
    // own allocation would when memory runs out.
    static void fail_next_receive_with_bad_alloc();

    // While held, receivers wait even when messages are queued.
    static void hold_receive(bool hold);

    // Waits until a receiver is blocked and no message is waiting for it (or
    // receiving is held): everything sent so far has been handled. False when
    // that does not happen within timeout_ms.
    static bool wait_receiver_idle(int timeout_ms);

    // Waits until a sender is blocked in send on a full queue. False when
    // that does not happen within timeout_ms.
    static bool wait_sender_blocked(int timeout_ms);

    // Sends a message into the most recently created queue that still
    // exists, as its owner's producers would; -1 when there is none.
    static int send_to_newest_queue(const void* msg, unsigned int size);

    // Queues created since reset, the arguments of the last one, and how many
    // queues exist now.
    static int queues_created();
    static unsigned int last_msg_count();
    static unsigned int last_msg_size();
    static unsigned int last_flags();
    static int queues_alive();

    // Successful sends on all queues since reset, and the send time-outs and
    // options that were passed.
    static int sends();
    static std::vector<unsigned int> send_timeouts();
    static std::vector<unsigned int> receive_timeouts();

    // Allocation number n (counted from 1 after reset, over both allocators)
    // returns null.
    static void fail_allocation_number(int n);
    // The next allocation of exactly size bytes returns null.
    static void fail_allocation_of_size(unsigned int size);

    // Allocation calls since reset (both allocators, failed ones included),
    // their requested sizes, and blocks handed out and not yet freed.
    static int allocations();
    static std::vector<int> allocation_sizes();
    static int blocks_outstanding();
    // Frees of blocks that did not come from these allocators, and frees
    // that passed a non-null pool.
    static int foreign_frees();
    static int frees_with_pool();
};

}  // namespace norvane_fake

#endif
