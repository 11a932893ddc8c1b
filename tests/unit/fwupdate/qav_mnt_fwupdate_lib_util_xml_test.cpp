// Reading the package description into the firmware-upgrade message object:
// parse_xml on text and analyze_xml on a real file.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "qav_mnt_fwupdate_lib_util.h"
#include "qav_mnt_fwupdate_lib_util_test_support.h"
#include "temp_dir.h"
#include "utl_lib_xml_vexa_firmware_upgrade_service.h"

namespace {

using norvane::qav_mnt_fwupdate_lib_util;
using norvane::utl_lib_xml_vexa_firmware_upgrade_service;
using norvane_test::program_log;

const std::string PACKAGE_XML =
    "<firmware_package><package_version>5.0.1</package_version>"
    "<download_information><type>MAIN</type><data_information><filename>a.bin</filename>"
    "<checksum>01234</checksum><size>10</size></data_information></download_information>"
    "<package_type>DEVICE_FIRMWARE</package_type></firmware_package>";

std::string package_version_of(utl_lib_xml_vexa_firmware_upgrade_service& fw)
{
    int exist_device_id = 0;
    int exist_package_version = 0;
    int exist_description = 0;
    int exist_total_size = 0;
    char package_version[33] = {};
    fw.get_firmware_upgrade(exist_device_id, nullptr, exist_package_version, package_version,
                            exist_description, nullptr, exist_total_size, nullptr);
    return exist_package_version == 1 ? package_version : "<absent>";
}

struct analyze_run {
    int ret;
    std::string captured;
};

// analyze_xml of path into fw, with standard error captured.
analyze_run run_analyze(const std::string& path, utl_lib_xml_vexa_firmware_upgrade_service& fw)
{
    qav_mnt_fwupdate_lib_util util;
    analyze_run run{-1, ""};
    testing::internal::CaptureStderr();
    run.ret = util.analyze_xml(path, fw);
    run.captured = testing::internal::GetCapturedStderr();
    return run;
}

// The dump of a one-line text file as analyze_xml prints it.
std::string text_dump(const std::string& path, const std::string& text)
{
    const std::string banner = "[INF] dsp_text_file(): ----------(dsp_text_file)----------\n";
    return banner + "[INF] dsp_text_file(): file_path:[" + path + "]\n" +
           "[INF] dsp_text_file(): \n" + text + "\n" + banner;
}

const std::string PARSE_FAILED =
    "[ERR] parse_xml(): Failed to read the XML file data. xml_ret:[0x00000001] "
    "xml_vexa_ret:[0x00000002]\n";

TEST(qav_mnt_fwupdate_lib_util_xml, parse_xml_fills_the_message_object)
{
    qav_mnt_fwupdate_lib_util util;
    utl_lib_xml_vexa_firmware_upgrade_service fw;
    testing::internal::CaptureStderr();
    int ret = util.parse_xml(PACKAGE_XML, fw);
    std::string captured = testing::internal::GetCapturedStderr();
    EXPECT_EQ(0, ret);
    EXPECT_EQ("", program_log(captured));
    EXPECT_NE(std::string::npos, captured.find("[XML][IMP    ]Parse IN  type[7] size[" +
                                               std::to_string(PACKAGE_XML.size()) + "]<<"));
    EXPECT_EQ("5.0.1", package_version_of(fw));
    int groups = 0;
    fw.get_download_information_count(groups);
    EXPECT_EQ(1, groups);
}

TEST(qav_mnt_fwupdate_lib_util_xml, parse_xml_of_malformed_text_logs_both_results)
{
    qav_mnt_fwupdate_lib_util util;
    utl_lib_xml_vexa_firmware_upgrade_service fw;
    testing::internal::CaptureStderr();
    int ret = util.parse_xml("<firmware_package><package_version>1</firmware_package>", fw);
    std::string captured = testing::internal::GetCapturedStderr();
    EXPECT_EQ(1, ret);
    EXPECT_EQ(PARSE_FAILED, program_log(captured));
}

TEST(qav_mnt_fwupdate_lib_util_xml, analyze_xml_reads_dumps_and_parses_the_file)
{
    norvane_test::temp_dir dir;
    const std::string path = dir.write_file("FW_package.xml", PACKAGE_XML);
    utl_lib_xml_vexa_firmware_upgrade_service fw;
    analyze_run run = run_analyze(path, fw);
    EXPECT_EQ(0, run.ret);
    EXPECT_EQ(text_dump(path, PACKAGE_XML), program_log(run.captured));
    EXPECT_EQ("5.0.1", package_version_of(fw));
}

TEST(qav_mnt_fwupdate_lib_util_xml, analyze_xml_of_a_missing_file_fails_before_parsing)
{
    norvane_test::temp_dir dir;
    const std::string path = dir.file("FW_package.xml");
    utl_lib_xml_vexa_firmware_upgrade_service fw;
    analyze_run run = run_analyze(path, fw);
    EXPECT_EQ(1, run.ret);
    // No parse ran: no trace at all.
    EXPECT_EQ("[ERR] read_text_file(): Failed to get the stat structure. file_path:[" + path +
                  "]\n"
                  "[ERR] analyze_xml(): Failed to get the XML file data.\n",
              run.captured);
}

TEST(qav_mnt_fwupdate_lib_util_xml, analyze_xml_of_a_malformed_file_logs_the_chain)
{
    norvane_test::temp_dir dir;
    const std::string text = "<firmware_package><size>";
    const std::string path = dir.write_file("FW_package.xml", text);
    utl_lib_xml_vexa_firmware_upgrade_service fw;
    analyze_run run = run_analyze(path, fw);
    EXPECT_EQ(1, run.ret);
    EXPECT_EQ(text_dump(path, text) + PARSE_FAILED +
                  "[ERR] analyze_xml(): Failed to parse the XML file data.\n",
              program_log(run.captured));
}

TEST(qav_mnt_fwupdate_lib_util_xml, analyze_xml_of_an_empty_file_fails_in_the_parser)
{
    norvane_test::temp_dir dir;
    const std::string path = dir.write_file("FW_package.xml", "");
    utl_lib_xml_vexa_firmware_upgrade_service fw;
    analyze_run run = run_analyze(path, fw);
    EXPECT_EQ(1, run.ret);
    // The dump of an empty file is the tag line and one empty line.
    EXPECT_EQ(text_dump(path, "") + PARSE_FAILED +
                  "[ERR] analyze_xml(): Failed to parse the XML file data.\n",
              program_log(run.captured));
}

}  // namespace
