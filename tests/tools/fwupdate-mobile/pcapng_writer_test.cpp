// The capture writer: the exact blocks it writes, and each way writing can
// fail.
#include "pcapng_writer.h"

#include "mobile_packet.h"
#include "temp_dir.h"

#include <gtest/gtest.h>

#include <string>

namespace norvane_test {
namespace {

using norvane_tools::from_hex;
using norvane_tools::pcapng_writer;
namespace pcapng = norvane_tools::pcapng;

const char* const section_header_hex =
    "0A 0D 0D 0A 34 00 00 00 4D 3C 2B 1A 01 00 00 00 FF FF FF FF FF FF FF FF"
    " 04 00 0F 00 66 77 75 70 64 61 74 65 2D 6D 6F 62 69 6C 65 00 00 00 00 00 34 00 00 00";
const char* const interface_hex =
    "01 00 00 00 28 00 00 00 93 00 00 00 00 00 00 00 02 00 03 00 61 6F 61 00"
    " 09 00 01 00 06 00 00 00 00 00 00 00 28 00 00 00";

TEST(pcapng_writer_test, open_writes_the_section_header_and_one_user0_interface_in_microseconds)
{
    temp_dir dir;
    pcapng_writer writer;
    ASSERT_EQ(0, writer.open(dir.file("c.pcapng"), pcapng::link_type_user0, "aoa"));
    EXPECT_TRUE(writer.is_open());
    ASSERT_EQ(0, writer.close());
    EXPECT_FALSE(writer.is_open());
    EXPECT_EQ(norvane_tools::to_hex(from_hex(section_header_hex) + from_hex(interface_hex)),
              norvane_tools::to_hex(read_file_bytes(dir.file("c.pcapng"))));
}

TEST(pcapng_writer_test, packet_block_holds_time_sizes_padded_bytes_and_the_direction_flags)
{
    temp_dir dir;
    pcapng_writer writer;
    ASSERT_EQ(0, writer.open(dir.file("c.pcapng"), pcapng::link_type_user0, "aoa"));
    const std::string packet = from_hex("00 01 00 00 00 01 00 00 00 12 00 00 00 00 00 10 41");
    ASSERT_EQ(0, writer.write_packet(0x0006200012345678ull, packet.data(), packet.size(),
                                     pcapng::direction_outbound));
    ASSERT_EQ(0, writer.close());
    const std::string expected_block = from_hex(
        "06 00 00 00 40 00 00 00 00 00 00 00 00 20 06 00 78 56 34 12 11 00 00 00 11 00 00 00"
        " 00 01 00 00 00 01 00 00 00 12 00 00 00 00 00 10 41 00 00 00"
        " 02 00 04 00 02 00 00 00 00 00 00 00 40 00 00 00");
    const std::string written = read_file_bytes(dir.file("c.pcapng"));
    const size_t headers = from_hex(section_header_hex).size() + from_hex(interface_hex).size();
    ASSERT_EQ(headers + expected_block.size(), written.size());
    EXPECT_EQ(norvane_tools::to_hex(expected_block), norvane_tools::to_hex(written.substr(headers)));
}

TEST(pcapng_writer_test, packet_without_a_direction_has_no_options)
{
    temp_dir dir;
    pcapng_writer writer;
    ASSERT_EQ(0, writer.open(dir.file("c.pcapng"), pcapng::link_type_usb_linux_mmapped, "usbmon1"));
    ASSERT_EQ(0, writer.write_packet(1, "ABCD", 4, pcapng::direction_unknown));
    ASSERT_EQ(0, writer.close());
    const std::string written = read_file_bytes(dir.file("c.pcapng"));
    EXPECT_EQ("06 00 00 00 24 00 00 00 00 00 00 00 00 00 00 00 01 00 00 00 04 00 00 00 04 00 00 00"
              " 41 42 43 44 24 00 00 00",
              norvane_tools::to_hex(written.substr(written.size() - 36)));
}

TEST(pcapng_writer_test, every_packet_is_in_the_file_before_close)
{
    temp_dir dir;
    pcapng_writer writer;
    ASSERT_EQ(0, writer.open(dir.file("c.pcapng"), pcapng::link_type_user0, "aoa"));
    const size_t headers = read_file_bytes(dir.file("c.pcapng")).size();
    ASSERT_EQ(0, writer.write_packet(1, "AB", 2, pcapng::direction_inbound));
    EXPECT_EQ(headers + 48, read_file_bytes(dir.file("c.pcapng")).size());
}

TEST(pcapng_writer_test, open_in_a_missing_folder_fails_and_names_the_file)
{
    temp_dir dir;
    pcapng_writer writer;
    EXPECT_EQ(1, writer.open(dir.file("missing/c.pcapng"), pcapng::link_type_user0, "aoa"));
    EXPECT_EQ("cannot create " + dir.file("missing/c.pcapng") + ": No such file or directory",
              writer.last_error());
    EXPECT_FALSE(writer.is_open());
}

TEST(pcapng_writer_test, writing_without_an_open_file_fails)
{
    pcapng_writer writer;
    EXPECT_EQ(1, writer.write_packet(1, "AB", 2, pcapng::direction_inbound));
    EXPECT_EQ("no capture file is open", writer.last_error());
}

TEST(pcapng_writer_test, a_full_disk_fails_the_write_and_says_so)
{
    pcapng_writer writer;
    EXPECT_EQ(1, writer.open("/dev/full", pcapng::link_type_user0, "aoa"));
    EXPECT_EQ("cannot write /dev/full: No space left on device", writer.last_error());
    EXPECT_FALSE(writer.is_open());
}

}  // namespace
}  // namespace norvane_test
