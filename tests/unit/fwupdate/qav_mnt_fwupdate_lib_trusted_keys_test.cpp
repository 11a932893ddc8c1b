// The trust folder's keys: which files are keys, which signer a signature
// belongs to, and the problems kept for failing closed.
#include "qav_mnt_fwupdate_lib_trusted_keys.h"

#include "temp_dir.h"
#include "test_signer.h"

#include <gtest/gtest.h>

#include <string>
#include <sys/stat.h>

namespace {

using norvane::qav_mnt_fwupdate_lib_trusted_keys;
using norvane_test::test_signer;

class trusted_keys_test : public testing::Test {
protected:
    trusted_keys_test()
        : signer_(norvane_test::RFC8032_TEST1_SECRET_HEX),
          other_signer_(norvane_test::RFC8032_TEST2_SECRET_HEX)
    {
    }

    norvane_test::temp_dir dir_;
    test_signer signer_;
    test_signer other_signer_;
};

TEST_F(trusted_keys_test, no_folder_holds_no_keys_and_no_problems)
{
    qav_mnt_fwupdate_lib_trusted_keys keys;
    for (const std::string& folder : {std::string(), dir_.file("missing"), dir_.path()}) {
        keys.load(folder);
        EXPECT_EQ(0u, keys.size()) << folder;
        EXPECT_TRUE(keys.problems().empty()) << folder;
    }
}

TEST_F(trusted_keys_test, only_pem_files_are_keys)
{
    dir_.write_file("a.pem", signer_.public_pem());
    dir_.write_file("b.pub", other_signer_.public_pem());
    dir_.write_file("c.pem.disabled", other_signer_.public_pem());
    qav_mnt_fwupdate_lib_trusted_keys keys;
    keys.load(dir_.path());
    EXPECT_EQ(1u, keys.size());
    EXPECT_TRUE(keys.problems().empty());
}

TEST_F(trusted_keys_test, signer_is_the_key_file_that_verifies)
{
    dir_.write_file("a.pem", other_signer_.public_pem());
    dir_.write_file("b.pem", signer_.public_pem());
    qav_mnt_fwupdate_lib_trusted_keys keys;
    keys.load(dir_.path());
    ASSERT_EQ(2u, keys.size());

    std::string key_path;
    ASSERT_EQ(0, keys.find_signer("manifest", signer_.sign("manifest"), key_path));
    EXPECT_EQ(dir_.file("b.pem"), key_path);
    std::string fingerprint;
    ASSERT_EQ(0, keys.fingerprint(key_path, fingerprint));
    EXPECT_EQ(norvane_test::sha256_hex(norvane_test::bytes_from_hex("302a300506032b6570032100") +
                                       norvane_test::bytes_from_hex(
                                           "d75a980182b10ab7d54bfed3c964073a0ee172f3daa62325af021a68f707511a")),
              fingerprint);
}

TEST_F(trusted_keys_test, signature_of_an_untrusted_key_has_no_signer)
{
    dir_.write_file("a.pem", signer_.public_pem());
    qav_mnt_fwupdate_lib_trusted_keys keys;
    keys.load(dir_.path());
    std::string key_path = "untouched";
    EXPECT_EQ(1, keys.find_signer("manifest", other_signer_.sign("manifest"), key_path));
    EXPECT_EQ("untouched", key_path);
    std::string fingerprint;
    EXPECT_EQ(1, keys.fingerprint(dir_.file("b.pem"), fingerprint));
}

TEST_F(trusted_keys_test, unusable_key_files_are_problems_in_name_order)
{
    dir_.write_file("b-empty.pem", "");
    dir_.write_file("a-good.pem", signer_.public_pem());
    dir_.write_file("c-private.pem", signer_.private_pem());
    qav_mnt_fwupdate_lib_trusted_keys keys;
    keys.load(dir_.path());
    EXPECT_EQ(1u, keys.size());
    ASSERT_EQ(2u, keys.problems().size());
    EXPECT_FALSE(keys.problems()[0].folder);
    EXPECT_EQ(dir_.file("b-empty.pem"), keys.problems()[0].path);
    EXPECT_EQ("holds no PEM public key", keys.problems()[0].reason);
    EXPECT_EQ(dir_.file("c-private.pem"), keys.problems()[1].path);
}

TEST_F(trusted_keys_test, trust_path_that_is_a_file_is_a_folder_problem)
{
    const std::string file = dir_.write_file("keys", signer_.public_pem());
    qav_mnt_fwupdate_lib_trusted_keys keys;
    keys.load(file);
    EXPECT_EQ(0u, keys.size());
    ASSERT_EQ(1u, keys.problems().size());
    EXPECT_TRUE(keys.problems()[0].folder);
    EXPECT_EQ(file, keys.problems()[0].path);
    EXPECT_EQ("Not a directory", keys.problems()[0].reason);
}

TEST_F(trusted_keys_test, loading_again_replaces_what_was_read)
{
    dir_.write_file("a.pem", "");
    qav_mnt_fwupdate_lib_trusted_keys keys;
    keys.load(dir_.path());
    EXPECT_EQ(1u, keys.problems().size());
    keys.load("");
    EXPECT_EQ(0u, keys.size());
    EXPECT_TRUE(keys.problems().empty());
}

}  // namespace
