// The host allocators: malloc behind both, the signed 8-bit size of the pool
// allocator, and free of null.
#include "osw_os_wrapper.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

TEST(host_memory_test, sub_alloc_gives_a_writable_block)
{
    unsigned char* block = static_cast<unsigned char*>(zulOSWSubAllocMem(70000));
    ASSERT_NE(nullptr, block);
    std::memset(block, 0x5A, 70000);
    EXPECT_EQ(0x5A, block[69999]);
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
