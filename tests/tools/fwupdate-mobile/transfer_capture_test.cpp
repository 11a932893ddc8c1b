// Recording the link's transfers: each one a packet with its direction and
// time, and a failing disk reported at the end.
#include "transfer_capture.h"

#include "pcapng_reader.h"
#include "temp_dir.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>

namespace norvane_test {
namespace {

using norvane_tools::pcapng_reader;
using norvane_tools::transfer_capture;
namespace pcapng = norvane_tools::pcapng;

uint64_t now_us()
{
    using namespace std::chrono;
    return static_cast<uint64_t>(
        duration_cast<microseconds>(system_clock::now().time_since_epoch()).count());
}

TEST(transfer_capture_test, each_transfer_is_a_user0_packet_with_its_direction_and_time)
{
    temp_dir dir;
    transfer_capture capture;
    ASSERT_EQ(0, capture.open(dir.file("c.pcapng"))) << capture.error();
    const uint64_t before = now_us();
    capture.record(true, reinterpret_cast<const unsigned char*>("SENT"), 4);
    capture.record(false, reinterpret_cast<const unsigned char*>("RECEIVED"), 8);
    const uint64_t after = now_us();
    EXPECT_EQ(2u, capture.transfers());
    ASSERT_EQ(0, capture.close()) << capture.error();

    pcapng_reader reader;
    ASSERT_EQ(0, reader.read_file(dir.file("c.pcapng"))) << reader.last_error();
    ASSERT_EQ(2u, reader.packets().size());
    EXPECT_EQ(pcapng::link_type_user0, reader.packets()[0].link_type);
    EXPECT_EQ(pcapng::direction_outbound, reader.packets()[0].direction);
    EXPECT_EQ("SENT", reader.packets()[0].bytes);
    EXPECT_EQ(pcapng::direction_inbound, reader.packets()[1].direction);
    EXPECT_EQ("RECEIVED", reader.packets()[1].bytes);
    EXPECT_LE(before, reader.packets()[0].time_us);
    EXPECT_LE(reader.packets()[0].time_us, reader.packets()[1].time_us);
    EXPECT_GE(after, reader.packets()[1].time_us);
}

TEST(transfer_capture_test, a_capture_that_cannot_be_created_is_refused)
{
    temp_dir dir;
    transfer_capture capture;
    EXPECT_EQ(1, capture.open(dir.file("none/c.pcapng")));
    EXPECT_EQ("cannot create " + dir.file("none/c.pcapng") + ": No such file or directory", capture.error());
}

TEST(transfer_capture_test, a_write_that_fails_is_reported_at_close_and_not_counted)
{
    transfer_capture capture;
    EXPECT_EQ(1, capture.open("/dev/full"));
    capture.record(true, reinterpret_cast<const unsigned char*>("X"), 1);
    EXPECT_EQ(0u, capture.transfers());
    EXPECT_EQ(1, capture.close());
    EXPECT_EQ("cannot write /dev/full: No space left on device", capture.error());
}

}  // namespace
}  // namespace norvane_test
