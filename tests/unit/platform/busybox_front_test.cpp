// The host busybox front, run through the shell with the PATH that test runs
// use: "busybox sum" gives the BSD sum, every other applet reaches the real
// busybox.
#include "bsd_sum.h"
#include "command_output.h"
#include "temp_dir.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace {

using norvane_test::command_output;
using norvane_test::run_command;

// The line coreutils sum prints for one file: sum, 1 KiB blocks, name.
std::string sum_line(const std::string& bytes, const std::string& path)
{
    char blocks[24];
    std::snprintf(blocks, sizeof blocks, "%5zu", (bytes.size() + 1023) / 1024);
    return norvane_test::bsd_sum_text(bytes) + " " + blocks + " " + path + "\n";
}

std::string mixed_bytes(size_t size)
{
    std::string bytes(size, '\0');
    for (size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<char>((i * 131 + 7) & 0xFF);
    }
    return bytes;
}

TEST(busybox_front_test, path_finds_the_front_first)
{
    command_output found = run_command("command -v busybox");
    EXPECT_EQ(0, found.status);
    const std::string tail = "/platform/host/bin/busybox\n";
    ASSERT_GE(found.out.size(), tail.size());
    EXPECT_EQ(tail, found.out.substr(found.out.size() - tail.size()));
}

TEST(busybox_front_test, sum_first_field_is_bsd_sum_of_file)
{
    norvane_test::temp_dir dir;
    const std::string bytes = mixed_bytes(5000);
    const std::string path = dir.write_file("firmware.bin", bytes);
    command_output result = run_command("busybox sum " + path);
    EXPECT_EQ(0, result.status);
    ASSERT_GE(result.out.size(), 5u);
    EXPECT_EQ(norvane_test::bsd_sum_text(bytes), result.out.substr(0, 5));
    EXPECT_EQ(sum_line(bytes, path), result.out);
}

TEST(busybox_front_test, sum_of_text_file_matches)
{
    norvane_test::temp_dir dir;
    const std::string bytes = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<FW_package/>\n";
    const std::string path = dir.write_file("FW_package.xml", bytes);
    command_output result = run_command("busybox sum " + path);
    EXPECT_EQ(0, result.status);
    EXPECT_EQ(sum_line(bytes, path), result.out);
}

TEST(busybox_front_test, sum_of_empty_file_is_00000)
{
    norvane_test::temp_dir dir;
    const std::string path = dir.write_file("empty", "");
    command_output result = run_command("busybox sum " + path);
    EXPECT_EQ(0, result.status);
    EXPECT_EQ("00000     0 " + path + "\n", result.out);
}

TEST(busybox_front_test, sum_reads_standard_input_without_file)
{
    norvane_test::temp_dir dir;
    const std::string bytes = mixed_bytes(3000);
    const std::string path = dir.write_file("input", bytes);
    command_output result = run_command("busybox sum < " + path);
    EXPECT_EQ(0, result.status);
    EXPECT_EQ(norvane_test::bsd_sum_text(bytes) + "     3\n", result.out);
}

TEST(busybox_front_test, sum_of_missing_file_fails_with_no_output)
{
    norvane_test::temp_dir dir;
    command_output result = run_command("busybox sum " + dir.file("missing") + " 2>/dev/null");
    EXPECT_NE(0, result.status);
    EXPECT_EQ("", result.out);
}

TEST(busybox_front_test, echo_applet_reaches_real_busybox)
{
    command_output result = run_command("busybox echo hi");
    EXPECT_EQ(0, result.status);
    EXPECT_EQ("hi\n", result.out);
}

TEST(busybox_front_test, exit_status_of_real_applet_comes_back)
{
    EXPECT_EQ(0, run_command("busybox true").status);
    EXPECT_EQ(1, run_command("busybox false").status);
}

TEST(busybox_front_test, bare_call_reaches_real_busybox)
{
    command_output result = run_command("busybox 2>&1");
    ASSERT_GE(result.out.size(), 9u);
    EXPECT_EQ("BusyBox v", result.out.substr(0, 9));
}

}  // namespace
