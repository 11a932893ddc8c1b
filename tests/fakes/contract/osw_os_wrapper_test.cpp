// Contract of the OS wrapper's queue, mutex and allocators. The same source is
// built against the host platform and against the test fake; both must pass.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <functional>
#include <future>
#include <memory>
#include <thread>

#include "blocking_call.h"
#include "osw_os_wrapper.h"

namespace {

const int WAIT_MS = 20000;

struct message {
    int id;
    char text[12];
};

message make_message_(int id, const char* text)
{
    message m = {};
    m.id = id;
    std::strncpy(m.text, text, sizeof(m.text) - 1);
    return m;
}

// A call left blocked inside a queue that is then destroyed. When the
// destructor does not release it, the call never returns and its thread can
// never be joined: it is then left to the end of the process (and the test
// has failed), instead of hanging the test.
std::unique_ptr<norvane_test::blocking_call> start_call_(std::function<int()> call)
{
    return std::unique_ptr<norvane_test::blocking_call>(new norvane_test::blocking_call(call));
}

// Waits until the call sleeps inside the queue; a call that does not is
// abandoned, see start_call_.
bool asleep_in_call_(std::unique_ptr<norvane_test::blocking_call>& call)
{
    if (call->wait_until_asleep(WAIT_MS)) {
        return true;
    }
    call.release();
    return false;
}

// Waits for the call to return with its result; a call that never returns
// is abandoned, see start_call_.
bool returned_in_time_(std::unique_ptr<norvane_test::blocking_call>& call, int& result)
{
    if (call->wait_returned(WAIT_MS, result)) {
        return true;
    }
    call.release();
    return false;
}

// Destroys the queue on a thread of its own and waits for that to end. A
// destructor that never returns fails the test instead of hanging it; the
// threads stuck in the queue are then left to the end of the process.
bool destroy_in_time_(OSW_Message_Queue* queue)
{
    std::packaged_task<void()> destroy([queue] { delete queue; });
    std::future<void> destroyed = destroy.get_future();
    std::thread destroyer(std::move(destroy));
    if (destroyed.wait_for(std::chrono::milliseconds(WAIT_MS)) != std::future_status::ready) {
        destroyer.detach();
        return false;
    }
    destroyer.join();
    return true;
}

}  // namespace

TEST(osw_message_queue_contract, messages_leave_in_the_order_they_were_sent)
{
    OSW_Message_Queue queue(4, sizeof(message), 0);
    for (int id = 1; id <= 3; ++id) {
        message m = make_message_(id, "m");
        ASSERT_EQ(0, queue.send(&m, sizeof(m), OSW_WAIT_FOREVER, 0));
    }
    for (int id = 1; id <= 3; ++id) {
        message out = {};
        ASSERT_EQ(0, queue.receive(&out, sizeof(out), OSW_WAIT_FOREVER));
        EXPECT_EQ(id, out.id);
    }
}

TEST(osw_message_queue_contract, a_message_is_copied_in_by_value)
{
    OSW_Message_Queue queue(2, sizeof(message), 0);
    message m = make_message_(7, "before");
    ASSERT_EQ(0, queue.send(&m, sizeof(m), OSW_WAIT_FOREVER, 0));
    std::strcpy(m.text, "after");
    message out = {};
    ASSERT_EQ(0, queue.receive(&out, sizeof(out), OSW_WAIT_FOREVER));
    EXPECT_EQ(7, out.id);
    EXPECT_STREQ("before", out.text);
}

