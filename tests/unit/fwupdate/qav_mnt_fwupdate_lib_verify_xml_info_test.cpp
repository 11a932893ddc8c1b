// Package version and type from a parsed FW_package.xml.
#include "qav_mnt_fwupdate_lib_verify_xml_info.h"

#include <gtest/gtest.h>

#include <string>

#include "utl_lib_xml_vexa_firmware_upgrade_service.h"

namespace {

using norvane::qav_mnt_fwupdate_lib_verify_xml_info;
using norvane::UTL_LIB_XML_VEXA_PACKAGE_TYPE_;
using norvane::utl_lib_xml_vexa_firmware_upgrade_service;

struct info_run {
    int ret;
    std::string version;
    UTL_LIB_XML_VEXA_PACKAGE_TYPE_ type;
    std::string log;
};

// Parses xml (when given) and reads the package info into outputs that start
// as version_before and type_before; the log of the reading is captured.
info_run run_package_info(const std::string& xml, const std::string& version_before,
                          UTL_LIB_XML_VEXA_PACKAGE_TYPE_ type_before)
{
    utl_lib_xml_vexa_firmware_upgrade_service fw;
    info_run run{-1, version_before, type_before, ""};
    if (!xml.empty()) {
        norvane::UTL_LIB_XML_VEXA_RESULT result = norvane::UTL_LIB_XML_VEXA_RESULT_NO_ERR;
        testing::internal::CaptureStderr();
        int parsed = fw.parse_xml(xml, result, norvane::UTL_LIB_XML_VEXA_PROTOCOL_BTSPP);
        testing::internal::GetCapturedStderr();
        EXPECT_EQ(0, parsed);
    }
    qav_mnt_fwupdate_lib_verify_xml_info info;
    testing::internal::CaptureStderr();
    run.ret = info.get_package_info(fw, run.version, run.type);
    run.log = testing::internal::GetCapturedStderr();
    return run;
}

std::string info_line(int exist, const std::string& version, int type)
{
    return "[INF] get_package_info(): <firmware_package> exist_package_version:[" +
           std::to_string(exist) + "] package_version:[" + version + "] package_type:[" +
           std::to_string(type) + "]\n";
}

TEST(qav_mnt_fwupdate_lib_verify_xml_info, version_and_type_are_handed_out)
{
    info_run run = run_package_info(
        "<firmware_package><package_version>3.10.7</package_version>"
        "<package_type>DEVICE_ENHANCEMENT</package_type></firmware_package>",
        "old", norvane::UTL_LIB_XML_VEXA_PACKAGE_TYPE_NONE);
    EXPECT_EQ(0, run.ret);
    EXPECT_EQ("3.10.7", run.version);
    EXPECT_EQ(norvane::UTL_LIB_XML_VEXA_PACKAGE_DEVICE_ENHANCEMENT, run.type);
    EXPECT_EQ(info_line(1, "3.10.7", 2), run.log);
}

TEST(qav_mnt_fwupdate_lib_verify_xml_info, missing_package_version_is_rejected_after_the_info_line)
{
    info_run run = run_package_info("<firmware_package><device_id>D1</device_id>"
                                    "<package_type>MOBILE_AGENT</package_type></firmware_package>",
                                    "untouched", norvane::UTL_LIB_XML_VEXA_PACKAGE_GATEWAY_FIRMWARE);
    EXPECT_EQ(1, run.ret);
    EXPECT_EQ("untouched", run.version);
    EXPECT_EQ(norvane::UTL_LIB_XML_VEXA_PACKAGE_GATEWAY_FIRMWARE, run.type);
    EXPECT_EQ(info_line(0, "", 5), run.log);
}

TEST(qav_mnt_fwupdate_lib_verify_xml_info, absent_package_type_is_taken_as_none)
{
    info_run run = run_package_info(
        "<firmware_package><package_version>1</package_version></firmware_package>", "",
        norvane::UTL_LIB_XML_VEXA_PACKAGE_DEVICE_FIRMWARE);
    EXPECT_EQ(0, run.ret);
    EXPECT_EQ("1", run.version);
    EXPECT_EQ(norvane::UTL_LIB_XML_VEXA_PACKAGE_TYPE_NONE, run.type);
    EXPECT_EQ(info_line(1, "1", 0), run.log);
}

TEST(qav_mnt_fwupdate_lib_verify_xml_info, version_longer_than_32_characters_is_cut_by_the_schema)
{
    const std::string long_version(32, '9');
    info_run run = run_package_info("<firmware_package><package_version>" + long_version +
                                        "0</package_version></firmware_package>",
                                    "", norvane::UTL_LIB_XML_VEXA_PACKAGE_TYPE_NONE);
    EXPECT_EQ(0, run.ret);
    EXPECT_EQ(long_version, run.version);
    EXPECT_EQ(info_line(1, long_version, 0), run.log);
}

TEST(qav_mnt_fwupdate_lib_verify_xml_info, nothing_parsed_is_rejected)
{
    info_run run = run_package_info("", "v", norvane::UTL_LIB_XML_VEXA_PACKAGE_DEVICE_FIRMWARE);
    EXPECT_EQ(1, run.ret);
    EXPECT_EQ("v", run.version);
    EXPECT_EQ(norvane::UTL_LIB_XML_VEXA_PACKAGE_DEVICE_FIRMWARE, run.type);
    EXPECT_EQ(info_line(0, "", 0), run.log);
}

}  // namespace
