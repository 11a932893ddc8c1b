// Waiting for lines in a program's log.
#include "program_log_watch.h"

#include "temp_dir.h"

#include <gtest/gtest.h>

#include <fstream>
#include <thread>

namespace norvane_test {
namespace {

using norvane_tools::program_log_watch;

const std::string line = "[INF] change_exec_state_(): Change exec state. [DOWNLOAD] -> [";

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
    EXPECT_EQ(0, program_log_watch(log).wait_for(line, 1, 0));
}

TEST(program_log_watch_test, returns_when_the_line_is_written_while_it_waits)
{
    temp_dir dir;
    const std::string log = dir.write_file("log", line + "VERIFY] \n");
    std::thread program([&log]() { std::ofstream(log, std::ios::app) << line << "VERIFY] \n"; });
    EXPECT_EQ(0, program_log_watch(log).wait_for(line, 2, 30000));
    program.join();
    EXPECT_EQ(2u, program_log_watch(log).count(line));
}

TEST(program_log_watch_test, gives_up_after_the_time_limit)
{
    temp_dir dir;
    const std::string log = dir.write_file("log", line + "VERIFY] \n");
    EXPECT_EQ(1, program_log_watch(log).wait_for(line, 2, 50));
    EXPECT_EQ(1, program_log_watch(dir.file("missing")).wait_for(line, 1, 50));
}

}  // namespace
}  // namespace norvane_test
