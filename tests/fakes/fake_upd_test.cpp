// The fake update library: call log, chosen results, record contents.
#include "fake_upd.h"

#include <gtest/gtest.h>

#include "bsd_sum.h"
#include "osl_mdev_upd.h"

using norvane_fake::fake_upd;

TEST(fake_upd, records_calls_with_their_arguments)
{
    fake_upd::reset();
    EXPECT_EQ(0, osl_mdev_upd_fwup_dlstart());
    char name[] = "FIRMWARE_VERSION_DEVICE";
    char data[] = "1.2.3";
    unsigned long checksum = 0;
    EXPECT_EQ(0, osl_mdev_upd_fwup_flopen(name, 1));
    EXPECT_EQ(0, osl_mdev_upd_fwup_flwrite(data, 0, 6));
    EXPECT_EQ(0, osl_mdev_upd_fwup_flclose(0, &checksum));
    EXPECT_EQ(0, osl_mdev_upd_fwup_dlfinish(0));
    EXPECT_EQ((std::vector<std::string>{"dlstart", "flopen FIRMWARE_VERSION_DEVICE 1",
                                        "flwrite 0 6", "flclose 0", "dlfinish 0"}),
              fake_upd::calls());
    EXPECT_EQ(std::string("1.2.3\0", 6), fake_upd::records()["FIRMWARE_VERSION_DEVICE"]);
    EXPECT_EQ(norvane_test::bsd_sum(std::string("1.2.3\0", 6)), checksum);
}

TEST(fake_upd, each_call_can_be_made_to_fail)
{
    fake_upd::reset();
    fake_upd::set_result("dlfinish", 1);
    fake_upd::set_result("flwrite", 3);
    char name[] = "R";
    char data[] = "x";
    EXPECT_EQ(0, osl_mdev_upd_fwup_flopen(name, 1));
    EXPECT_EQ(3, osl_mdev_upd_fwup_flwrite(data, 0, 2));
    EXPECT_EQ(1, osl_mdev_upd_fwup_dlfinish(1));
    EXPECT_EQ((std::vector<std::string>{"flopen R 1", "flwrite 0 2", "dlfinish 1"}),
              fake_upd::calls());
    EXPECT_EQ(std::vector<std::string>{std::string("x\0", 2)}, fake_upd::written());
}