TEST(osw_message_queue_contract, a_message_larger_than_a_slot_is_refused)
{
    OSW_Message_Queue queue(2, 4, 0);
    char big[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    EXPECT_NE(0, queue.send(big, sizeof(big), 0, 0));
    char out[4] = {};
    EXPECT_NE(0, queue.receive(out, sizeof(out), 20));
}

TEST(osw_message_queue_contract, exactly_msg_count_messages_fit)
{
    OSW_Message_Queue queue(3, sizeof(int), 0);
    for (int value = 0; value < 3; ++value) {
        EXPECT_EQ(0, queue.send(&value, sizeof(value), 0, 0));
    }
    int extra = 99;
    auto start = std::chrono::steady_clock::now();
    EXPECT_NE(0, queue.send(&extra, sizeof(extra), 50, 0));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(40));
}

TEST(osw_message_queue_contract, receive_on_an_empty_queue_times_out)
{
    OSW_Message_Queue queue(2, sizeof(int), 0);
    int out = 0;
    auto start = std::chrono::steady_clock::now();
    EXPECT_NE(0, queue.receive(&out, sizeof(out), 50));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(40));
}

TEST(osw_message_queue_contract, a_receiver_waits_without_limit_until_a_message_comes)
{
    OSW_Message_Queue queue(2, sizeof(int), 0);
    int out = 0;
    norvane_test::blocking_call receiver(
        [&] { return queue.receive(&out, sizeof(out), OSW_WAIT_FOREVER); });
    EXPECT_TRUE(receiver.wait_until_asleep());
    EXPECT_FALSE(receiver.returned());  // asleep inside receive
    int value = 42;
    EXPECT_EQ(0, queue.send(&value, sizeof(value), OSW_WAIT_FOREVER, 0));
    int result = -1;
    EXPECT_TRUE(receiver.wait_returned(5000, result));
    EXPECT_EQ(0, result);
    EXPECT_EQ(42, out);
}

TEST(osw_message_queue_contract, a_sender_on_a_full_queue_waits_until_room_is_made)
{
    OSW_Message_Queue queue(1, sizeof(int), 0);
    int first = 1;
    ASSERT_EQ(0, queue.send(&first, sizeof(first), OSW_WAIT_FOREVER, 0));
    const int second = 2;
    norvane_test::blocking_call sender(
        [&] { return queue.send(&second, sizeof(second), OSW_WAIT_FOREVER, 0); });
    EXPECT_TRUE(sender.wait_until_asleep());
    EXPECT_FALSE(sender.returned());  // asleep inside send
    int out = 0;
    EXPECT_EQ(0, queue.receive(&out, sizeof(out), OSW_WAIT_FOREVER));
    EXPECT_EQ(1, out);
    int result = -1;
    EXPECT_TRUE(sender.wait_returned(5000, result));
    EXPECT_EQ(0, result);
    EXPECT_EQ(0, queue.receive(&out, sizeof(out), OSW_WAIT_FOREVER));
    EXPECT_EQ(2, out);
}

TEST(osw_message_queue_contract, many_messages_between_two_threads_arrive_complete_and_in_order)
{
    OSW_Message_Queue queue(4, sizeof(int), 0);
    const int count = 2000;
    std::thread sender([&] {
        for (int value = 0; value < count; ++value) {
            ASSERT_EQ(0, queue.send(&value, sizeof(value), OSW_WAIT_FOREVER, 0));
        }
    });
    for (int expected = 0; expected < count; ++expected) {
        int out = -1;
        ASSERT_EQ(0, queue.receive(&out, sizeof(out), OSW_WAIT_FOREVER));
        ASSERT_EQ(expected, out);
    }
    sender.join();
}

TEST(osw_message_queue_contract, destroying_a_queue_releases_a_sender_blocked_on_it_with_an_error)
{
    OSW_Message_Queue* queue = new OSW_Message_Queue(1, sizeof(int), 0);
    int first = 1;
    ASSERT_EQ(0, queue->send(&first, sizeof(first), OSW_WAIT_FOREVER, 0));
    auto sender = start_call_([queue] {
        int second = 2;
        return queue->send(&second, sizeof(second), OSW_WAIT_FOREVER, 0);
    });
    ASSERT_TRUE(asleep_in_call_(sender));
    EXPECT_FALSE(sender->returned());  // asleep inside send

    ASSERT_TRUE(destroy_in_time_(queue));
    int result = 0;
    ASSERT_TRUE(returned_in_time_(sender, result));
    EXPECT_NE(0, result);
}

