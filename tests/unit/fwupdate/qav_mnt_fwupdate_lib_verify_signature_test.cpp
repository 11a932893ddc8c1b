// The signature check on extracted folders: which trust folders make it run,
// a signed folder that passes, and every way it fails, each with its one
// exact log line. Manifests and signatures are made here straight through
// OpenSSL with RFC 8032's test keys, independently of the program's code.
#include "qav_mnt_fwupdate_lib_verify_signature.h"

#include "temp_dir.h"
#include "test_signer.h"

#include <gtest/gtest.h>

#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

using norvane::qav_mnt_fwupdate_lib_verify_signature;
using norvane_test::test_signer;

const char* const ZIP_NAME = "qav_mnt_fwpackage.zip";

class verify_signature_test : public testing::Test {
protected:
    verify_signature_test()
        : folder_(dir_.file("update")), trust_(dir_.file("trust")), zip_(folder_ + "/" + ZIP_NAME),
          signer_(norvane_test::RFC8032_TEST1_SECRET_HEX),
          other_signer_(norvane_test::RFC8032_TEST2_SECRET_HEX)
    {
        ::mkdir(folder_.c_str(), 0755);
        ::mkdir(trust_.c_str(), 0755);
        // The stored package lies in the folder, as on the device.
        norvane_test::write_file_bytes(zip_, "PK stored package");
    }

    void add(const std::string& name, const std::string& bytes)
    {
        norvane_test::write_file_bytes(folder_ + "/" + name, bytes);
    }

    void trust(const std::string& name, const std::string& text)
    {
        norvane_test::write_file_bytes(trust_ + "/" + name, text);
    }

    // A package of three files and the manifest of all of them.
    std::string add_files_and_manifest()
    {
        add("FW_package.xml", "<firmware_package/>");
        add("a.bin", "firmware A");
        add("b.bin", "firmware B");
        const std::string manifest =
            norvane_test::manifest_of(folder_, {"FW_package.xml", "a.bin", "b.bin"});
        add("FW_package.sha256", manifest);
        return manifest;
    }

    void sign_with(const test_signer& signer, const std::string& manifest)
    {
        add("FW_package.sha256.sig", signer.sign(manifest));
    }

    // Loads the trust folder, runs the check and keeps its log.
    int run_check(const std::string& trust_folder)
    {
        qav_mnt_fwupdate_lib_verify_signature signature;
        signature.load_trusted_keys(trust_folder);
        required_ = signature.required();
        testing::internal::CaptureStderr();
        const int result = signature.check(zip_, folder_);
        log_ = testing::internal::GetCapturedStderr();
        return result;
    }

    int run_check() { return run_check(trust_); }

    bool required(const std::string& trust_folder)
    {
        qav_mnt_fwupdate_lib_verify_signature signature;
        signature.load_trusted_keys(trust_folder);
        return signature.required();
    }

    static std::string err(const std::string& text)
    {
        return "[ERR] verify(): Signature check: " + text + "\n";
    }

    // The line of a signature verified by the trust folder's release.pem.
    std::string signed_line() const
    {
        return "[INF] verify(): Signature check: signed by a trusted key. key_file:[" + trust_ +
               "/release.pem]\n";
    }

    norvane_test::temp_dir dir_;
    std::string folder_;
    std::string trust_;
    std::string zip_;
    test_signer signer_;
    test_signer other_signer_;
    bool required_ = false;
    std::string log_;
};

TEST_F(verify_signature_test, no_trust_folder_means_no_check)
{
    EXPECT_FALSE(required(""));
    EXPECT_FALSE(required(dir_.file("not-there")));
    EXPECT_FALSE(required(trust_));
}

TEST_F(verify_signature_test, files_other_than_pem_are_not_keys)
{
    trust("README", "keys go here\n");
    trust("release.pub", signer_.public_pem());
    trust("release.pem.bak", signer_.public_pem());
    EXPECT_FALSE(required(trust_));
}

TEST_F(verify_signature_test, one_key_file_makes_the_check_run)
{
    trust("release.pem", signer_.public_pem());
    EXPECT_TRUE(required(trust_));
}

TEST_F(verify_signature_test, signed_folder_passes_and_names_the_key)
{
    trust("release.pem", signer_.public_pem());
    sign_with(signer_, add_files_and_manifest());

    EXPECT_EQ(0, run_check());
    EXPECT_TRUE(required_);
    EXPECT_EQ(signed_line(), log_);
}

