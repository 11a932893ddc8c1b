// The capture reader: what it takes from a capture, in either byte order and
// time resolution, and how it refuses a damaged one.
#include "pcapng_reader.h"

#include "pcapng_writer.h"
#include "mobile_packet.h"
#include "temp_dir.h"

#include <gtest/gtest.h>

#include <string>

namespace norvane_test {
namespace {

using norvane_tools::from_hex;
using norvane_tools::pcapng_reader;
using norvane_tools::pcapng_writer;
namespace pcapng = norvane_tools::pcapng;

// A capture of two transfers as the simulator writes it.
std::string written_capture(const temp_dir& dir)
{
    pcapng_writer writer;
    EXPECT_EQ(0, writer.open(dir.file("c.pcapng"), pcapng::link_type_user0, "aoa"));
    EXPECT_EQ(0, writer.write_packet(1700000000123456ull, "REQUEST", 7, pcapng::direction_outbound));
    EXPECT_EQ(0, writer.write_packet(1700000000223456ull, "REPLY", 5, pcapng::direction_inbound));
    EXPECT_EQ(0, writer.close());
    return read_file_bytes(dir.file("c.pcapng"));
}

// What the reader says about bytes it must refuse as a whole: "" when it
// reads them, or keeps any packet of them.
std::string refusal_of(const std::string& capture)
{
    pcapng_reader reader;
    if (reader.read_bytes(capture) == 0 || !reader.packets().empty()) {
        return "";
    }
    return reader.last_error();
}

TEST(pcapng_reader_test, reads_back_what_the_writer_wrote)
{
    temp_dir dir;
    written_capture(dir);
    pcapng_reader reader;
    ASSERT_EQ(0, reader.read_file(dir.file("c.pcapng"))) << reader.last_error();
    ASSERT_EQ(2u, reader.packets().size());
    EXPECT_EQ(pcapng::link_type_user0, reader.packets()[0].link_type);
    EXPECT_EQ(1700000000123456ull, reader.packets()[0].time_us);
    EXPECT_EQ(pcapng::direction_outbound, reader.packets()[0].direction);
    EXPECT_EQ(7u, reader.packets()[0].original_size);
    EXPECT_EQ("REQUEST", reader.packets()[0].bytes);
    EXPECT_EQ(1700000000223456ull, reader.packets()[1].time_us);
    EXPECT_EQ(pcapng::direction_inbound, reader.packets()[1].direction);
    EXPECT_EQ("REPLY", reader.packets()[1].bytes);
}

TEST(pcapng_reader_test, reads_a_big_endian_capture_in_nanoseconds_and_skips_unknown_blocks)
{
    const std::string capture = from_hex(
        // section header, big-endian, no options
        "0A 0D 0D 0A 00 00 00 1C 1A 2B 3C 4D 00 01 00 00 FF FF FF FF FF FF FF FF 00 00 00 1C"
        // interface: USER0, if_tsresol 9 (nanoseconds)
        " 00 00 00 01 00 00 00 20 00 93 00 00 00 00 00 00 00 09 00 01 09 00 00 00 00 00 00 00"
        " 00 00 00 20"
        // a name resolution block, which the reader has no use for
        " 00 00 00 04 00 00 00 10 00 00 00 00 00 00 00 10"
        // packet: 2.5 s after the epoch, 3 bytes, flags inbound
        " 00 00 00 06 00 00 00 30 00 00 00 00 00 00 00 00 95 02 F9 00 00 00 00 03 00 00 00 03"
        " 41 42 43 00 00 02 00 04 00 00 00 01 00 00 00 00 00 00 00 30");
    pcapng_reader reader;
    ASSERT_EQ(0, reader.read_bytes(capture)) << reader.last_error();
    ASSERT_EQ(1u, reader.packets().size());
    EXPECT_EQ(2500000u, reader.packets()[0].time_us);
    EXPECT_EQ(pcapng::direction_inbound, reader.packets()[0].direction);
    EXPECT_EQ("ABC", reader.packets()[0].bytes);
}

TEST(pcapng_reader_test, a_packet_without_flags_has_no_direction)
{
    temp_dir dir;
    pcapng_writer writer;
    ASSERT_EQ(0, writer.open(dir.file("c.pcapng"), pcapng::link_type_usb_linux_mmapped, "usbmon1"));
    ASSERT_EQ(0, writer.write_packet(5, "X", 1, pcapng::direction_unknown));
    ASSERT_EQ(0, writer.close());
    pcapng_reader reader;
    ASSERT_EQ(0, reader.read_file(dir.file("c.pcapng")));
    ASSERT_EQ(1u, reader.packets().size());
    EXPECT_EQ(pcapng::link_type_usb_linux_mmapped, reader.packets()[0].link_type);
    EXPECT_EQ(pcapng::direction_unknown, reader.packets()[0].direction);
}

TEST(pcapng_reader_test, a_capture_cut_in_a_block_is_refused_with_the_block_offset)
{
    temp_dir dir;
    const std::string capture = written_capture(dir);
    EXPECT_EQ("block at offset 144: a block whose length (52) does not fit",
              refusal_of(capture.substr(0, capture.size() - 2)));
}

TEST(pcapng_reader_test, a_capture_cut_between_header_words_is_refused)
{
    temp_dir dir;
    const std::string capture = written_capture(dir);
    EXPECT_EQ("block at offset 144: a block cut short",
              refusal_of(capture.substr(0, 144 + 6)));
}

TEST(pcapng_reader_test, a_block_whose_trailing_length_differs_is_refused)
{
    temp_dir dir;
    std::string capture = written_capture(dir);
    capture[capture.size() - 4] = 0x44;
    EXPECT_EQ("block at offset 144: a block whose two lengths differ",
              refusal_of(capture));
}

TEST(pcapng_reader_test, a_file_that_does_not_start_with_a_section_header_is_refused)
{
    EXPECT_EQ("block at offset 0: not a pcapng capture (no section header)",
              refusal_of(std::string("\xD4\xC3\xB2\xA1", 4) + std::string(20, '\0')));
}

TEST(pcapng_reader_test, a_section_header_without_the_magic_is_refused)
{
    EXPECT_EQ("block at offset 0: a section header without the byte-order magic",
              refusal_of(from_hex(
                     "0A 0D 0D 0A 1C 00 00 00 00 00 00 00 01 00 00 00 FF FF FF FF FF FF FF FF 1C 00 00 00")));
}

TEST(pcapng_reader_test, a_packet_of_an_undescribed_interface_is_refused)
{
    const std::string capture = from_hex(
        "0A 0D 0D 0A 1C 00 00 00 4D 3C 2B 1A 01 00 00 00 FF FF FF FF FF FF FF FF 1C 00 00 00"
        " 06 00 00 00 20 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00"
        " 20 00 00 00");
    EXPECT_EQ("block at offset 28: a packet of interface 0, which was not described",
              refusal_of(capture));
}

TEST(pcapng_reader_test, captured_bytes_that_run_past_their_block_are_refused)
{
    const std::string capture = from_hex(
        "0A 0D 0D 0A 1C 00 00 00 4D 3C 2B 1A 01 00 00 00 FF FF FF FF FF FF FF FF 1C 00 00 00"
        " 01 00 00 00 14 00 00 00 93 00 00 00 00 00 00 00 14 00 00 00"
        " 06 00 00 00 24 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 09 00 00 00 09 00 00 00"
        " 41 42 43 44 24 00 00 00");
    EXPECT_EQ("block at offset 48: a packet whose 9 captured bytes run past its block",
              refusal_of(capture));
}

TEST(pcapng_reader_test, an_option_that_runs_past_its_block_is_refused)
{
    const std::string capture = from_hex(
        "0A 0D 0D 0A 1C 00 00 00 4D 3C 2B 1A 01 00 00 00 FF FF FF FF FF FF FF FF 1C 00 00 00"
        // interface whose if_name claims 9 bytes in a block that has 4 left
        " 01 00 00 00 1C 00 00 00 93 00 00 00 00 00 00 00 02 00 09 00 61 6F 61 00 1C 00 00 00");
    EXPECT_EQ("block at offset 28: an interface option runs past its block",
              refusal_of(capture));
}

TEST(pcapng_reader_test, a_time_resolution_beyond_64_bits_is_refused)
{
    const std::string capture = from_hex(
        "0A 0D 0D 0A 1C 00 00 00 4D 3C 2B 1A 01 00 00 00 FF FF FF FF FF FF FF FF 1C 00 00 00"
        // if_tsresol 10^100
        " 01 00 00 00 20 00 00 00 93 00 00 00 00 00 00 00 09 00 01 00 64 00 00 00 00 00 00 00"
        " 20 00 00 00");
    EXPECT_EQ("block at offset 28: a time resolution that does not fit in 64 bits",
              refusal_of(capture));
}

TEST(pcapng_reader_test, an_empty_file_is_refused)
{
    EXPECT_EQ("block at offset 0: an empty file",
              refusal_of(""));
}

TEST(pcapng_reader_test, a_missing_file_is_refused_by_name)
{
    temp_dir dir;
    pcapng_reader reader;
    EXPECT_EQ(1, reader.read_file(dir.file("none.pcapng")));
    EXPECT_EQ("cannot read " + dir.file("none.pcapng"), reader.last_error());
}

}  // namespace
}  // namespace norvane_test
