// The host allocator's pool of transfer-sized blocks: its bound, the order
// in which blocks come back, pointers it does not own, use from two threads,
// and the process ending on a block given back twice.
#include "host_block_pool.h"

#include <gtest/gtest.h>

#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

namespace {

using norvane::host_block_pool;

constexpr size_t BLOCK_SIZE = 65536;

TEST(host_block_pool_test, take_gives_a_writable_block_of_the_block_size)
{
    host_block_pool pool(BLOCK_SIZE, 4);
    unsigned char* block = static_cast<unsigned char*>(pool.take(BLOCK_SIZE));
    ASSERT_NE(nullptr, block);
    std::memset(block, 0xA5, BLOCK_SIZE);
    EXPECT_EQ(0xA5, block[0]);
    EXPECT_EQ(0xA5, block[BLOCK_SIZE - 1]);
    EXPECT_EQ(1u, pool.blocks_out());
    EXPECT_EQ(0, pool.give_back(block));
    EXPECT_EQ(0u, pool.blocks_out());
}

TEST(host_block_pool_test, take_refuses_a_size_above_the_block_size)
{
    host_block_pool pool(BLOCK_SIZE, 4);
    EXPECT_EQ(nullptr, pool.take(BLOCK_SIZE + 1));
    EXPECT_EQ(0u, pool.blocks_out());
    EXPECT_EQ(0u, pool.blocks_touched());
}

TEST(host_block_pool_test, take_refuses_once_every_block_is_out)
{
    host_block_pool pool(BLOCK_SIZE, 3);
    std::set<void*> blocks;
    for (int index = 0; index < 3; ++index) {
        void* block = pool.take(1000);
        ASSERT_NE(nullptr, block);
        blocks.insert(block);
    }
    EXPECT_EQ(3u, blocks.size());
    EXPECT_EQ(nullptr, pool.take(1000));
    EXPECT_EQ(3u, pool.blocks_out());
    void* first = *blocks.begin();
    EXPECT_EQ(0, pool.give_back(first));
    EXPECT_EQ(first, pool.take(1000));
    for (void* block : blocks) {
        EXPECT_EQ(0, pool.give_back(block));
    }
    EXPECT_EQ(0u, pool.blocks_out());
}

TEST(host_block_pool_test, the_block_given_back_last_goes_out_first)
{
    host_block_pool pool(BLOCK_SIZE, 8);
    void* a = pool.take(BLOCK_SIZE);
    void* b = pool.take(BLOCK_SIZE);
    void* c = pool.take(BLOCK_SIZE);
    EXPECT_EQ(0, pool.give_back(a));
    EXPECT_EQ(0, pool.give_back(c));
    EXPECT_EQ(0, pool.give_back(b));
    EXPECT_EQ(b, pool.take(BLOCK_SIZE));
    EXPECT_EQ(c, pool.take(BLOCK_SIZE));
    EXPECT_EQ(a, pool.take(BLOCK_SIZE));
    for (void* block : {a, b, c}) {
        EXPECT_EQ(0, pool.give_back(block));
    }
}

TEST(host_block_pool_test, blocks_are_touched_only_as_deep_as_they_are_used)
{
    host_block_pool pool(BLOCK_SIZE, 128);
    for (int cycle = 0; cycle < 1000; ++cycle) {
        void* first = pool.take(BLOCK_SIZE);
        void* second = pool.take(BLOCK_SIZE);
        ASSERT_NE(nullptr, first);
        ASSERT_NE(nullptr, second);
        std::memset(first, 1, BLOCK_SIZE);
        std::memset(second, 2, BLOCK_SIZE);
        EXPECT_EQ(0, pool.give_back(first));
        EXPECT_EQ(0, pool.give_back(second));
    }
    EXPECT_EQ(2u, pool.blocks_touched());
    EXPECT_EQ(0u, pool.blocks_out());
}

TEST(host_block_pool_test, give_back_leaves_pointers_that_are_not_its_own)
{
    host_block_pool pool(BLOCK_SIZE, 2);
    void* foreign = std::malloc(BLOCK_SIZE);
    EXPECT_EQ(1, pool.give_back(nullptr));
    EXPECT_EQ(1, pool.give_back(foreign));  // before the pool has any memory
    void* own = pool.take(16);
    ASSERT_NE(nullptr, own);
    EXPECT_EQ(1, pool.give_back(foreign));  // after
    EXPECT_EQ(1u, pool.blocks_out());
    EXPECT_EQ(0, pool.give_back(own));
    std::free(foreign);
}

TEST(host_block_pool_test, blocks_cross_from_a_taking_thread_to_a_giving_thread)
{
    host_block_pool pool(BLOCK_SIZE, 16);
    std::mutex lock;
    std::condition_variable changed;
    std::deque<unsigned char*> handed_over;
    const int blocks = 20000;
    std::thread giver([&] {
        for (int index = 0; index < blocks; ++index) {
            std::unique_lock<std::mutex> guard(lock);
            changed.wait(guard, [&] { return !handed_over.empty(); });
            unsigned char* block = handed_over.front();
            handed_over.pop_front();
            guard.unlock();
            EXPECT_EQ(static_cast<unsigned char>(index), block[BLOCK_SIZE - 1]);
            EXPECT_EQ(0, pool.give_back(block));
        }
    });
    int taken = 0;
    while (taken < blocks) {
        unsigned char* block = static_cast<unsigned char*>(pool.take(BLOCK_SIZE));
        if (block == nullptr) {
            std::this_thread::yield();  // all 16 are in flight: wait for one back
            continue;
        }
        block[BLOCK_SIZE - 1] = static_cast<unsigned char>(taken);
        std::lock_guard<std::mutex> guard(lock);
        handed_over.push_back(block);
        changed.notify_one();
        ++taken;
    }
    giver.join();
    EXPECT_EQ(0u, pool.blocks_out());
    EXPECT_LE(pool.blocks_touched(), 16u);
}

TEST(host_block_pool_death_test, a_block_given_back_twice_ends_the_process)
{
    host_block_pool pool(BLOCK_SIZE, 2);
    void* block = pool.take(BLOCK_SIZE);
    ASSERT_NE(nullptr, block);
    ASSERT_EQ(0, pool.give_back(block));
    EXPECT_DEATH(pool.give_back(block), "host_block_pool: block given back twice");
}

TEST(host_block_pool_death_test, a_pointer_into_a_block_ends_the_process)
{
    host_block_pool pool(BLOCK_SIZE, 2);
    unsigned char* block = static_cast<unsigned char*>(pool.take(BLOCK_SIZE));
    ASSERT_NE(nullptr, block);
    EXPECT_DEATH(pool.give_back(block + 100), "host_block_pool: pointer into the middle of a block");
    EXPECT_EQ(0, pool.give_back(block));
}

}  // namespace