TEST_F(verify_signature_test, any_trusted_key_may_have_signed)
{
    trust("a-old.pem", other_signer_.public_pem());
    trust("b-new.pem", signer_.public_pem());
    sign_with(signer_, add_files_and_manifest());

    EXPECT_EQ(0, run_check());
    EXPECT_EQ("[INF] verify(): Signature check: signed by a trusted key. key_file:[" + trust_ +
                  "/b-new.pem]\n",
              log_);
}

TEST_F(verify_signature_test, unusable_key_file_fails_every_check)
{
    trust("release.pem", signer_.public_pem());
    trust("broken.pem", "not a key\n");
    sign_with(signer_, add_files_and_manifest());

    EXPECT_EQ(1, run_check());
    EXPECT_EQ(err("a trusted key file cannot be used. key_file:[" + trust_ +
                  "/broken.pem] reason:[holds no PEM public key]"),
              log_);
}

TEST_F(verify_signature_test, each_unusable_key_file_is_named_once)
{
    trust("a-private.pem", signer_.private_pem());
    trust("b-huge.pem", std::string(16 * 1024 + 1, 'k'));
    ::mkdir((trust_ + "/c-folder.pem").c_str(), 0755);
    trust("d-good.pem", signer_.public_pem());
    sign_with(signer_, add_files_and_manifest());

    EXPECT_EQ(1, run_check());
    EXPECT_TRUE(required_);
    EXPECT_EQ(err("a trusted key file cannot be used. key_file:[" + trust_ +
                  "/a-private.pem] reason:[holds no PEM public key]") +
                  err("a trusted key file cannot be used. key_file:[" + trust_ +
                      "/b-huge.pem] reason:[larger than 16384 bytes]") +
                  err("a trusted key file cannot be used. key_file:[" + trust_ +
                      "/c-folder.pem] reason:[Is a directory]"),
              log_);
}

TEST_F(verify_signature_test, dangling_key_link_fails_every_check)
{
    ASSERT_EQ(0, ::symlink((trust_ + "/gone").c_str(), (trust_ + "/release.pem").c_str()));
    EXPECT_TRUE(required(trust_));
    EXPECT_EQ(1, run_check());
    EXPECT_EQ(err("a trusted key file cannot be used. key_file:[" + trust_ +
                  "/release.pem] reason:[No such file or directory]"),
              log_);
}

TEST_F(verify_signature_test, trust_path_that_is_not_a_folder_fails_closed)
{
    const std::string file = dir_.write_file("trust-file", "x");
    EXPECT_TRUE(required(file));
    sign_with(signer_, add_files_and_manifest());
    EXPECT_EQ(1, run_check(file));
    EXPECT_EQ(err("the trust folder cannot be read. trust_dir:[" + file + "] reason:[Not a directory]"),
              log_);
}

TEST_F(verify_signature_test, unsigned_folder_fails)
{
    trust("release.pem", signer_.public_pem());
    add("a.bin", "firmware A");

    EXPECT_EQ(1, run_check());
    EXPECT_EQ(err("the package is not signed. missing_file:[FW_package.sha256]"), log_);
}

TEST_F(verify_signature_test, manifest_without_signature_fails)
{
    trust("release.pem", signer_.public_pem());
    add_files_and_manifest();

    EXPECT_EQ(1, run_check());
    EXPECT_EQ(err("the package is not signed. missing_file:[FW_package.sha256.sig]"), log_);
}

TEST_F(verify_signature_test, signature_by_another_key_fails)
{
    trust("release.pem", signer_.public_pem());
    sign_with(other_signer_, add_files_and_manifest());

    EXPECT_EQ(1, run_check());
    EXPECT_EQ(err("no trusted key verifies the signature. file:[FW_package.sha256.sig] "
                  "trusted_keys:[1]"),
              log_);
}

TEST_F(verify_signature_test, flipped_bit_in_the_signature_fails)
{
    trust("release.pem", signer_.public_pem());
    std::string signature = signer_.sign(add_files_and_manifest());
    signature[17] = static_cast<char>(signature[17] ^ 0x04);
    add("FW_package.sha256.sig", signature);

    EXPECT_EQ(1, run_check());
    EXPECT_EQ(err("no trusted key verifies the signature. file:[FW_package.sha256.sig] "
                  "trusted_keys:[1]"),
              log_);
}

