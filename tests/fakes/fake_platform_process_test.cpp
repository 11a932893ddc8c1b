// The fault names and the exit report of the fake platform as a program's
// platform.
#include "fake_platform_process.h"

#include <gtest/gtest.h>

#include <new>

#include "fake_platform.h"
#include "osl_mdev_upd.h"
#include "osw_os_wrapper.h"

using norvane_fake::fake_os_wrapper;
using norvane_fake::fake_platform;
using norvane_fake::fake_platform_process;

TEST(fake_platform_process, receive_bad_alloc_makes_the_next_receive_throw)
{
    fake_platform::reset();
    ASSERT_EQ(0, fake_platform_process::arm_faults("receive_bad_alloc"));
    OSW_Message_Queue queue(1, sizeof(int), 0);
    int out = 0;
    EXPECT_THROW(queue.receive(&out, sizeof(out), 0), std::bad_alloc);
    EXPECT_EQ(2, queue.receive(&out, sizeof(out), 0));
}

TEST(fake_platform_process, unknown_fault_name_is_refused)
{
    fake_platform::reset();
    EXPECT_EQ(1, fake_platform_process::arm_faults("receive_bad_alloc,no_such_fault"));
    EXPECT_EQ(0, fake_platform_process::arm_faults(""));
}

TEST(fake_platform_process, exit_report_counts_live_queues_blocks_and_update_calls)
{
    fake_platform::reset();
    EXPECT_EQ("[fake platform] queues_alive[0] blocks_outstanding[0] upd_calls[]",
              fake_platform_process::exit_report());
    OSW_Message_Queue queue(1, sizeof(int), 0);
    void* block = zulOSWSubAllocMem(8);
    ASSERT_NE(nullptr, block);
    osl_mdev_upd_fwup_dlstart();
    osl_mdev_upd_fwup_dlfinish(1);
    EXPECT_EQ("[fake platform] queues_alive[1] blocks_outstanding[1] upd_calls[dlstart,dlfinish 1]",
              fake_platform_process::exit_report());
    zulOSWOrgFreeMemPart(nullptr, block);
}
