// Allocation-failure sweep of the package description reading, as the
// verification does it: the firmware-upgrade message object parses a
// realistic FW_package.xml, then the package info and the declared file list
// are read from it. A clean run counts the platform allocations; then, for
// every i, allocation i fails (all but the message object's own records,
// whose failure its constructor does not handle). Each run must end cleanly
// (the failure was reached, no more allocations than a clean run, no crash,
// every platform block returned through the platform's free with a null
// pool) and either fail or read everything the clean run read: a reading
// that succeeds without a declaration would leave that file unverified. The
// records and list nodes of the parse fail it with the parser error.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "fake_platform.h"
#include "qav_mnt_fwupdate_lib_verify_file_info.h"
#include "qav_mnt_fwupdate_lib_verify_xml_info.h"
#include "qav_mnt_fwupdate_lib_verify_xml_list.h"
#include "utl_lib_xml_vexa_firmware_upgrade_service.h"

using namespace norvane;
using norvane_fake::fake_os_wrapper;
using norvane_fake::fake_platform;

namespace {

// Three download groups, four files, optional elements present and absent.
const char* const REALISTIC_PACKAGE =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<firmware_package>\n"
    "  <is_encrypted_url>OFF</is_encrypted_url>\n"
    "  <device_id>MFP-0042-AB</device_id>\n"
    "  <package_version>2.10.0034</package_version>\n"
    "  <total_size>15728640</total_size>\n"
    "  <description>Main &amp; engine firmware</description>\n"
    "  <download_information>\n"
    "    <type>MAIN</type>\n"
    "    <version>2.10.0034</version>\n"
    "    <data_information>\n"
    "      <name>main firmware</name>\n"
    "      <filename>main_fw.bin</filename>\n"
    "      <checksum>12345</checksum>\n"
    "      <size>10485760</size>\n"
    "    </data_information>\n"
    "    <data_information>\n"
    "      <filename>FW_package.xml</filename>\n"
    "      <checksum>00001</checksum>\n"
    "      <size>1</size>\n"
    "    </data_information>\n"
    "  </download_information>\n"
    "  <download_information>\n"
    "    <type>ENGINE</type>\n"
    "    <data_information>\n"
    "      <filename>engine.bin</filename>\n"
    "      <checksum>54321</checksum>\n"
    "      <size>3145728</size>\n"
    "    </data_information>\n"
    "    <data_information>\n"
    "      <filename>panel.bin</filename>\n"
    "      <checksum>00042</checksum>\n"
    "      <size>2097152</size>\n"
    "    </data_information>\n"
    "  </download_information>\n"
    "  <download_information>\n"
    "    <type>MOTER_CPU</type>\n"
    "  </download_information>\n"
    "  <package_type>DEVICE_ENHANCEMENT</package_type>\n"
    "</firmware_package>\n";

// What one reading produced.
struct reading {
    int parse_ret = -1;
    UTL_LIB_XML_VEXA_RESULT result = UTL_LIB_XML_VEXA_RESULT_NO_ERR;
    int info_ret = -1;
    std::string package_version;
    UTL_LIB_XML_VEXA_PACKAGE_TYPE_ package_type = UTL_LIB_XML_VEXA_PACKAGE_TYPE_NONE;
    int list_ret = -1;
    std::vector<verify_file_info> files;

