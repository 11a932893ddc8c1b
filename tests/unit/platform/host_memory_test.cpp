// The host allocators: transfer-sized blocks from a pool that keeps them
// mapped, malloc behind everything else, the signed 8-bit size of the pool
// allocator, and free of null.
#include "osl_mdev_aoa.h"
#include "osw_os_wrapper.h"

#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <sys/resource.h>
#include <vector>

namespace {

TEST(host_memory_test, sub_alloc_gives_a_writable_block)
{
    unsigned char* block = static_cast<unsigned char*>(zulOSWSubAllocMem(70000));
    ASSERT_NE(nullptr, block);
    std::memset(block, 0x5A, 70000);
    EXPECT_EQ(0x5A, block[69999]);
    EXPECT_EQ(0, zulOSWOrgFreeMemPart(nullptr, block));
}

long minor_faults_()
{
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return usage.ru_minflt;
}

// Allocates and fills depth blocks of size bytes, then frees them all, as a
// delivery does when the queue fills and drains; cycles times.
void cycle_blocks_(unsigned int size, int depth, int cycles)
{
    for (int cycle = 0; cycle < cycles; ++cycle) {
        std::vector<void*> held;
        for (int index = 0; index < depth; ++index) {
            void* block = zulOSWSubAllocMem(size);
            ASSERT_NE(nullptr, block);
            std::memset(block, cycle & 0xFF, size);
            held.push_back(block);
        }
        for (void* block : held) {
            zulOSWOrgFreeMemPart(nullptr, block);
        }
    }
}

// Each incoming transfer takes a block, and the main thread frees it after
// the write. Served by malloc, a queue that filled and drained left glibc
// enough free heap to return to the system, and the next blocks were faulted
// in afresh: about 38,000 faults for these cycles. From the pool they take a
// few dozen (a few hundred under a sanitizer, whose shadow memory faults too).
TEST(host_memory_test, transfer_sized_blocks_cycle_without_page_faults)
{
    cycle_blocks_(OSL_MDEV_AOA_MAX_TRANSFER, 100, 1);
    const long before = minor_faults_();
    cycle_blocks_(OSL_MDEV_AOA_MAX_TRANSFER, 100, 20);
    cycle_blocks_(16384, 100, 20);
    EXPECT_LT(minor_faults_() - before, 1000);
}

TEST(host_memory_test, a_freed_transfer_sized_block_is_the_next_one_handed_out)
{
    void* first = zulOSWSubAllocMem(OSL_MDEV_AOA_MAX_TRANSFER);
    ASSERT_NE(nullptr, first);
    zulOSWOrgFreeMemPart(nullptr, first);
    void* again = zulOSWSubAllocMem(4097);
    EXPECT_EQ(first, again);
    zulOSWOrgFreeMemPart(nullptr, again);
}

// The controller's queue holds 100 chunks; with the two in hand on either
// side, every one of them can be out at once, and more still come (from
// malloc) when something holds more.
TEST(host_memory_test, more_transfer_sized_blocks_than_a_delivery_holds_are_all_served)
{
    std::vector<unsigned char*> blocks;
    for (int index = 0; index < 300; ++index) {
        unsigned char* block = static_cast<unsigned char*>(zulOSWSubAllocMem(OSL_MDEV_AOA_MAX_TRANSFER));
        ASSERT_NE(nullptr, block);
        block[0] = static_cast<unsigned char>(index);
        block[OSL_MDEV_AOA_MAX_TRANSFER - 1] = static_cast<unsigned char>(index);
        blocks.push_back(block);
    }
    EXPECT_EQ(300u, std::set<unsigned char*>(blocks.begin(), blocks.end()).size());
    for (size_t index = 0; index < blocks.size(); ++index) {
        EXPECT_EQ(static_cast<unsigned char>(index), blocks[index][0]);
        EXPECT_EQ(static_cast<unsigned char>(index), blocks[index][OSL_MDEV_AOA_MAX_TRANSFER - 1]);
        EXPECT_EQ(0, zulOSWOrgFreeMemPart(nullptr, blocks[index]));
    }
}

TEST(host_memory_test, a_block_larger_than_a_transfer_is_served_and_freed)
{
    unsigned char* block = static_cast<unsigned char*>(zulOSWSubAllocMem(OSL_MDEV_AOA_MAX_TRANSFER + 1));
    ASSERT_NE(nullptr, block);
    std::memset(block, 0x11, OSL_MDEV_AOA_MAX_TRANSFER + 1);
    EXPECT_EQ(0x11, block[OSL_MDEV_AOA_MAX_TRANSFER]);
    EXPECT_EQ(0, zulOSWOrgFreeMemPart(nullptr, block));
}

TEST(host_memory_test, alloc_part_refuses_size_zero)
{
    EXPECT_EQ(nullptr, zulOSWOrgAllocMemPart(nullptr, 0));
}

TEST(host_memory_test, alloc_part_refuses_negative_size)
{
    EXPECT_EQ(nullptr, zulOSWOrgAllocMemPart(nullptr, -1));
    EXPECT_EQ(nullptr, zulOSWOrgAllocMemPart(nullptr, -128));
}

TEST(host_memory_test, alloc_part_refuses_200_narrowed_to_signed_char)
{
    const int wanted = 200;  // a command of 200 characters
    const signed char narrowed = static_cast<signed char>(wanted);
    EXPECT_EQ(-56, narrowed);
    EXPECT_EQ(nullptr, zulOSWOrgAllocMemPart(nullptr, narrowed));
}

TEST(host_memory_test, alloc_part_accepts_127)
{
    char* block = static_cast<char*>(zulOSWOrgAllocMemPart(nullptr, 127));
    ASSERT_NE(nullptr, block);
    std::memset(block, 'x', 127);
    EXPECT_EQ('x', block[126]);
    EXPECT_EQ(0, zulOSWOrgFreeMemPart(nullptr, block));
}

TEST(host_memory_test, alloc_part_accepts_one_byte)
{
    char* block = static_cast<char*>(zulOSWOrgAllocMemPart(nullptr, 1));
    ASSERT_NE(nullptr, block);
    block[0] = '\0';
    EXPECT_EQ(0, zulOSWOrgFreeMemPart(nullptr, block));
}

TEST(host_memory_test, free_of_null_is_fine)
{
    EXPECT_EQ(0, zulOSWOrgFreeMemPart(nullptr, nullptr));
}

}  // namespace
