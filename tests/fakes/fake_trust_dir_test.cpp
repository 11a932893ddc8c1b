// The fake trust-folder lookup's knob.
#include "fake_trust_dir.h"

#include "fwupdate_trust_dir.h"

#include <gtest/gtest.h>

#include <cstdlib>

using norvane_fake::fake_trust_dir;

TEST(fake_trust_dir_test, returns_no_folder_after_reset_and_ignores_the_environment)
{
    ::setenv("FWUPDATE_TRUST_DIR", "/from/the/environment", 1);
    fake_trust_dir::reset();
    EXPECT_STREQ("", fwupdate_trust_dir());
    ::unsetenv("FWUPDATE_TRUST_DIR");
}

TEST(fake_trust_dir_test, returns_the_folder_a_test_chose)
{
    fake_trust_dir::set("/tmp/keys");
    EXPECT_STREQ("/tmp/keys", fwupdate_trust_dir());
    fake_trust_dir::reset();
    EXPECT_STREQ("", fwupdate_trust_dir());
}
