// The host trace: one line per call with a line feed, on standard error, or
// appended to FWUPDATE_TRACE_FILE when that is set.
#include "gen_trace.h"

#include "temp_dir.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>
#include <string>
#include <thread>

namespace {

class host_trace_test : public testing::Test {
protected:
    void SetUp() override { ::unsetenv("FWUPDATE_TRACE_FILE"); }
    void TearDown() override { ::unsetenv("FWUPDATE_TRACE_FILE"); }
};

TEST_F(host_trace_test, one_line_with_line_feed_on_stderr)
{
    testing::internal::CaptureStderr();
    zulGENTrcPrintf(0x3002, 0x102, 0, "[XML][IMP    ] %s(): count[%d]", "parse", 3);
    EXPECT_EQ("[XML][IMP    ] parse(): count[3]\n", testing::internal::GetCapturedStderr());
}

TEST_F(host_trace_test, each_call_is_its_own_line)
{
    testing::internal::CaptureStderr();
    zulGENTrcPrintf(0x3002, 0x102, 0, "[XML][ERROR! ] first");
    zulGENTrcPrintf(0x3002, 0x102, 0, "[XML][WARNING] second");
    EXPECT_EQ("[XML][ERROR! ] first\n[XML][WARNING] second\n", testing::internal::GetCapturedStderr());
}

TEST_F(host_trace_test, empty_text_gives_an_empty_line)
{
    testing::internal::CaptureStderr();
    zulGENTrcPrintf(0x3002, 0x102, 0, "%s", "");
    EXPECT_EQ("\n", testing::internal::GetCapturedStderr());
}

TEST_F(host_trace_test, long_line_is_written_whole)
{
    const std::string text(10000, 'z');
    testing::internal::CaptureStderr();
    zulGENTrcPrintf(0x3002, 0x102, 0, "[XML][IMP    ] %s", text.c_str());
    EXPECT_EQ("[XML][IMP    ] " + text + "\n", testing::internal::GetCapturedStderr());
}

TEST_F(host_trace_test, trace_file_gets_lines_appended_instead_of_stderr)
{
    norvane_test::temp_dir dir;
    const std::string path = dir.write_file("trace.log", "earlier\n");
    ::setenv("FWUPDATE_TRACE_FILE", path.c_str(), 1);
    testing::internal::CaptureStderr();
    zulGENTrcPrintf(0x3002, 0x102, 0, "[XML][IMP    ] one %d", 1);
    zulGENTrcPrintf(0x3002, 0x102, 0, "[XML][IMP    ] two %d", 2);
    EXPECT_EQ("", testing::internal::GetCapturedStderr());
    EXPECT_EQ("earlier\n[XML][IMP    ] one 1\n[XML][IMP    ] two 2\n", norvane_test::read_file_bytes(path));
}

TEST_F(host_trace_test, trace_file_is_created_when_missing)
{
    norvane_test::temp_dir dir;
    ::setenv("FWUPDATE_TRACE_FILE", dir.file("new.log").c_str(), 1);
    zulGENTrcPrintf(0x3002, 0x102, 0, "[XML][IMP    ] created");
    EXPECT_EQ("[XML][IMP    ] created\n", norvane_test::read_file_bytes(dir.file("new.log")));
}

TEST_F(host_trace_test, unopenable_trace_file_falls_back_to_stderr)
{
    norvane_test::temp_dir dir;
    ::setenv("FWUPDATE_TRACE_FILE", dir.path().c_str(), 1);  // a folder cannot be opened for writing
    testing::internal::CaptureStderr();
    zulGENTrcPrintf(0x3002, 0x102, 0, "[XML][ERROR! ] kept");
    EXPECT_EQ("[XML][ERROR! ] kept\n", testing::internal::GetCapturedStderr());
}

TEST_F(host_trace_test, empty_trace_file_variable_means_stderr)
{
    ::setenv("FWUPDATE_TRACE_FILE", "", 1);
    testing::internal::CaptureStderr();
    zulGENTrcPrintf(0x3002, 0x102, 0, "[XML][IMP    ] plain");
    EXPECT_EQ("[XML][IMP    ] plain\n", testing::internal::GetCapturedStderr());
}

TEST_F(host_trace_test, lines_from_two_threads_never_interleave)
{
    norvane_test::temp_dir dir;
    const std::string path = dir.file("threads.log");
    ::setenv("FWUPDATE_TRACE_FILE", path.c_str(), 1);
    const std::string a_text(3000, 'a');
    const std::string b_text(3000, 'b');
    auto writer = [](const std::string& text) {
        for (int i = 0; i < 200; ++i) {
            zulGENTrcPrintf(0x3002, 0x102, 0, "%s", text.c_str());
        }
    };
    std::thread other(writer, b_text);
    writer(a_text);
    other.join();
    std::istringstream lines(norvane_test::read_file_bytes(path));
    std::string line;
    int a_lines = 0;
    int b_lines = 0;
    int broken = 0;
    while (std::getline(lines, line)) {
        a_lines += (line == a_text) ? 1 : 0;
        b_lines += (line == b_text) ? 1 : 0;
        broken += (line != a_text && line != b_text) ? 1 : 0;
    }
    EXPECT_EQ(200, a_lines);
    EXPECT_EQ(200, b_lines);
    EXPECT_EQ(0, broken);
}

}  // namespace
