// Whole-file reads under a size limit.
#include "qav_mnt_fwupdate_lib_bounded_read.h"

#include "temp_dir.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using norvane::qav_mnt_fwupdate_lib_bounded_read;

TEST(qav_mnt_fwupdate_lib_bounded_read, file_at_the_limit_is_read_whole)
{
    norvane_test::temp_dir dir;
    const std::string bytes("ab\0cd", 5);
    std::string text;
    std::string reason;
    EXPECT_EQ(qav_mnt_fwupdate_lib_bounded_read::READ_OK,
              qav_mnt_fwupdate_lib_bounded_read().read(dir.write_file("f", bytes), 5, text, reason));
    EXPECT_EQ(bytes, text);
}

TEST(qav_mnt_fwupdate_lib_bounded_read, empty_file_is_read)
{
    norvane_test::temp_dir dir;
    std::string text = "before";
    std::string reason;
    EXPECT_EQ(qav_mnt_fwupdate_lib_bounded_read::READ_OK,
              qav_mnt_fwupdate_lib_bounded_read().read(dir.write_file("f", ""), 5, text, reason));
    EXPECT_EQ("", text);
}

TEST(qav_mnt_fwupdate_lib_bounded_read, file_over_the_limit_is_too_large_and_leaves_the_text)
{
    norvane_test::temp_dir dir;
    std::string text = "before";
    std::string reason;
    EXPECT_EQ(qav_mnt_fwupdate_lib_bounded_read::READ_TOO_LARGE,
              qav_mnt_fwupdate_lib_bounded_read().read(dir.write_file("f", "123456"), 5, text, reason));
    EXPECT_EQ("before", text);
}

TEST(qav_mnt_fwupdate_lib_bounded_read, missing_file_fails_with_the_reason)
{
    norvane_test::temp_dir dir;
    std::string text = "before";
    std::string reason;
    EXPECT_EQ(qav_mnt_fwupdate_lib_bounded_read::READ_FAILED,
              qav_mnt_fwupdate_lib_bounded_read().read(dir.file("none"), 5, text, reason));
    EXPECT_EQ("No such file or directory", reason);
    EXPECT_EQ("before", text);
}

TEST(qav_mnt_fwupdate_lib_bounded_read, folder_fails_with_the_reason)
{
    norvane_test::temp_dir dir;
    std::string text = "before";
    std::string reason;
    EXPECT_EQ(qav_mnt_fwupdate_lib_bounded_read::READ_FAILED,
              qav_mnt_fwupdate_lib_bounded_read().read(dir.path(), 5, text, reason));
    EXPECT_EQ("Is a directory", reason);
    EXPECT_EQ("before", text);
}

}  // namespace
