// The fault and observation knobs of the fake OS wrapper.
#include "fake_os_wrapper.h"

#include <gtest/gtest.h>

#include <atomic>
#include <new>
#include <thread>

#include "osw_os_wrapper.h"

using norvane_fake::fake_os_wrapper;

TEST(fake_os_wrapper, fail_next_send_fails_once_without_queuing)
{
    fake_os_wrapper::reset();
    OSW_Message_Queue queue(2, sizeof(int), 0);
    fake_os_wrapper::fail_next_send(0x77);
    int value = 5;
    EXPECT_EQ(0x77, queue.send(&value, sizeof(value), OSW_WAIT_FOREVER, 0));
    EXPECT_EQ(0, fake_os_wrapper::sends());
    EXPECT_EQ(0, queue.send(&value, sizeof(value), OSW_WAIT_FOREVER, 0));
    EXPECT_EQ(1, fake_os_wrapper::sends());
    int out = 0;
    EXPECT_EQ(0, queue.receive(&out, sizeof(out), 0));
    EXPECT_EQ(5, out);
    EXPECT_NE(0, queue.receive(&out, sizeof(out), 0));
}

TEST(fake_os_wrapper, fail_next_receive_fails_once_and_keeps_the_message)
{
    fake_os_wrapper::reset();
    OSW_Message_Queue queue(2, sizeof(int), 0);
    int value = 9;
    ASSERT_EQ(0, queue.send(&value, sizeof(value), OSW_WAIT_FOREVER, 0));
    fake_os_wrapper::fail_next_receive(0x1234);
    int out = 0;
    EXPECT_EQ(0x1234, queue.receive(&out, sizeof(out), OSW_WAIT_FOREVER));
    EXPECT_EQ(0, out);
    EXPECT_EQ(0, queue.receive(&out, sizeof(out), OSW_WAIT_FOREVER));
    EXPECT_EQ(9, out);
}

TEST(fake_os_wrapper, fail_next_receive_with_bad_alloc_throws_once_unless_reset)
{
    fake_os_wrapper::reset();
    OSW_Message_Queue queue(2, sizeof(int), 0);
    fake_os_wrapper::fail_next_receive_with_bad_alloc();
    int out = 0;
    EXPECT_THROW(queue.receive(&out, sizeof(out), 0), std::bad_alloc);
    // Once only: the next receive finds the queue empty and times out.
    EXPECT_EQ(2, queue.receive(&out, sizeof(out), 0));
    fake_os_wrapper::fail_next_receive_with_bad_alloc();
    fake_os_wrapper::reset();
    EXPECT_EQ(2, queue.receive(&out, sizeof(out), 0));
}

TEST(fake_os_wrapper, records_the_queue_arguments_and_time_outs)
{
    fake_os_wrapper::reset();
    {
        OSW_Message_Queue queue(100, 40, 0);
        EXPECT_EQ(1, fake_os_wrapper::queues_alive());
        int value = 1;
        queue.send(&value, sizeof(value), 0xFFFFFFFFu, 0);
        queue.receive(&value, sizeof(value), 30);
    }
    EXPECT_EQ(0, fake_os_wrapper::queues_alive());
    EXPECT_EQ(1, fake_os_wrapper::queues_created());
    EXPECT_EQ(100u, fake_os_wrapper::last_msg_count());
    EXPECT_EQ(40u, fake_os_wrapper::last_msg_size());
    EXPECT_EQ(0u, fake_os_wrapper::last_flags());
    EXPECT_EQ(std::vector<unsigned int>{0xFFFFFFFFu}, fake_os_wrapper::send_timeouts());
    EXPECT_EQ(std::vector<unsigned int>{30u}, fake_os_wrapper::receive_timeouts());
}

TEST(fake_os_wrapper, a_held_queue_keeps_its_receiver_idle_until_released)
{
    fake_os_wrapper::reset();
    OSW_Message_Queue queue(4, sizeof(int), 0);
    fake_os_wrapper::hold_receive(true);
    int value = 3;
    ASSERT_EQ(0, queue.send(&value, sizeof(value), OSW_WAIT_FOREVER, 0));
    int out = 0;
    std::thread receiver([&] { queue.receive(&out, sizeof(out), OSW_WAIT_FOREVER); });
    EXPECT_TRUE(fake_os_wrapper::wait_receiver_idle(5000));
    EXPECT_EQ(0, out);
    fake_os_wrapper::hold_receive(false);
    receiver.join();
    EXPECT_EQ(3, out);
}

TEST(fake_os_wrapper, wait_receiver_idle_times_out_without_a_receiver)
{
    fake_os_wrapper::reset();
    EXPECT_FALSE(fake_os_wrapper::wait_receiver_idle(20));
}

