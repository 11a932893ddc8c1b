// Waiting for a log line: found at or after an offset, or not within the time.
#include "log_wait.h"

#include "temp_dir.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(log_wait, text_in_the_file_is_found_at_once)
{
    norvane_test::temp_dir dir;
    const std::string log = dir.write_file("program.log", "[INF] a\n[INF] -> [VERIFY] \n");
    EXPECT_TRUE(norvane_test::wait_for_log_text(log, "-> [VERIFY] \n", 5000));
}

TEST(log_wait, text_before_the_offset_does_not_count)
{
    norvane_test::temp_dir dir;
    const std::string log = dir.write_file("program.log", "-> [VERIFY] \nmore\n");
    EXPECT_FALSE(norvane_test::wait_for_log_text(log, "-> [VERIFY] \n", 20, 5));
    EXPECT_TRUE(norvane_test::wait_for_log_text(log, "more", 20, 5));
}

TEST(log_wait, missing_file_or_text_ends_with_the_time)
{
    norvane_test::temp_dir dir;
    EXPECT_FALSE(norvane_test::wait_for_log_text(dir.file("none.log"), "x", 20));
    const std::string log = dir.write_file("program.log", "abc");
    EXPECT_EQ(-1, norvane_test::wait_for_any_log_text(log, {"x", "y"}, 20));
}

TEST(log_wait, any_text_gives_the_index_of_the_first_listed_that_is_there)
{
    norvane_test::temp_dir dir;
    const std::string log = dir.write_file("program.log", "-> [FINISHED] \n-> [VERIFY] \n");
    EXPECT_EQ(1, norvane_test::wait_for_any_log_text(log, {"absent", "-> [FINISHED] \n"}, 20));
    EXPECT_EQ(0, norvane_test::wait_for_any_log_text(log, {"-> [VERIFY] \n", "-> [FINISHED] \n"},
                                                     20));
}

}  // namespace