TEST(osw_message_queue_contract, destroying_a_queue_releases_a_receiver_blocked_on_it_with_an_error)
{
    OSW_Message_Queue* queue = new OSW_Message_Queue(2, sizeof(int), 0);
    auto receiver = start_call_([queue] {
        int out = 0;
        return queue->receive(&out, sizeof(out), OSW_WAIT_FOREVER);
    });
    ASSERT_TRUE(asleep_in_call_(receiver));
    EXPECT_FALSE(receiver->returned());  // asleep inside receive

    ASSERT_TRUE(destroy_in_time_(queue));
    int result = 0;
    ASSERT_TRUE(returned_in_time_(receiver, result));
    EXPECT_NE(0, result);
}

TEST(osw_message_queue_contract, destroying_a_queue_with_messages_and_no_caller_returns_at_once)
{
    OSW_Message_Queue* queue = new OSW_Message_Queue(2, sizeof(int), 0);
    int value = 5;
    ASSERT_EQ(0, queue->send(&value, sizeof(value), 0, 0));
    EXPECT_TRUE(destroy_in_time_(queue));
}

TEST(osw_mutex_semaphore_contract, a_held_mutex_refuses_a_second_request_until_released)
{
    OSW_Mutex_Semaphore mutex(1);
    ASSERT_EQ(0, mutex.request(-1));
    std::atomic<int> other_result(-1);
    std::thread other([&] { other_result = mutex.request(50); });
    other.join();
    EXPECT_NE(0, other_result.load());
    EXPECT_EQ(0, mutex.release());
    EXPECT_EQ(0, mutex.request(50));
    EXPECT_EQ(0, mutex.release());
}

TEST(osw_mutex_semaphore_contract, a_waiting_request_is_granted_on_release)
{
    OSW_Mutex_Semaphore mutex(1);
    ASSERT_EQ(0, mutex.request(-1));
    norvane_test::blocking_call other([&] {
        const int result = mutex.request(-1);
        mutex.release();
        return result;
    });
    EXPECT_TRUE(other.wait_until_asleep());
    EXPECT_FALSE(other.returned());  // asleep inside request
    EXPECT_EQ(0, mutex.release());
    int result = -1;
    EXPECT_TRUE(other.wait_returned(5000, result));
    EXPECT_EQ(0, result);
}

TEST(osw_allocator_contract, sub_alloc_hands_out_a_writable_block_that_free_returns)
{
    void* block = zulOSWSubAllocMem(4096);
    ASSERT_NE(nullptr, block);
    std::memset(block, 0xA5, 4096);
    EXPECT_EQ(0, zulOSWOrgFreeMemPart(nullptr, block));
}

TEST(osw_allocator_contract, part_alloc_refuses_sizes_of_zero_and_below)
{
    EXPECT_EQ(nullptr, zulOSWOrgAllocMemPart(nullptr, 0));
    EXPECT_EQ(nullptr, zulOSWOrgAllocMemPart(nullptr, -1));
    EXPECT_EQ(nullptr, zulOSWOrgAllocMemPart(nullptr, static_cast<signed char>(200)));
}

TEST(osw_allocator_contract, part_alloc_hands_out_up_to_127_bytes)
{
    void* block = zulOSWOrgAllocMemPart(nullptr, 127);
    ASSERT_NE(nullptr, block);
    std::memset(block, 0x5A, 127);
    EXPECT_EQ(0, zulOSWOrgFreeMemPart(nullptr, block));
}

TEST(osw_allocator_contract, freeing_a_null_block_is_ignored)
{
    EXPECT_EQ(0, zulOSWOrgFreeMemPart(nullptr, nullptr));
}