TEST_F(verify_signature_test, changed_manifest_fails_on_the_signature)
{
    trust("release.pem", signer_.public_pem());
    const std::string manifest = add_files_and_manifest();
    sign_with(signer_, manifest);
    add("FW_package.sha256", manifest + " ");

    EXPECT_EQ(1, run_check());
    EXPECT_EQ(err("no trusted key verifies the signature. file:[FW_package.sha256.sig] "
                  "trusted_keys:[1]"),
              log_);
}

TEST_F(verify_signature_test, signature_of_the_wrong_size_fails)
{
    trust("release.pem", signer_.public_pem());
    const std::string signature = signer_.sign(add_files_and_manifest());
    for (const std::string& wrong : {signature.substr(0, 63), signature + "x", std::string()}) {
        add("FW_package.sha256.sig", wrong);
        EXPECT_EQ(1, run_check());
        EXPECT_EQ(err("the signature is not 64 bytes. file:[FW_package.sha256.sig]"), log_);
    }
}

TEST_F(verify_signature_test, manifest_over_the_limit_fails_before_it_is_read_whole)
{
    trust("release.pem", signer_.public_pem());
    add("FW_package.sha256", std::string(qav_mnt_fwupdate_lib_verify_signature::MAX_MANIFEST_SIZE + 1, 'x'));
    add("FW_package.sha256.sig", std::string(64, 's'));

    EXPECT_EQ(1, run_check());
    EXPECT_EQ(err("the manifest is too large. file:[FW_package.sha256] limit:[4194304]"), log_);
}

TEST_F(verify_signature_test, manifest_that_is_a_folder_cannot_be_read)
{
    trust("release.pem", signer_.public_pem());
    ::mkdir((folder_ + "/FW_package.sha256").c_str(), 0755);
    add("FW_package.sha256.sig", std::string(64, 's'));

    EXPECT_EQ(1, run_check());
    EXPECT_EQ(err("the file cannot be read. file:[FW_package.sha256] reason:[Is a directory]"), log_);
}

TEST_F(verify_signature_test, signature_that_is_a_folder_cannot_be_read)
{
    trust("release.pem", signer_.public_pem());
    add_files_and_manifest();
    ::mkdir((folder_ + "/FW_package.sha256.sig").c_str(), 0755);

    EXPECT_EQ(1, run_check());
    EXPECT_EQ(err("the file cannot be read. file:[FW_package.sha256.sig] reason:[Is a directory]"),
              log_);
}

TEST_F(verify_signature_test, signed_but_malformed_manifest_fails_with_its_line)
{
    trust("release.pem", signer_.public_pem());
    add("a.bin", "firmware A");
    const std::string manifest = norvane_test::manifest_of(folder_, {"a.bin"});
    const std::string crlf = manifest.substr(0, manifest.size() - 1) + "\r\n";
    add("FW_package.sha256", crlf);
    sign_with(signer_, crlf);

    EXPECT_EQ(1, run_check());
    EXPECT_EQ(signed_line() + err("the manifest is malformed. file:[FW_package.sha256] line:[1] reason:[the line "
                  "ends in a carriage return (CRLF line ends)]"),
              log_);
}

TEST_F(verify_signature_test, file_missing_from_the_manifest_fails)
{
    trust("release.pem", signer_.public_pem());
    sign_with(signer_, add_files_and_manifest());
    add("extra.bin", "slipped in");

    EXPECT_EQ(1, run_check());
    EXPECT_EQ(signed_line() + err("the file is not listed in the manifest. file:[extra.bin]"), log_);
}

TEST_F(verify_signature_test, manifest_naming_a_missing_file_fails)
{
    trust("release.pem", signer_.public_pem());
    sign_with(signer_, add_files_and_manifest());
    ASSERT_EQ(0, ::unlink((folder_ + "/a.bin").c_str()));

    EXPECT_EQ(1, run_check());
    EXPECT_EQ(signed_line() + err("the listed file is missing. file:[a.bin]"), log_);
}

