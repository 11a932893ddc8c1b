// The host message queue: order, blocking on full and empty, time-outs and
// refused sizes.
#include "osw_os_wrapper.h"

#include "blocking_call.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <thread>

namespace {

using steady = std::chrono::steady_clock;

long elapsed_ms(steady::time_point since)
{
    return static_cast<long>(std::chrono::duration_cast<std::chrono::milliseconds>(steady::now() - since).count());
}

int send_int(OSW_Message_Queue& queue, int value, unsigned int timeout)
{
    return queue.send(&value, sizeof value, timeout, 0);
}

// The received value, or -1 when receive failed.
int receive_int(OSW_Message_Queue& queue, unsigned int timeout)
{
    int value = 0;
    return queue.receive(&value, sizeof value, timeout) == 0 ? value : -1;
}

TEST(host_message_queue_test, messages_leave_in_the_order_they_were_sent)
{
    OSW_Message_Queue queue(5, sizeof(int), 0);
    for (int value = 11; value <= 15; ++value) {
        EXPECT_EQ(0, send_int(queue, value, OSW_WAIT_FOREVER));
    }
    for (int value = 11; value <= 15; ++value) {
        EXPECT_EQ(value, receive_int(queue, OSW_WAIT_FOREVER));
    }
}

TEST(host_message_queue_test, ring_keeps_order_across_wrap_around)
{
    OSW_Message_Queue queue(3, sizeof(int), 0);
    int next_out = 0;
    for (int value = 0; value < 20; ++value) {
        EXPECT_EQ(0, send_int(queue, value, 0));
        if (value % 2 == 1) {
            EXPECT_EQ(next_out++, receive_int(queue, 0));
            EXPECT_EQ(next_out++, receive_int(queue, 0));
        }
    }
    EXPECT_EQ(-1, receive_int(queue, 0));
}

TEST(host_message_queue_test, holds_exactly_msg_count_messages)
{
    OSW_Message_Queue queue(100, sizeof(int), 0);
    for (int value = 0; value < 100; ++value) {
        EXPECT_EQ(0, send_int(queue, value, 0));
    }
    EXPECT_EQ(1, send_int(queue, 100, 0));
    EXPECT_EQ(0, receive_int(queue, 0));
    EXPECT_EQ(0, send_int(queue, 100, 0));
}

TEST(host_message_queue_test, full_queue_blocks_other_threads_send_until_receive_makes_room)
{
    OSW_Message_Queue queue(1, sizeof(int), 0);
    ASSERT_EQ(0, send_int(queue, 1, 0));
    norvane_test::blocking_call sender([&] { return send_int(queue, 2, OSW_WAIT_FOREVER); });
    EXPECT_TRUE(sender.wait_until_asleep());
    EXPECT_FALSE(sender.returned());  // asleep inside send, waiting for room
    EXPECT_EQ(1, receive_int(queue, OSW_WAIT_FOREVER));
    int send_result = -1;
    EXPECT_TRUE(sender.wait_returned(5000, send_result));
    EXPECT_EQ(0, send_result);
    EXPECT_EQ(2, receive_int(queue, 0));
}

TEST(host_message_queue_test, empty_queue_blocks_receive_until_a_send)
{
    OSW_Message_Queue queue(2, sizeof(int), 0);
    norvane_test::blocking_call receiver([&] { return receive_int(queue, OSW_WAIT_FOREVER); });
    EXPECT_TRUE(receiver.wait_until_asleep());
    EXPECT_FALSE(receiver.returned());  // asleep inside receive, waiting for a message
    EXPECT_EQ(0, send_int(queue, 42, 0));
    int received = -1;
    EXPECT_TRUE(receiver.wait_returned(5000, received));
    EXPECT_EQ(42, received);
}

TEST(host_message_queue_test, send_on_full_queue_times_out)
{
    OSW_Message_Queue queue(1, sizeof(int), 0);
    ASSERT_EQ(0, send_int(queue, 1, 0));
    steady::time_point start = steady::now();
    EXPECT_EQ(1, send_int(queue, 2, 100));
    EXPECT_GE(elapsed_ms(start), 100);
    EXPECT_EQ(1, send_int(queue, 2, 0));
    EXPECT_EQ(1, receive_int(queue, 0));  // the timed-out message was not queued
    EXPECT_EQ(-1, receive_int(queue, 0));
}

TEST(host_message_queue_test, receive_on_empty_queue_times_out)
{
    OSW_Message_Queue queue(1, sizeof(int), 0);
    steady::time_point start = steady::now();
    int value = 77;
    EXPECT_EQ(1, queue.receive(&value, sizeof value, 100));
    EXPECT_GE(elapsed_ms(start), 100);
    EXPECT_EQ(77, value);  // untouched
    EXPECT_EQ(1, queue.receive(&value, sizeof value, 0));
}

TEST(host_message_queue_test, oversize_message_is_refused)
{
    OSW_Message_Queue queue(2, 8, 0);
    unsigned char message[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    EXPECT_EQ(1, queue.send(message, 9, 0, 0));
    EXPECT_EQ(1, queue.send(message, 9, OSW_WAIT_FOREVER, 0));
    unsigned char slot[8];
    EXPECT_EQ(1, queue.receive(slot, sizeof slot, 0));  // nothing was queued
    EXPECT_EQ(0, queue.send(message, 8, 0, 0));
    EXPECT_EQ(0, queue.receive(slot, sizeof slot, 0));
    EXPECT_EQ(0, std::memcmp(message, slot, 8));
}

TEST(host_message_queue_test, short_message_arrives_followed_by_zeros)
{
    OSW_Message_Queue queue(2, 8, 0);
    unsigned char message[3] = {0xA1, 0xA2, 0xA3};
    unsigned char slot[8];
    std::memset(slot, 0xEE, sizeof slot);
    EXPECT_EQ(0, queue.send(message, 3, 0, 0));
    EXPECT_EQ(0, queue.receive(slot, sizeof slot, 0));
    const unsigned char expected[8] = {0xA1, 0xA2, 0xA3, 0, 0, 0, 0, 0};
    EXPECT_EQ(0, std::memcmp(expected, slot, 8));
}

TEST(host_message_queue_test, receive_with_buffer_smaller_than_slot_is_refused_and_keeps_message)
{
    OSW_Message_Queue queue(2, 8, 0);
    unsigned char message[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    EXPECT_EQ(0, queue.send(message, 8, 0, 0));
    unsigned char small[4] = {0, 0, 0, 0};
    EXPECT_EQ(1, queue.receive(small, sizeof small, OSW_WAIT_FOREVER));  // refused at once
    unsigned char slot[8];
    EXPECT_EQ(0, queue.receive(slot, sizeof slot, 0));
    EXPECT_EQ(0, std::memcmp(message, slot, 8));
}

TEST(host_message_queue_test, receive_into_larger_buffer_fills_only_the_slot)
{
    OSW_Message_Queue queue(2, 4, 0);
    unsigned char message[4] = {9, 8, 7, 6};
    unsigned char buffer[6] = {0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE};
    EXPECT_EQ(0, queue.send(message, 4, 0, 0));
    EXPECT_EQ(0, queue.receive(buffer, sizeof buffer, 0));
    const unsigned char expected[6] = {9, 8, 7, 6, 0xEE, 0xEE};
    EXPECT_EQ(0, std::memcmp(expected, buffer, 6));
}

TEST(host_message_queue_test, null_buffers_are_refused)
{
    OSW_Message_Queue queue(2, 4, 0);
    EXPECT_EQ(1, queue.send(nullptr, 4, 0, 0));
    EXPECT_EQ(1, queue.receive(nullptr, 4, 0));
}

TEST(host_message_queue_test, queue_without_slots_refuses_everything)
{
    OSW_Message_Queue no_slots(0, 4, 0);
    OSW_Message_Queue no_bytes(4, 0, 0);
    int value = 5;
    EXPECT_EQ(1, no_slots.send(&value, sizeof value, OSW_WAIT_FOREVER, 0));
    EXPECT_EQ(1, no_slots.receive(&value, sizeof value, OSW_WAIT_FOREVER));
    EXPECT_EQ(1, no_bytes.send(&value, 0, OSW_WAIT_FOREVER, 0));
    EXPECT_EQ(1, no_bytes.receive(&value, sizeof value, OSW_WAIT_FOREVER));
}

TEST(host_message_queue_test, two_threads_hand_over_many_messages_in_order)
{
    OSW_Message_Queue queue(4, sizeof(int), 0);
    const int total = 5000;
    std::thread sender([&] {
        for (int value = 1; value <= total; ++value) {
            send_int(queue, value, OSW_WAIT_FOREVER);
        }
    });
    int in_order = 0;
    for (int value = 1; value <= total; ++value) {
        in_order += (receive_int(queue, OSW_WAIT_FOREVER) == value) ? 1 : 0;
    }
    sender.join();
    EXPECT_EQ(total, in_order);
}

}  // namespace
