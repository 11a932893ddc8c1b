// Signed packages delivered to the real program: a device with a trusted key
// installs only what that key signed, and a device without one behaves
// exactly as before. Keys, manifests and signatures are made here straight
// through OpenSSL (RFC 8032's test keys), independently of the program.
#include "e2e_fixture.h"

#include "bsd_sum.h"
#include "bsd_sum_collision.h"
#include "command_output.h"
#include "delivery_replies.h"
#include "test_signer.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>

namespace norvane_test {
namespace {

using norvane_tools::upload_options;

const char* const MANIFEST = "FW_package.sha256";
const char* const SIGNATURE = "FW_package.sha256.sig";

// What one delivery left behind.
struct delivery {
    std::vector<std::string> replies;
    int exit_status = -2;
    std::string service_log;
    std::string program_log;
    std::string record;
    bool record_written = false;
};

class signed_delivery_test : public e2e_fixture {
protected:
    signed_delivery_test()
        : signer_(RFC8032_TEST1_SECRET_HEX), other_signer_(RFC8032_TEST2_SECRET_HEX),
          files_(sample_files(30000, 2000)),
          description_(package_description(truthful_declarations(files_), "4.2.0", "DEVICE_FIRMWARE"))
    {
    }

    void SetUp() override
    {
        // The program inherits this process's environment: a trust folder
        // reaches it only where a test passes one.
        ::unsetenv("FWUPDATE_TRUST_DIR");
        e2e_fixture::SetUp();
    }

    // A trust folder holding one file per (name, text).
    std::string trust_folder(const std::vector<std::pair<std::string, std::string>>& keys)
    {
        const std::string folder = dir_.file("trust");
        std::filesystem::create_directories(folder);
        for (const auto& key : keys) {
            write_file_bytes(folder + "/" + key.first, key.second);
        }
        return folder;
    }

    // The manifest of files and the description, as fwpkg writes it.
    std::string manifest_of_package(const std::vector<package_file>& files) const
    {
        std::vector<package_file> all = files;
        all.push_back({"FW_package.xml", description_});
        std::sort(all.begin(), all.end(),
                  [](const package_file& a, const package_file& b) { return a.name < b.name; });
        std::string manifest;
        for (const package_file& file : all) {
            manifest += sha256_hex(file.bytes) + "  " + file.name + "\n";
        }
        return manifest;
    }

    // The package's files with a manifest and its signature by signer.
    std::vector<package_file> with_signature(const std::vector<package_file>& files,
                                             const std::string& manifest,
                                             const test_signer& signer) const
    {
        std::vector<package_file> signed_files = files;
        signed_files.push_back({MANIFEST, manifest});
        signed_files.push_back({SIGNATURE, signer.sign(manifest)});
        return signed_files;
    }

    std::vector<package_file> signed_by(const test_signer& signer) const
    {
        return with_signature(files_, manifest_of_package(files_), signer);
    }

    // Runs the program with FWUPDATE_TRUST_DIR set to trust (nullptr: not
    // set), does the handshake, uploads the package and answers as the phone
    // does: a query, then the confirmation when the package was verified.
    delivery deliver(const std::string& package, const char* trust)
    {
        program_options options;
        if (trust != nullptr) {
            options.environment.push_back({"FWUPDATE_TRUST_DIR", trust});
        }
        delivery run;
        replies_.clear();
        if (norvane_tools::program_runner::empty_work_dir() != 0 || start_program(options) != 0) {
            ADD_FAILURE() << "the program did not start";
            return run;
        }
        run.replies.push_back(upload(package, upload_options{}));
        run.replies.push_back(status(1));
        if (run.replies.back() == finished_ok_2) {
            run.replies.push_back(status(2));
        }
        run.exit_status = wait_program();
        run.service_log = service_log();
        run.program_log = program_log();
        run.record_written = record_exists("FIRMWARE_VERSION_DEVICE");
        run.record = run.record_written ? record("FIRMWARE_VERSION_DEVICE") : "";
        return run;
    }

