// Waiting for lines in a program's log: found at or after an offset, found
// often enough, or not within the time.
#include "program_log_watch.h"

#include "temp_dir.h"

#include <gtest/gtest.h>

#include <fstream>
#include <thread>

namespace norvane_test {
namespace {

using norvane_tools::program_log_watch;

const std::string line = "[INF] change_exec_state_(): Change exec state. [DOWNLOAD] -> [";

TEST(program_log_watch_test, text_in_the_log_is_found_at_once)
{
    temp_dir dir;
    const std::string log = dir.write_file("program.log", "[INF] a\n[INF] -> [VERIFY] \n");
    EXPECT_EQ(0, program_log_watch(log).wait_for("-> [VERIFY] \n", 5000));
}

TEST(program_log_watch_test, text_before_the_offset_does_not_count)
{
    temp_dir dir;
    const std::string log = dir.write_file("program.log", "-> [VERIFY] \nmore\n");
    EXPECT_EQ(1, program_log_watch(log).wait_for("-> [VERIFY] \n", 20, 5));
    EXPECT_EQ(0, program_log_watch(log).wait_for("more", 20, 5));
}

TEST(program_log_watch_test, missing_log_or_text_ends_with_the_time)
{
    temp_dir dir;
    EXPECT_EQ(1, program_log_watch(dir.file("none.log")).wait_for("x", 20));
    const std::string log = dir.write_file("program.log", "abc");
    EXPECT_EQ(-1, program_log_watch(log).wait_for_any({"x", "y"}, 20));
}

TEST(program_log_watch_test, any_text_gives_the_index_of_the_first_listed_that_is_there)
{
    temp_dir dir;
    const std::string log = dir.write_file("program.log", "-> [FINISHED] \n-> [VERIFY] \n");
    EXPECT_EQ(1, program_log_watch(log).wait_for_any({"absent", "-> [FINISHED] \n"}, 20));
    EXPECT_EQ(0, program_log_watch(log).wait_for_any({"-> [VERIFY] \n", "-> [FINISHED] \n"}, 20));
}

TEST(program_log_watch_test, counts_every_occurrence_of_the_text)
{
    temp_dir dir;
    const std::string log = dir.write_file("log", line + "VERIFY] \n" + "other\n" + line + "FINISHED] \n");
    EXPECT_EQ(2u, program_log_watch(log).count(line));
    EXPECT_EQ(0u, program_log_watch(log).count("absent"));
}

TEST(program_log_watch_test, returns_at_once_when_the_line_is_there_often_enough)
{
    temp_dir dir;
    const std::string log = dir.write_file("log", line + "VERIFY] \n");
    EXPECT_EQ(0, program_log_watch(log).wait_for_count(line, 1, 0));
}

TEST(program_log_watch_test, returns_when_the_line_is_written_while_it_waits)
{
    temp_dir dir;
    const std::string log = dir.write_file("log", line + "VERIFY] \n");
    std::thread program([&log]() { std::ofstream(log, std::ios::app) << line << "VERIFY] \n"; });
    EXPECT_EQ(0, program_log_watch(log).wait_for_count(line, 2, 30000));
    program.join();
    EXPECT_EQ(2u, program_log_watch(log).count(line));
}

TEST(program_log_watch_test, gives_up_on_a_count_after_the_time_limit)
{
    temp_dir dir;
    const std::string log = dir.write_file("log", line + "VERIFY] \n");
    EXPECT_EQ(1, program_log_watch(log).wait_for_count(line, 2, 50));
    EXPECT_EQ(1, program_log_watch(dir.file("missing")).wait_for_count(line, 1, 50));
}

}  // namespace
}  // namespace norvane_test