    bool succeeded() const { return parse_ret == 0 && info_ret == 0 && list_ret == 0; }
};

// The three stages of the reading, each only after the one before succeeded,
// with every object gone before the caller counts the blocks.
reading read_description()
{
    reading out;
    testing::internal::CaptureStderr();
    {
        utl_lib_xml_vexa_firmware_upgrade_service fw;
        out.parse_ret = fw.parse_xml(REALISTIC_PACKAGE, out.result, UTL_LIB_XML_VEXA_PROTOCOL_BTSPP);
        if (out.parse_ret == 0) {
            out.info_ret = qav_mnt_fwupdate_lib_verify_xml_info().get_package_info(
                fw, out.package_version, out.package_type);
        }
        if (out.info_ret == 0) {
            out.list_ret = qav_mnt_fwupdate_lib_verify_xml_list().get_list(fw, out.files);
        }
    }
    testing::internal::GetCapturedStderr();
    return out;
}

// Platform allocations of constructing and destroying the message object
// alone: the records it owns.
int construction_allocations()
{
    fake_platform::reset();
    {
        utl_lib_xml_vexa_firmware_upgrade_service fw;
    }
    int count = fake_os_wrapper::allocations();
    fake_platform::reset();
    return count;
}

std::vector<std::string> names_of(const std::vector<verify_file_info>& files)
{
    std::vector<std::string> names;
    for (const verify_file_info& file : files) {
        names.push_back(file.file_name + " " + file.check_sum + " " +
                        std::to_string(file.file_size));
    }
    return names;
}

class package_description_allocation_sweep_test : public testing::Test {
protected:
    void SetUp() override { fake_platform::reset(); }
    void TearDown() override { fake_platform::reset(); }
};

TEST_F(package_description_allocation_sweep_test, clean_reading_allocates_and_returns_every_block)
{
    const reading clean = read_description();

    ASSERT_TRUE(clean.succeeded());
    EXPECT_EQ("2.10.0034", clean.package_version);
    EXPECT_EQ(UTL_LIB_XML_VEXA_PACKAGE_DEVICE_ENHANCEMENT, clean.package_type);
    EXPECT_EQ((std::vector<std::string>{"main_fw.bin 12345 10485760", "engine.bin 54321 3145728",
                                        "panel.bin 00042 2097152"}),
              names_of(clean.files));
    EXPECT_GT(fake_os_wrapper::allocations(), 0);
    EXPECT_EQ(0, fake_os_wrapper::blocks_outstanding());
    EXPECT_EQ(0, fake_os_wrapper::foreign_frees());
    EXPECT_EQ(0, fake_os_wrapper::frees_with_pool());
}

TEST_F(package_description_allocation_sweep_test, every_failed_allocation_while_reading_ends_cleanly)
{
    const int first = construction_allocations() + 1;
    const reading clean = read_description();
    ASSERT_TRUE(clean.succeeded());
    const int total = fake_os_wrapper::allocations();
    ASSERT_LT(first, total);

    for (int i = first; i <= total; ++i) {
        SCOPED_TRACE("allocation " + std::to_string(i) + " of " + std::to_string(total) + " fails");
        fake_platform::reset();
        fake_os_wrapper::fail_allocation_number(i);
        const reading run = read_description();

        // The failure was injected, and the reading did not go on to allocate
        // more than a clean run does.
        EXPECT_GE(fake_os_wrapper::allocations(), i);
        EXPECT_LE(fake_os_wrapper::allocations(), total);
        EXPECT_EQ(0, fake_os_wrapper::blocks_outstanding());
        EXPECT_EQ(0, fake_os_wrapper::foreign_frees());
        EXPECT_EQ(0, fake_os_wrapper::frees_with_pool());
        if (run.succeeded()) {
            EXPECT_EQ(names_of(clean.files), names_of(run.files));
            EXPECT_EQ(clean.package_version, run.package_version);
            EXPECT_EQ(clean.package_type, run.package_type);
        } else {
            // Only the parse allocates: it fails with the parser error, and
            // nothing is read from it.
            EXPECT_EQ(1, run.parse_ret);
            EXPECT_EQ(UTL_LIB_XML_VEXA_RESULT_PARSER_ERR, run.result);
            EXPECT_EQ(-1, run.info_ret);
            EXPECT_EQ(-1, run.list_ret);
        }
    }
}

TEST_F(package_description_allocation_sweep_test, failure_after_the_last_allocation_changes_nothing)
{
    const reading clean = read_description();
    const int total = fake_os_wrapper::allocations();
    fake_platform::reset();
    fake_os_wrapper::fail_allocation_number(total + 1);

    const reading run = read_description();

    EXPECT_TRUE(run.succeeded());
    EXPECT_EQ(total, fake_os_wrapper::allocations());
    EXPECT_EQ(names_of(clean.files), names_of(run.files));
    EXPECT_EQ(0, fake_os_wrapper::blocks_outstanding());
}

}  // namespace