TEST(fake_os_wrapper, fails_the_chosen_allocation_number)
{
    fake_os_wrapper::reset();
    fake_os_wrapper::fail_allocation_number(2);
    void* first = zulOSWSubAllocMem(10);
    void* second = zulOSWOrgAllocMemPart(nullptr, 10);
    void* third = zulOSWSubAllocMem(10);
    EXPECT_NE(nullptr, first);
    EXPECT_EQ(nullptr, second);
    EXPECT_NE(nullptr, third);
    EXPECT_EQ(3, fake_os_wrapper::allocations());
    EXPECT_EQ(2, fake_os_wrapper::blocks_outstanding());
    zulOSWOrgFreeMemPart(nullptr, first);
    zulOSWOrgFreeMemPart(nullptr, third);
    EXPECT_EQ(0, fake_os_wrapper::blocks_outstanding());
    EXPECT_EQ(0, fake_os_wrapper::foreign_frees());
}

TEST(fake_os_wrapper, fails_the_next_allocation_of_a_size_once)
{
    fake_os_wrapper::reset();
    fake_os_wrapper::fail_allocation_of_size(1000);
    void* small = zulOSWSubAllocMem(16);
    void* refused = zulOSWSubAllocMem(1000);
    void* again = zulOSWSubAllocMem(1000);
    EXPECT_NE(nullptr, small);
    EXPECT_EQ(nullptr, refused);
    EXPECT_NE(nullptr, again);
    EXPECT_EQ((std::vector<int>{16, 1000, 1000}), fake_os_wrapper::allocation_sizes());
    zulOSWOrgFreeMemPart(nullptr, small);
    zulOSWOrgFreeMemPart(nullptr, again);
}

TEST(fake_os_wrapper, counts_frees_with_a_pool)
{
    fake_os_wrapper::reset();
    void* block = zulOSWSubAllocMem(8);
    int pool = 0;
    zulOSWOrgFreeMemPart(&pool, block);
    EXPECT_EQ(1, fake_os_wrapper::frees_with_pool());
}

TEST(fake_os_wrapper, send_to_newest_queue_reaches_the_latest_live_queue)
{
    fake_os_wrapper::reset();
    int value = 11;
    EXPECT_EQ(-1, fake_os_wrapper::send_to_newest_queue(&value, sizeof(value)));
    OSW_Message_Queue older(2, sizeof(int), 0);
    {
        OSW_Message_Queue newer(2, sizeof(int), 0);
        EXPECT_EQ(0, fake_os_wrapper::send_to_newest_queue(&value, sizeof(value)));
        int out = 0;
        EXPECT_EQ(0, newer.receive(&out, sizeof(out), 0));
        EXPECT_EQ(11, out);
    }
    EXPECT_EQ(-1, fake_os_wrapper::send_to_newest_queue(&value, sizeof(value)));
}

TEST(fake_os_wrapper, fail_next_receive_releases_a_receiver_waiting_on_a_held_queue)
{
    fake_os_wrapper::reset();
    OSW_Message_Queue queue(2, sizeof(int), 0);
    fake_os_wrapper::hold_receive(true);
    int value = 4;
    ASSERT_EQ(0, queue.send(&value, sizeof(value), OSW_WAIT_FOREVER, 0));
    int out = 0;
    int result = -1;
    std::thread receiver([&] { result = queue.receive(&out, sizeof(out), OSW_WAIT_FOREVER); });
    ASSERT_TRUE(fake_os_wrapper::wait_receiver_idle(5000));
    fake_os_wrapper::fail_next_receive(0x55);
    receiver.join();
    EXPECT_EQ(0x55, result);
    EXPECT_EQ(0, out);
    fake_os_wrapper::hold_receive(false);
    EXPECT_EQ(0, queue.receive(&out, sizeof(out), 0));
    EXPECT_EQ(4, out);
}

TEST(fake_os_wrapper, wait_sender_blocked_sees_a_sender_waiting_on_a_full_queue)
{
    fake_os_wrapper::reset();
    OSW_Message_Queue queue(1, sizeof(int), 0);
    int value = 1;
    ASSERT_EQ(0, queue.send(&value, sizeof(value), OSW_WAIT_FOREVER, 0));
    EXPECT_FALSE(fake_os_wrapper::wait_sender_blocked(20));
    std::atomic<int> result(-1);
    std::thread sender([&] {
        int second = 2;
        result = queue.send(&second, sizeof(second), OSW_WAIT_FOREVER, 0);
    });
    EXPECT_TRUE(fake_os_wrapper::wait_sender_blocked(5000));
    EXPECT_EQ(-1, result.load());
    int out = 0;
    ASSERT_EQ(0, queue.receive(&out, sizeof(out), 0));
    sender.join();
    EXPECT_EQ(0, result.load());
    EXPECT_FALSE(fake_os_wrapper::wait_sender_blocked(20));
}
