// Complete deliveries of real packages to the real program.
#include "e2e_fixture.h"

#include "bsd_sum.h"
#include "delivery_replies.h"
#include "mobile_packet.h"

#include <filesystem>

namespace norvane_test {
namespace {

using norvane_tools::upload_options;

class delivery_test : public e2e_fixture {
protected:
    // Upload, one query (finished) and the confirmation, all answered OK.
    void deliver_successfully(const std::string& package, const upload_options& options)
    {
        ASSERT_EQ(0, start_program());
        EXPECT_EQ(upload_ok, upload(package, options));
        EXPECT_EQ(finished_ok_2, status(1));
        EXPECT_EQ(finished_ok_3, status(2));
        EXPECT_EQ(0, wait_program());
    }

    void expect_extracted(const std::vector<package_file>& files)
    {
        for (const package_file& file : files) {
            EXPECT_EQ(file.bytes, work_file(file.name)) << file.name;
        }
        EXPECT_FALSE(std::filesystem::exists(std::string(norvane_tools::fwupdate_work_dir) +
                                             "/qav_mnt_fwpackage.zip"));
    }
};

TEST_F(delivery_test, device_firmware_is_verified_and_its_version_recorded)
{
    const auto files = sample_files(40000, 3000);
    deliver_successfully(make_package(files, "1.2.3", "DEVICE_FIRMWARE"), upload_options{});

    EXPECT_EQ("dlstart\ndlfinish 0\n", service_log());
    EXPECT_EQ(std::string("1.2.3", 6), record("FIRMWARE_VERSION_DEVICE"));
    EXPECT_FALSE(record_exists("FIRMWARE_VERSION_ENHANCEMENT"));
    const std::string log = program_log();
    EXPECT_NE(std::string::npos, log.find("[IMP] verify(): ##### Success End Verify process.\n"));
    EXPECT_NE(std::string::npos, log.find(finish_line(0)));
    expect_extracted(files);
}

TEST_F(delivery_test, device_enhancement_records_its_version_under_the_enhancement_name)
{
    const auto files = sample_files(5000, 700);
    deliver_successfully(make_package(files, "E-7.0", "DEVICE_ENHANCEMENT"), upload_options{});

    EXPECT_EQ("dlstart\ndlfinish 0\n", service_log());
    EXPECT_EQ(std::string("E-7.0", 6), record("FIRMWARE_VERSION_ENHANCEMENT"));
    EXPECT_FALSE(record_exists("FIRMWARE_VERSION_DEVICE"));
    EXPECT_NE(std::string::npos, program_log().find(finish_line(0)));
}

class package_type_without_record_test : public delivery_test,
                                          public ::testing::WithParamInterface<const char*> {
};

TEST_P(package_type_without_record_test, succeeds_without_writing_a_record)
{
    const auto files = sample_files(2000, 100);
    deliver_successfully(make_package(files, "3.0", GetParam()), upload_options{});

    EXPECT_EQ("dlstart\ndlfinish 0\n", service_log());
    EXPECT_FALSE(std::filesystem::exists(state_dir_ + "/nv"));
    EXPECT_NE(std::string::npos, program_log().find(finish_line(0)));
}

INSTANTIATE_TEST_SUITE_P(other_types, package_type_without_record_test,
                         ::testing::Values("DEVICE_OPT_LANGUAGE", "GATEWAY_FIRMWARE", "MOBILE_AGENT"));

TEST_F(delivery_test, package_without_known_type_ends_with_unknown_package_version)
{
    const auto files = sample_files(2000, 100);
    std::string description = package_description(truthful_declarations(files), "4.0", "DEVICE_FIRMWARE");
    description.erase(description.find("  <package_type>"));
    description += "</firmware_package>\n";
    ASSERT_EQ(0, start_program());
    EXPECT_EQ(upload_ok, upload(make_package(files, description), upload_options{}));
    EXPECT_EQ(finished_ok_2, status(1));
    EXPECT_EQ(finished_ok_3, status(2));
    EXPECT_EQ(1, wait_program());

    EXPECT_EQ("dlstart\ndlfinish 1\n", service_log());
    const std::string log = program_log();
    EXPECT_NE(std::string::npos,
              log.find("[ERR] finalize_(): Unknown Package version. type[0] ver[4.0]\n"));
    EXPECT_NE(std::string::npos, log.find(finish_line(1)));
}

TEST_F(delivery_test, checksum_mismatch_is_reported_as_error_in_firmware_file)
{
    const auto files = sample_files(8000, 900);
    auto declared = truthful_declarations(files);
    declared[1].checksum = "00000";
    ASSERT_EQ(0, start_program());
    EXPECT_EQ(upload_ok, upload(make_package(files, package_description(declared, "1.0", "DEVICE_FIRMWARE")),
                                upload_options{}));
    EXPECT_EQ(finished_fw_error_2, status(1));
    EXPECT_EQ(0, wait_program());

    EXPECT_EQ("dlstart\ndlfinish 1\n", service_log());
    EXPECT_FALSE(std::filesystem::exists(state_dir_ + "/nv"));
    const std::string log = program_log();
    EXPECT_NE(std::string::npos,
              log.find("[ERR] check(): Checksum in the list did not match. xml_info_list:[00000] "
                       "unzip_info_list:[" + bsd_sum_text(files[1].bytes) + "]\n"));
    EXPECT_NE(std::string::npos, log.find("[IMP] verify(): ##### Faild Verify process.\n"));
    EXPECT_NE(std::string::npos, log.find(finish_line(0)));
}

TEST_F(delivery_test, phone_that_polls_at_once_after_the_upload_reply_gets_the_verdict)
{
    // The first query may overtake the verification and be answered
    // "finished, result 0"; then the confirmation carries the verdict.
    // Either way the phone ends up with result 21.
    const auto files = sample_files(8000, 900);
    auto declared = truthful_declarations(files);
    declared[0].checksum = "00000";
    const std::string package =
        make_package(files, package_description(declared, "1.0", "DEVICE_FIRMWARE"));
    ASSERT_EQ(0, start_program());
    const norvane_tools::delivery_result result =
        norvane_tools::deliver_package(session(), package, upload_options{}, nullptr, 50);
    EXPECT_EQ(0, wait_program());

    EXPECT_TRUE(result.upload_replied);
    EXPECT_EQ(0, result.upload_reply.result_code);
    EXPECT_TRUE(result.finished);
    EXPECT_EQ(21, result.final_reply.result_code);
    EXPECT_FALSE(result.succeeded());
    EXPECT_EQ("dlstart\ndlfinish 1\n", service_log());
}

class transfer_size_test : public delivery_test, public ::testing::WithParamInterface<size_t> {
};

TEST_P(transfer_size_test, stores_and_extracts_the_same_files)
{
    const auto files = sample_files(150000, 20000);
    upload_options options;
    options.transfer_size = GetParam();
    deliver_successfully(make_package(files, "9.9.9", "DEVICE_FIRMWARE"), options);

    EXPECT_EQ("dlstart\ndlfinish 0\n", service_log());
    EXPECT_EQ(std::string("9.9.9", 6), record("FIRMWARE_VERSION_DEVICE"));
    expect_extracted(files);
}

INSTANTIATE_TEST_SUITE_P(sizes, transfer_size_test, ::testing::Values(1024, 16384, 65536));

TEST_F(delivery_test, whole_package_in_the_first_transfer_is_stored_intact)
{
    const auto files = sample_files(20000, 1000);
    upload_options options;
    options.single_transfer = true;
    const std::string package = make_package(files, "1.0.1", "DEVICE_FIRMWARE");
    ASSERT_LT(package.size() + 16, 65536u);
    deliver_successfully(package, options);

    EXPECT_EQ("dlstart\ndlfinish 0\n", service_log());
    EXPECT_EQ(std::string("1.0.1", 6), record("FIRMWARE_VERSION_DEVICE"));
    expect_extracted(files);
}

TEST_F(delivery_test, body_in_the_first_transfer_corrupts_the_stored_package)
{
    const auto files = sample_files(60000, 5000);
    upload_options options;
    options.first_transfer_with_body = true;
    ASSERT_EQ(0, start_program());
    EXPECT_EQ(upload_ok, upload(make_package(files, "1.0", "DEVICE_FIRMWARE"), options));
    EXPECT_EQ(finished_fw_error_2, status(1));
    EXPECT_EQ(0, wait_program());

    EXPECT_EQ("dlstart\ndlfinish 1\n", service_log());
    EXPECT_FALSE(std::filesystem::exists(state_dir_ + "/nv"));
    const std::string log = program_log();
    EXPECT_NE(std::string::npos, log.find("[IMP] verify(): ##### Faild Verify process.\n"));
    EXPECT_NE(std::string::npos, log.find(finish_line(0)));
}

TEST_F(delivery_test, program_ignores_its_command_line)
{
    const auto files = sample_files(3000, 300);
    ASSERT_EQ(0, start_program(program_options{"", {}, {"--help", "-x", "extra"}}));
    EXPECT_EQ(upload_ok, upload(make_package(files, "2.0", "DEVICE_FIRMWARE"), upload_options{}));
    EXPECT_EQ(finished_ok_2, status(1));
    EXPECT_EQ(finished_ok_3, status(2));
    EXPECT_EQ(0, wait_program());
    EXPECT_EQ(std::string("2.0", 4), record("FIRMWARE_VERSION_DEVICE"));
}

}  // namespace
}  // namespace norvane_test