    void expect_delivered(const delivery& run)
    {
        EXPECT_EQ((std::vector<std::string>{upload_ok, finished_ok_2, finished_ok_3}), run.replies);
        EXPECT_EQ(0, run.exit_status);
        EXPECT_EQ("dlstart\ndlfinish 0\n", run.service_log);
        EXPECT_EQ(std::string("4.2.0", 6), run.record);
    }

    // Refused by the sixth check with this one error line: status result 21,
    // dlfinish 1, no record.
    void expect_refused(const delivery& run, const std::string& error_line)
    {
        EXPECT_EQ((std::vector<std::string>{upload_ok, finished_fw_error_2}), run.replies);
        EXPECT_EQ(0, run.exit_status);
        EXPECT_EQ("dlstart\ndlfinish 1\n", run.service_log);
        EXPECT_FALSE(run.record_written);
        EXPECT_NE(std::string::npos,
                  run.program_log.find("[INF] verify(): ##### Success check verify list operation.\n"
                                       "[INF] verify(): ##### Start check signature \n" +
                                       error_line + "[IMP] verify(): ##### Faild Verify process.\n"))
            << run.program_log;
        EXPECT_NE(std::string::npos, run.program_log.find(finish_line(0)));
    }

    test_signer signer_;
    test_signer other_signer_;
    std::vector<package_file> files_;
    std::string description_;
};

std::string signature_error(const std::string& text)
{
    return "[ERR] verify(): Signature check: " + text + "\n";
}

TEST_F(signed_delivery_test, signed_package_and_trusted_key_is_delivered)
{
    const std::string trust = trust_folder({{"release.pem", signer_.public_pem()}});
    const delivery run = deliver(make_package(signed_by(signer_), description_), trust.c_str());

    expect_delivered(run);
    EXPECT_NE(std::string::npos,
              run.program_log.find("[INF] verify(): ##### Start check signature \n"
                                   "[INF] verify(): Signature check: signed by a trusted key. "
                                   "key_file:[" + trust + "/release.pem]\n"
                                   "[INF] verify(): ##### Success check signature operation.\n"
                                   "[IMP] verify(): ##### Success End Verify process.\n"));
    for (const package_file& file : files_) {
        EXPECT_EQ(file.bytes, work_file(file.name));
    }
}

TEST_F(signed_delivery_test, without_a_trust_folder_signed_and_unsigned_packages_run_exactly_as_before)
{
    const std::string empty = dir_.file("empty-trust");
    std::filesystem::create_directories(empty);
    const std::string no_pem = trust_folder({{"release.pub", signer_.public_pem()}, {"README", "keys\n"}});
    const std::string unsigned_package = make_package(files_, description_);
    const std::string signed_package = make_package(signed_by(signer_), description_);

    // The first run, as the program has always run: no trust folder setting.
    state_dir_ = dir_.file("state-baseline");
    const delivery baseline = deliver(unsigned_package, nullptr);
    expect_delivered(baseline);
    EXPECT_EQ(std::string::npos, baseline.program_log.find("ignature"));

    const std::string missing = dir_.file("missing-trust");
    const std::vector<const char*> settings = {"", missing.c_str(), empty.c_str(), no_pem.c_str()};
    for (size_t i = 0; i < settings.size(); ++i) {
        state_dir_ = dir_.file("state-unsigned-" + std::to_string(i));
        const delivery run = deliver(unsigned_package, settings[i]);
        EXPECT_EQ(baseline.replies, run.replies) << "trust [" << settings[i] << "]";
        EXPECT_EQ(baseline.service_log, run.service_log);
        EXPECT_EQ(baseline.record, run.record);
        EXPECT_EQ(split_by_thread(baseline.program_log).main, split_by_thread(run.program_log).main)
            << "trust [" << settings[i] << "]";
        EXPECT_EQ(split_by_thread(baseline.program_log).link, split_by_thread(run.program_log).link);
    }

    // A signed package: the same, its two extra files being undeclared files
    // like any other, which only the folder dump shows.
    state_dir_ = dir_.file("state-signed-baseline");
    const delivery signed_baseline = deliver(signed_package, nullptr);
    expect_delivered(signed_baseline);
    EXPECT_NE(std::string::npos,
              signed_baseline.program_log.find("[IMP] verify(): ##### Success End Verify process.\n"));
    EXPECT_EQ(std::string::npos, signed_baseline.program_log.find("Signature check"));
    for (size_t i = 0; i < settings.size(); ++i) {
        state_dir_ = dir_.file("state-signed-" + std::to_string(i));
        const delivery run = deliver(signed_package, settings[i]);
        EXPECT_EQ(signed_baseline.replies, run.replies);
        EXPECT_EQ(signed_baseline.service_log, run.service_log);
        EXPECT_EQ(split_by_thread(signed_baseline.program_log).main, split_by_thread(run.program_log).main)
            << "trust [" << settings[i] << "]";
        EXPECT_EQ(split_by_thread(signed_baseline.program_log).link, split_by_thread(run.program_log).link);
    }
}

TEST_F(signed_delivery_test, trusted_key_refuses_an_unsigned_package)
{
    const std::string trust = trust_folder({{"release.pem", signer_.public_pem()}});
    expect_refused(deliver(make_package(files_, description_), trust.c_str()),
                   signature_error("the package is not signed. missing_file:[FW_package.sha256]"));
}

TEST_F(signed_delivery_test, trusted_key_refuses_a_signature_by_another_key)
{
    const std::string trust = trust_folder({{"release.pem", signer_.public_pem()}});
    expect_refused(deliver(make_package(signed_by(other_signer_), description_), trust.c_str()),
                   signature_error("no trusted key verifies the signature. "
                                   "file:[FW_package.sha256.sig] trusted_keys:[1]"));
}

TEST_F(signed_delivery_test, file_changed_with_the_same_size_and_sum_is_accepted_without_a_key_and_refused_with_one)
{
    // The weakness: main_firmware.bin's last three bytes changed so that its
    // size and BSD sum, all that FW_package.xml declares, stay the same.
    std::vector<package_file> tampered = signed_by(signer_);
    const std::string original = files_[0].bytes;
    const std::string changed = same_sum_change(original);
    ASSERT_NE("", changed);
    ASSERT_NE(original, changed);
    ASSERT_EQ(original.size(), changed.size());
    ASSERT_EQ(bsd_sum_text(original), bsd_sum_text(changed));
    tampered[0].bytes = changed;
    const std::string package = make_package(tampered, description_);

    state_dir_ = dir_.file("state-without-key");
    const delivery accepted = deliver(package, "");
    expect_delivered(accepted);
    EXPECT_EQ(changed, work_file("main_firmware.bin")) << "the changed file was installed";

    state_dir_ = dir_.file("state-with-key");
    const std::string trust = trust_folder({{"release.pem", signer_.public_pem()}});
    const delivery refused = deliver(package, trust.c_str());
    expect_refused(refused,
                   "[INF] verify(): Signature check: signed by a trusted key. key_file:[" + trust +
                       "/release.pem]\n" +
                       signature_error("the SHA-256 does not match. file:[main_firmware.bin] manifest:[" +
                                       sha256_hex(original) + "] actual:[" + sha256_hex(changed) + "]"));
}

TEST_F(signed_delivery_test, file_missing_from_the_manifest_is_refused)
{
    // An added file that FW_package.xml does not declare either: the five
    // stages ignore it, the manifest does not.
    std::vector<package_file> files = signed_by(signer_);
    files.push_back({"extra_tool.sh", "#!/bin/sh\necho added\n"});
    const std::string trust = trust_folder({{"release.pem", signer_.public_pem()}});
    expect_refused(deliver(make_package(files, description_), trust.c_str()),
                   "[INF] verify(): Signature check: signed by a trusted key. key_file:[" + trust +
                       "/release.pem]\n" +
                       signature_error("the file is not listed in the manifest. file:[extra_tool.sh]"));
}

TEST_F(signed_delivery_test, manifest_naming_a_missing_file_is_refused)
{
    // The signer listed a file that is not in the package (nor declared).
    std::vector<package_file> listed = files_;
    listed.push_back({"language_pack.bin", "never shipped"});
    const std::vector<package_file> files = with_signature(files_, manifest_of_package(listed), signer_);
    const std::string trust = trust_folder({{"release.pem", signer_.public_pem()}});
    expect_refused(deliver(make_package(files, description_), trust.c_str()),
                   "[INF] verify(): Signature check: signed by a trusted key. key_file:[" + trust +
                       "/release.pem]\n" +
                       signature_error("the listed file is missing. file:[language_pack.bin]"));
}

TEST_F(signed_delivery_test, flipped_bit_in_the_signature_is_refused)
{
    std::vector<package_file> files = signed_by(signer_);
    std::string& signature = files.back().bytes;
    signature[40] = static_cast<char>(signature[40] ^ 0x01);
    const std::string trust = trust_folder({{"release.pem", signer_.public_pem()}});
    expect_refused(deliver(make_package(files, description_), trust.c_str()),
                   signature_error("no trusted key verifies the signature. "
                                   "file:[FW_package.sha256.sig] trusted_keys:[1]"));
}

TEST_F(signed_delivery_test, invalid_key_file_in_the_trust_folder_refuses_even_a_well_signed_package)
{
    const std::string trust = trust_folder({{"release.pem", signer_.public_pem()},
                                            {"stray.pem", signer_.private_pem()}});
    expect_refused(deliver(make_package(signed_by(signer_), description_), trust.c_str()),
                   signature_error("a trusted key file cannot be used. key_file:[" + trust +
                                   "/stray.pem] reason:[holds no PEM public key]"));
}

TEST_F(signed_delivery_test, simulator_passes_its_trust_folder_to_the_program)
{
    const std::string trust = trust_folder({{"release.pem", signer_.public_pem()}});
    const std::string signed_zip = dir_.write_file("signed.zip", make_package(signed_by(signer_), description_));
    const std::string unsigned_zip = dir_.write_file("unsigned.zip", make_package(files_, description_));
    const std::string mobile = std::string(FWUPDATE_MOBILE_BINARY) + " --plain --run '" +
                               program_binary() + "' --socket '" + dir_.file("mobile.sock") +
                               "' --state-dir '" + dir_.file("mobile-state") + "' --program-log '" +
                               dir_.file("mobile-program.log") + "'";
    const char* launcher = std::getenv("FWUPDATE_E2E_LAUNCHER");
    const std::string launch = launcher != nullptr ? " --launcher '" + std::string(launcher) + "'" : "";

    const command_output delivered =
        run_command(mobile + launch + " --trust-dir '" + trust + "' deliver '" + signed_zip + "'");
    EXPECT_EQ(0, delivered.status) << delivered.out << delivered.err;
    EXPECT_NE(std::string::npos, read_file_bytes(dir_.file("mobile-program.log"))
                                     .find("[INF] verify(): Signature check: signed by a trusted key. "
                                           "key_file:[" + trust + "/release.pem]\n"));

    const command_output refused =
        run_command(mobile + launch + " --trust-dir '" + trust + "' deliver '" + unsigned_zip + "'");
    EXPECT_EQ(1, refused.status) << refused.out << refused.err;
    EXPECT_NE(std::string::npos,
              read_file_bytes(dir_.file("mobile-program.log"))
                  .find(signature_error("the package is not signed. missing_file:[FW_package.sha256]")));

    // An empty folder name: no trust folder, as on a device without keys.
    const command_output without_keys =
        run_command(mobile + launch + " --trust-dir '' deliver '" + unsigned_zip + "'");
    EXPECT_EQ(0, without_keys.status) << without_keys.out << without_keys.err;
    const std::string log = read_file_bytes(dir_.file("mobile-program.log"));
    EXPECT_NE(std::string::npos, log.find("[IMP] verify(): ##### Success End Verify process.\n")) << log;
    EXPECT_EQ(std::string::npos, log.find("Signature check")) << log;
}

}  // namespace
}  // namespace norvane_test
