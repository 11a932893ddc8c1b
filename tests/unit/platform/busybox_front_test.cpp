// The host busybox front, run through the shell with the PATH that test runs
// use: "busybox sum" gives the BSD sum, every other applet reaches the real
// busybox.
#include "bsd_sum.h"
#include "temp_dir.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <sys/wait.h>

namespace {

struct command_result {
    std::string output;
    int status;  // exit status, -1 when the command did not exit normally
};

command_result run(const std::string& command)
{
    command_result result{"", -1};
    FILE* pipe = ::popen(command.c_str(), "r");
    if (pipe == nullptr) {
        return result;
    }
    char buffer[4096];
    size_t got;
    while ((got = std::fread(buffer, 1, sizeof buffer, pipe)) > 0) {
        result.output.append(buffer, got);
    }
    int status = ::pclose(pipe);
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return result;
}

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
    command_result found = run("command -v busybox");
    EXPECT_EQ(0, found.status);
    const std::string tail = "/platform/host/bin/busybox\n";
    ASSERT_GE(found.output.size(), tail.size());
    EXPECT_EQ(tail, found.output.substr(found.output.size() - tail.size()));
}

TEST(busybox_front_test, sum_first_field_is_bsd_sum_of_file)
{
    norvane_test::temp_dir dir;
    const std::string bytes = mixed_bytes(5000);
    const std::string path = dir.write_file("firmware.bin", bytes);
    command_result result = run("busybox sum " + path);
    EXPECT_EQ(0, result.status);
    ASSERT_GE(result.output.size(), 5u);
    EXPECT_EQ(norvane_test::bsd_sum_text(bytes), result.output.substr(0, 5));
    EXPECT_EQ(sum_line(bytes, path), result.output);
}

TEST(busybox_front_test, sum_of_text_file_matches)
{
    norvane_test::temp_dir dir;
    const std::string bytes = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<FW_package/>\n";
    const std::string path = dir.write_file("FW_package.xml", bytes);
    command_result result = run("busybox sum " + path);
    EXPECT_EQ(0, result.status);
    EXPECT_EQ(sum_line(bytes, path), result.output);
}

TEST(busybox_front_test, sum_of_empty_file_is_00000)
{
    norvane_test::temp_dir dir;
    const std::string path = dir.write_file("empty", "");
    command_result result = run("busybox sum " + path);
    EXPECT_EQ(0, result.status);
    EXPECT_EQ("00000     0 " + path + "\n", result.output);
}

TEST(busybox_front_test, sum_reads_standard_input_without_file)
{
    norvane_test::temp_dir dir;
    const std::string bytes = mixed_bytes(3000);
    const std::string path = dir.write_file("input", bytes);
    command_result result = run("busybox sum < " + path);
    EXPECT_EQ(0, result.status);
    EXPECT_EQ(norvane_test::bsd_sum_text(bytes) + "     3\n", result.output);
}

TEST(busybox_front_test, sum_of_missing_file_fails_with_no_output)
{
    norvane_test::temp_dir dir;
    command_result result = run("busybox sum " + dir.file("missing") + " 2>/dev/null");
    EXPECT_NE(0, result.status);
    EXPECT_EQ("", result.output);
}

TEST(busybox_front_test, echo_applet_reaches_real_busybox)
{
    command_result result = run("busybox echo hi");
    EXPECT_EQ(0, result.status);
    EXPECT_EQ("hi\n", result.output);
}

TEST(busybox_front_test, exit_status_of_real_applet_comes_back)
{
    EXPECT_EQ(0, run("busybox true").status);
    EXPECT_EQ(1, run("busybox false").status);
}

TEST(busybox_front_test, bare_call_reaches_real_busybox)
{
    command_result result = run("busybox 2>&1");
    ASSERT_GE(result.output.size(), 9u);
    EXPECT_EQ("BusyBox v", result.output.substr(0, 9));
}

}  // namespace