TEST_F(verify_signature_test, manifest_naming_a_missing_last_file_fails)
{
    trust("release.pem", signer_.public_pem());
    sign_with(signer_, add_files_and_manifest());
    ASSERT_EQ(0, ::unlink((folder_ + "/b.bin").c_str()));

    EXPECT_EQ(1, run_check());
    EXPECT_EQ(signed_line() + err("the listed file is missing. file:[b.bin]"), log_);
}

TEST_F(verify_signature_test, manifest_listing_a_signature_file_fails)
{
    trust("release.pem", signer_.public_pem());
    add("a.bin", "firmware A");
    add("FW_package.sha256.sig", std::string(64, 's'));
    const std::string manifest =
        norvane_test::manifest_of(folder_, {"FW_package.sha256.sig", "a.bin"});
    add("FW_package.sha256", manifest);
    sign_with(signer_, manifest);

    EXPECT_EQ(1, run_check());
    EXPECT_EQ(signed_line() + err("the manifest lists a file that is not checked. file:[FW_package.sha256.sig]"),
              log_);
}

TEST_F(verify_signature_test, manifest_listing_the_stored_zip_fails)
{
    trust("release.pem", signer_.public_pem());
    add("a.bin", "firmware A");
    const std::string manifest = norvane_test::manifest_of(folder_, {"a.bin", ZIP_NAME});
    add("FW_package.sha256", manifest);
    sign_with(signer_, manifest);

    EXPECT_EQ(1, run_check());
    EXPECT_EQ(signed_line() + err("the manifest lists a file that is not checked. file:[qav_mnt_fwpackage.zip]"),
              log_);
}

TEST_F(verify_signature_test, changed_file_of_the_same_size_fails_on_its_hash)
{
    trust("release.pem", signer_.public_pem());
    sign_with(signer_, add_files_and_manifest());
    add("b.bin", "firmware C");

    EXPECT_EQ(1, run_check());
    EXPECT_EQ(signed_line() + err("the SHA-256 does not match. file:[b.bin] manifest:[" +
                  norvane_test::sha256_hex("firmware B") + "] actual:[" +
                  norvane_test::sha256_hex("firmware C") + "]"),
              log_);
}

TEST_F(verify_signature_test, folder_in_the_extraction_folder_fails)
{
    trust("release.pem", signer_.public_pem());
    sign_with(signer_, add_files_and_manifest());
    ::mkdir((folder_ + "/sub").c_str(), 0755);

    EXPECT_EQ(1, run_check());
    EXPECT_EQ(signed_line() + err("the file is not a regular file. file:[sub]"), log_);
}

TEST_F(verify_signature_test, link_in_the_extraction_folder_fails_even_when_listed)
{
    trust("release.pem", signer_.public_pem());
    add("FW_package.xml", "<firmware_package/>");
    add("target.bin", "firmware");
    ASSERT_EQ(0, ::symlink((folder_ + "/target.bin").c_str(), (folder_ + "/a.bin").c_str()));
    const std::string manifest =
        norvane_test::manifest_of(folder_, {"FW_package.xml", "a.bin", "target.bin"});
    add("FW_package.sha256", manifest);
    sign_with(signer_, manifest);

    EXPECT_EQ(1, run_check());
    EXPECT_EQ(signed_line() + err("the file is not a regular file. file:[a.bin]"), log_);
}

TEST_F(verify_signature_test, extraction_folder_that_cannot_be_read_fails)
{
    trust("release.pem", signer_.public_pem());
    qav_mnt_fwupdate_lib_verify_signature signature;
    signature.load_trusted_keys(trust_);
    const std::string missing = dir_.file("gone");

    testing::internal::CaptureStderr();
    EXPECT_EQ(1, signature.check(missing + "/" + ZIP_NAME, missing));
    EXPECT_EQ(err("the extraction folder cannot be read. folder_path:[" + missing +
                  "] reason:[No such file or directory]"),
              testing::internal::GetCapturedStderr());
}

TEST_F(verify_signature_test, signature_is_checked_before_the_folder_is_judged)
{
    trust("release.pem", signer_.public_pem());
    sign_with(other_signer_, add_files_and_manifest());
    ::mkdir((folder_ + "/sub").c_str(), 0755);
    add("extra.bin", "slipped in");

    EXPECT_EQ(1, run_check());
    EXPECT_EQ(err("no trusted key verifies the signature. file:[FW_package.sha256.sig] "
                  "trusted_keys:[1]"),
              log_);
}

}  // namespace
