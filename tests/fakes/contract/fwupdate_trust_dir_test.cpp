// Contract of the trust-folder lookup, built against the host platform, the
// device's implementation and the test fake: all three must pass.
#include <gtest/gtest.h>

#include <string>

#include "fwupdate_trust_dir.h"

TEST(fwupdate_trust_dir_contract, answers_no_folder_or_an_absolute_path)
{
    const char* folder = fwupdate_trust_dir();
    ASSERT_NE(nullptr, folder);
    const std::string text = folder;
    EXPECT_TRUE(text.empty() || text[0] == '/') << text;
}

TEST(fwupdate_trust_dir_contract, answers_the_same_folder_every_time)
{
    const std::string first = fwupdate_trust_dir();
    EXPECT_EQ(first, std::string(fwupdate_trust_dir()));
}
