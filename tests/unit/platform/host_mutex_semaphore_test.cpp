// The host mutex semaphore: request and release, waiting and time-outs.
#include "osw_os_wrapper.h"

#include "blocking_call.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <thread>

namespace {

using steady = std::chrono::steady_clock;

long elapsed_ms(steady::time_point since)
{
    return static_cast<long>(std::chrono::duration_cast<std::chrono::milliseconds>(steady::now() - since).count());
}

TEST(host_mutex_semaphore_test, request_and_release)
{
    OSW_Mutex_Semaphore mutex(1);
    EXPECT_EQ(0, mutex.request(-1));
    EXPECT_EQ(0, mutex.release());
    EXPECT_EQ(0, mutex.request(0));
    EXPECT_EQ(0, mutex.release());
}

TEST(host_mutex_semaphore_test, request_times_out_while_another_thread_holds_it)
{
    OSW_Mutex_Semaphore mutex(1);
    std::promise<int> taken;
    std::promise<void> let_go;
    std::thread holder([&] {
        taken.set_value(mutex.request(-1));
        let_go.get_future().wait();
        mutex.release();
    });
    EXPECT_EQ(0, taken.get_future().get());
    steady::time_point start = steady::now();
    EXPECT_EQ(1, mutex.request(100));
    EXPECT_GE(elapsed_ms(start), 100);
    EXPECT_EQ(1, mutex.request(0));
    let_go.set_value();
    EXPECT_EQ(0, mutex.request(5000));
    holder.join();
    EXPECT_EQ(0, mutex.release());
}

TEST(host_mutex_semaphore_test, waiting_request_is_granted_on_release)
{
    OSW_Mutex_Semaphore mutex(1);
    ASSERT_EQ(0, mutex.request(-1));
    norvane_test::blocking_call waiter([&] {
        const int result = mutex.request(-1);
        mutex.release();
        return result;
    });
    EXPECT_TRUE(waiter.wait_until_asleep());
    EXPECT_FALSE(waiter.returned());  // asleep inside request, waiting for the release
    EXPECT_EQ(0, mutex.release());
    int result = -1;
    EXPECT_TRUE(waiter.wait_returned(5000, result));
    EXPECT_EQ(0, result);
}

TEST(host_mutex_semaphore_test, initial_zero_starts_taken)
{
    OSW_Mutex_Semaphore mutex(0);
    EXPECT_EQ(1, mutex.request(0));
    EXPECT_EQ(0, mutex.release());
    EXPECT_EQ(0, mutex.request(0));
}

TEST(host_mutex_semaphore_test, release_of_a_free_semaphore_fails)
{
    OSW_Mutex_Semaphore mutex(1);
    EXPECT_EQ(1, mutex.release());
    EXPECT_EQ(0, mutex.request(0));
    EXPECT_EQ(0, mutex.release());
    EXPECT_EQ(1, mutex.release());
    EXPECT_EQ(0, mutex.request(0));
    EXPECT_EQ(1, mutex.request(0));  // still binary after the refused release
}

TEST(host_mutex_semaphore_test, serialises_two_threads)
{
    OSW_Mutex_Semaphore mutex(1);
    int counter = 0;
    auto work = [&] {
        for (int i = 0; i < 20000; ++i) {
            mutex.request(-1);
            counter = counter + 1;
            mutex.release();
        }
    };
    std::thread other(work);
    work();
    other.join();
    EXPECT_EQ(40000, counter);
}

}  // namespace
