// The host platform's service log and fault list.
#include "host_update_log.h"

#include "temp_dir.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <unistd.h>

using norvane::host_update_log;

namespace {

class host_update_log_test : public testing::Test {
protected:
    void SetUp() override
    {
        ::setenv("FWUPDATE_STATE_DIR", dir_.path().c_str(), 1);
        ::unsetenv("FWUPDATE_FAULTS");
    }
    void TearDown() override
    {
        ::unsetenv("FWUPDATE_FAULTS");
        ::unsetenv("FWUPDATE_STATE_DIR");
    }
    std::string log_text() const { return norvane_test::read_file_bytes(dir_.file("update-service.log")); }

    norvane_test::temp_dir dir_;
};

TEST_F(host_update_log_test, state_dir_defaults_to_tmp_fwupdate_state)
{
    ::unsetenv("FWUPDATE_STATE_DIR");
    EXPECT_EQ("/tmp/fwupdate-state", host_update_log::state_dir());
    ::setenv("FWUPDATE_STATE_DIR", "", 1);
    EXPECT_EQ("/tmp/fwupdate-state", host_update_log::state_dir());
}

TEST_F(host_update_log_test, state_dir_follows_environment)
{
    EXPECT_EQ(dir_.path(), host_update_log::state_dir());
}

TEST_F(host_update_log_test, append_adds_one_line_each)
{
    EXPECT_EQ(0, host_update_log::append("one"));
    EXPECT_EQ(0, host_update_log::append("two"));
    EXPECT_EQ("one\ntwo\n", log_text());
}

TEST_F(host_update_log_test, is_fault_matches_whole_names_only)
{
    ::setenv("FWUPDATE_FAULTS", "dlstart,aoa_send", 1);
    EXPECT_EQ(1, host_update_log::is_fault("dlstart"));
    EXPECT_EQ(1, host_update_log::is_fault("aoa_send"));
    EXPECT_EQ(0, host_update_log::is_fault("dlfinish"));
    EXPECT_EQ(0, host_update_log::is_fault("dl"));
    EXPECT_EQ(0, host_update_log::is_fault("aoa_sen"));
    EXPECT_EQ(0, host_update_log::is_fault("dlstart,aoa_send"));
}

TEST_F(host_update_log_test, is_fault_ignores_blanks_and_empty_names)
{
    ::setenv("FWUPDATE_FAULTS", " flopen , ,flclose,", 1);
    EXPECT_EQ(1, host_update_log::is_fault("flopen"));
    EXPECT_EQ(1, host_update_log::is_fault("flclose"));
    EXPECT_EQ(0, host_update_log::is_fault("flwrite"));
}

TEST_F(host_update_log_test, nothing_is_a_fault_without_the_variable)
{
    EXPECT_EQ(0, host_update_log::is_fault("dlstart"));
    ::setenv("FWUPDATE_FAULTS", "", 1);
    EXPECT_EQ(0, host_update_log::is_fault("dlstart"));
}

TEST_F(host_update_log_test, take_fault_logs_only_named_calls)
{
    ::setenv("FWUPDATE_FAULTS", "aoa_connect", 1);
    EXPECT_EQ(0, host_update_log::take_fault("aoa_send"));
    EXPECT_EQ(1, host_update_log::take_fault("aoa_connect"));
    EXPECT_EQ("aoa_connect fault\n", log_text());
}

TEST_F(host_update_log_test, make_dirs_creates_parents)
{
    EXPECT_EQ(0, host_update_log::make_dirs(dir_.file("x/y/z")));
    EXPECT_EQ(0, host_update_log::make_dirs(dir_.file("x/y/z")));  // already there
    EXPECT_EQ(0, host_update_log::append("line"));
    EXPECT_EQ(0, ::access(dir_.file("x/y/z").c_str(), W_OK));
}

TEST_F(host_update_log_test, make_dirs_fails_on_a_file_in_the_way)
{
    dir_.write_file("blocker", "x");
    EXPECT_EQ(1, host_update_log::make_dirs(dir_.file("blocker")));
    EXPECT_EQ(1, host_update_log::make_dirs(dir_.file("blocker/below")));
    EXPECT_EQ(1, host_update_log::make_dirs(""));
}

}  // namespace
