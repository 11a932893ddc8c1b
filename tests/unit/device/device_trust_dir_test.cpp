// The device's trust folder is the build option, whatever the environment
// says: on the device, whoever sets the program's environment must not choose
// the keys it trusts.
#include "fwupdate_trust_dir.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

TEST(device_trust_dir_test, is_the_build_option)
{
    ::unsetenv("FWUPDATE_TRUST_DIR");
    EXPECT_STREQ(NORVANE_TEST_TRUST_DIR, fwupdate_trust_dir());
}

TEST(device_trust_dir_test, ignores_the_environment_variable)
{
    ::setenv("FWUPDATE_TRUST_DIR", "/tmp/attacker-keys", 1);
    EXPECT_STREQ(NORVANE_TEST_TRUST_DIR, fwupdate_trust_dir());
    ::setenv("FWUPDATE_TRUST_DIR", "", 1);
    EXPECT_STREQ(NORVANE_TEST_TRUST_DIR, fwupdate_trust_dir());
    ::unsetenv("FWUPDATE_TRUST_DIR");
}

}  // namespace
