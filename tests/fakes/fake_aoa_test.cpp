// The fake accessory library: recorded connect, injected transfers with their
// slack, recorded and failing sends.
#include "fake_aoa.h"

#include <gtest/gtest.h>

#include <string>

using norvane_fake::fake_aoa;

namespace {

std::string seen_;
int seen_event_ = -1;
int seen_len_ = -1;

void recorder_(int event, unsigned char* data, int len)
{
    seen_event_ = event;
    seen_len_ = len;
    // The transfer and the 16 bytes of slack behind it.
    seen_ = data == nullptr ? std::string("null")
                            : std::string(reinterpret_cast<char*>(data), len + 16);
}

}  // namespace

TEST(fake_aoa, inject_hands_the_transfer_with_16_zero_bytes_behind_it)
{
    fake_aoa::reset();
    EXPECT_FALSE(fake_aoa::inject("x"));
    ASSERT_EQ(0, osl_mdev_aoa_connect(recorder_));
    EXPECT_EQ(1, fake_aoa::connect_calls());
    ASSERT_TRUE(fake_aoa::inject("abc"));
    EXPECT_EQ(0, seen_event_);
    EXPECT_EQ(3, seen_len_);
    EXPECT_EQ(std::string("abc") + std::string(16, '\0'), seen_);
    ASSERT_TRUE(fake_aoa::inject_event(1));
    EXPECT_EQ(1, seen_event_);
    EXPECT_EQ(0, seen_len_);
    EXPECT_EQ("null", seen_);
}

TEST(fake_aoa, a_failing_connect_records_no_function)
{
    fake_aoa::reset();
    fake_aoa::set_connect_result(5);
    EXPECT_EQ(5, osl_mdev_aoa_connect(recorder_));
    EXPECT_EQ(nullptr, fake_aoa::recv_function());
}

TEST(fake_aoa, send_records_every_buffer_and_can_fail)
{
    fake_aoa::reset();
    unsigned char first[] = {1, 2, 3};
    unsigned char second[] = {4};
    fake_aoa::fail_next_send(9);
    EXPECT_EQ(9, osl_mdev_aoa_send(first, 3));
    EXPECT_EQ(0, osl_mdev_aoa_send(second, 1));
    fake_aoa::set_send_result(2);
    EXPECT_EQ(2, osl_mdev_aoa_send(second, 1));
    EXPECT_TRUE(fake_aoa::wait_sent(3, 10));
    EXPECT_FALSE(fake_aoa::wait_sent(4, 10));
    EXPECT_EQ((std::vector<std::string>{"\x01\x02\x03", "\x04", "\x04"}), fake_aoa::sent());
}

TEST(fake_aoa, transfers_sent_on_connect_arrive_before_connect_returns_and_only_once)
{
    fake_aoa::reset();
    seen_.clear();
    fake_aoa::send_on_connect({"early"});
    ASSERT_EQ(0, osl_mdev_aoa_connect(recorder_));
    EXPECT_EQ(std::string("early") + std::string(16, '\0'), seen_);
    seen_.clear();
    ASSERT_EQ(0, osl_mdev_aoa_connect(recorder_));
    EXPECT_EQ("", seen_);
}

TEST(fake_aoa, a_failing_connect_sends_nothing_on_connect)
{
    fake_aoa::reset();
    seen_.clear();
    fake_aoa::send_on_connect({"early"});
    fake_aoa::set_connect_result(3);
    EXPECT_EQ(3, osl_mdev_aoa_connect(recorder_));
    EXPECT_EQ("", seen_);
}
