// The kit's headers and reply constants against the protocol's own bytes.
#include "wire_header.h"

#include "delivery_replies.h"
#include "mobile_packet.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string hex(const std::string& bytes)
{
    return norvane_tools::to_hex(bytes);
}

TEST(wire_header, upload_header_of_300000_bytes_is_the_protocols_example)
{
    EXPECT_EQ("00 01 00 00 00 01 00 00 00 12 00 00 00 04 93 E0",
              hex(norvane_test::upload_header(1, 300000)));
}

TEST(wire_header, every_field_goes_out_most_significant_byte_first)
{
    EXPECT_EQ("01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F 10",
              hex(norvane_test::wire_header(0x0102, 0x0304, 0x0506, 0x0708, 0x090A, 0x0B0C,
                                            0x0D0E0F10)));
}

TEST(wire_header, queries_and_replies_carry_their_commands_and_options)
{
    EXPECT_EQ("00 01 00 00 00 02 00 00 00 13 00 01 00 00 00 00",
              hex(norvane_test::status_query(2, 1)));
    EXPECT_EQ("00 01 00 00 00 01 00 14 80 12 00 00 00 00 00 00",
              hex(norvane_test::upload_reply(1, 20)));
    EXPECT_EQ("00 01 00 00 00 02 00 16 80 13 00 02 00 00 00 00",
              hex(norvane_test::status_reply(2, 2, 22)));
}

TEST(wire_header, delivery_reply_constants_are_the_replies_of_their_requests)
{
    EXPECT_EQ(norvane_test::handshake_ok, hex(norvane_test::status_reply(0, 1, 0)));
    EXPECT_EQ(norvane_test::upload_ok, hex(norvane_test::upload_reply(1, 0)));
    EXPECT_EQ(norvane_test::upload_error_in_download, hex(norvane_test::upload_reply(1, 20)));
    EXPECT_EQ(norvane_test::finished_ok_2, hex(norvane_test::status_reply(2, 2, 0)));
    EXPECT_EQ(norvane_test::finished_ok_3, hex(norvane_test::status_reply(3, 2, 0)));
    EXPECT_EQ(norvane_test::finished_fw_error_2, hex(norvane_test::status_reply(2, 2, 21)));
    EXPECT_EQ(norvane_test::finished_storing_error_2, hex(norvane_test::status_reply(2, 2, 22)));
}

TEST(wire_header, as_bytes_keeps_every_byte)
{
    EXPECT_EQ((norvane_test::transfer_bytes{0x00, 0x80, 0xFF}),
              norvane_test::as_bytes(std::string("\x00\x80\xFF", 3)));
}

}  // namespace
