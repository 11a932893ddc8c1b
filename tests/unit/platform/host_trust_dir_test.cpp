// The host's trust folder: the environment moves it, the build option is the
// fallback.
#include "fwupdate_trust_dir.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

class host_trust_dir_test : public testing::Test {
protected:
    void TearDown() override { ::unsetenv("FWUPDATE_TRUST_DIR"); }
};

TEST_F(host_trust_dir_test, without_the_variable_is_the_build_option)
{
    ::unsetenv("FWUPDATE_TRUST_DIR");
    EXPECT_STREQ(NORVANE_TEST_TRUST_DIR, fwupdate_trust_dir());
}

TEST_F(host_trust_dir_test, follows_the_environment_variable)
{
    ::setenv("FWUPDATE_TRUST_DIR", "/tmp/some keys", 1);
    EXPECT_STREQ("/tmp/some keys", fwupdate_trust_dir());
}

TEST_F(host_trust_dir_test, an_empty_variable_means_no_trust_folder)
{
    ::setenv("FWUPDATE_TRUST_DIR", "", 1);
    EXPECT_STREQ("", fwupdate_trust_dir());
}

}  // namespace
