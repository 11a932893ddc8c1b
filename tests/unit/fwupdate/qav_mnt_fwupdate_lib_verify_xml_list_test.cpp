// The list of files that a parsed FW_package.xml declares: conversion of each
// file record, the walk over groups and files, and the removal of the
// description itself.
#include "qav_mnt_fwupdate_lib_verify_xml_list.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "qav_mnt_fwupdate_lib_verify_process.h"
#include "utl_lib_xml_vexa_firmware_upgrade_service.h"

namespace norvane {

// Reaches the parsed request record, to damage its lists on purpose.
class utl_lib_xml_vexa_firmware_upgrade_service_peer {
public:
    static UTL_LIB_XML_VEXA_FIRMWARE_PACKAGE_S& package(
        utl_lib_xml_vexa_firmware_upgrade_service& s)
    {
        return s.request_->firmware_package;
    }
};

}  // namespace norvane

namespace {

using norvane::qav_mnt_fwupdate_lib_verify_xml_list;
using norvane::UTL_LIB_XML_VEXA_FIRMWARE_DATA_INFORMATION_S;
using norvane::utl_lib_xml_vexa_firmware_upgrade_service;
using norvane::verify_file_info;
using peer = norvane::utl_lib_xml_vexa_firmware_upgrade_service_peer;

std::string data_information(const std::string& inner)
{
    return "<data_information>" + inner + "</data_information>";
}

std::string file_entry(const std::string& name, const std::string& checksum, int size)
{
    return data_information("<filename>" + name + "</filename><checksum>" + checksum +
                            "</checksum><size>" + std::to_string(size) + "</size>");
}

std::string package(const std::string& groups)
{
    return "<firmware_package><package_version>1.0</package_version>" + groups +
           "<package_type>DEVICE_FIRMWARE</package_type></firmware_package>";
}

std::string group(const std::string& files)
{
    return "<download_information><type>MAIN</type>" + files + "</download_information>";
}

void parse_quietly(utl_lib_xml_vexa_firmware_upgrade_service& fw, const std::string& xml)
{
    norvane::UTL_LIB_XML_VEXA_RESULT result = norvane::UTL_LIB_XML_VEXA_RESULT_NO_ERR;
    testing::internal::CaptureStderr();
    int ret = fw.parse_xml(xml, result, norvane::UTL_LIB_XML_VEXA_PROTOCOL_BTSPP);
    testing::internal::GetCapturedStderr();
    ASSERT_EQ(0, ret);
}

const std::string LIST_BANNER = "[INF] dsp_verify_list(): ----------(dsp_verify_list)----------\n";

// The closing line of every failed list.
const std::string LIST_FAILED =
    "[ERR] get_list(): Failed to create a list from an XML data file.\n";

// The chain of a file record that cannot be converted, from its cause on.
std::string file_data_failure(const std::string& cause)
{
    return "[ERR] get_file_data(): Failed to get information for " + cause + " is invalid.\n" +
           "[ERR] get_info_list(): Failed to retrieve data within <data_information>. "
           "get_file_data_ret:[0x00000001]\n" +
           LIST_FAILED;
}

struct list_run {
    int ret;
    std::vector<verify_file_info> list;
    std::string log;
};

// get_list over the parsed object, with its log captured.
list_run run_get_list(utl_lib_xml_vexa_firmware_upgrade_service& fw)
{
    list_run run{-1, std::vector<verify_file_info>(2), ""};  // get_list clears the list
    qav_mnt_fwupdate_lib_verify_xml_list xml_list;
    testing::internal::CaptureStderr();
    run.ret = xml_list.get_list(fw, run.list);
    run.log = testing::internal::GetCapturedStderr();
    return run;
}

std::string list_line(const std::string& name, int size, const std::string& sum)
{
    return "[INF] dsp_verify_list(): verify_xml_list file_name:[" + name + "] file_size:[" +
           std::to_string(size) + "] check_sum:[" + sum + "]\n";
}

TEST(qav_mnt_fwupdate_lib_verify_xml_list, files_of_all_groups_in_document_order)
{
    utl_lib_xml_vexa_firmware_upgrade_service fw;
    parse_quietly(fw, package(group(file_entry("b.bin", "00002", 20) +
                                    file_entry("a.bin", "00001", 10)) +
                              group(file_entry("c.bin", "00003", 30))));
    list_run run = run_get_list(fw);

    EXPECT_EQ(0, run.ret);
    ASSERT_EQ(3u, run.list.size());
    EXPECT_EQ("b.bin", run.list[0].file_name);
    EXPECT_EQ("00002", run.list[0].check_sum);
    EXPECT_EQ(20, run.list[0].file_size);
    EXPECT_EQ("a.bin", run.list[1].file_name);
    EXPECT_EQ("c.bin", run.list[2].file_name);
    EXPECT_EQ(30, run.list[2].file_size);
    EXPECT_EQ(LIST_BANNER + list_line("b.bin", 20, "00002") + list_line("a.bin", 10, "00001") +
                  list_line("c.bin", 30, "00003") + LIST_BANNER,
              run.log);
}

TEST(qav_mnt_fwupdate_lib_verify_xml_list, package_without_groups_gives_empty_list_then_check_fails)
{
    utl_lib_xml_vexa_firmware_upgrade_service fw;
    parse_quietly(fw, package(""));
    list_run run = run_get_list(fw);
    EXPECT_EQ(0, run.ret);
    EXPECT_TRUE(run.list.empty());
    EXPECT_EQ(LIST_BANNER + LIST_BANNER, run.log);

    std::vector<verify_file_info> unzip_list(1);
    unzip_list[0].file_name = "a.bin";
    norvane::qav_mnt_fwupdate_lib_verify_process process;
    testing::internal::CaptureStderr();
    EXPECT_EQ(1, process.check(run.list, unzip_list));
    EXPECT_EQ("[ERR] check(): No one or both lists for comparison. xml_info_list_size:[0] "
              "unzip_info_list_size:[1]\n",
              testing::internal::GetCapturedStderr());
}

TEST(qav_mnt_fwupdate_lib_verify_xml_list, group_without_files_adds_nothing)
{
    utl_lib_xml_vexa_firmware_upgrade_service fw;
    parse_quietly(fw, package(group("") + group(file_entry("x.bin", "00009", 9))));
    std::vector<verify_file_info> list;
    qav_mnt_fwupdate_lib_verify_xml_list xml_list;
    testing::internal::CaptureStderr();
    EXPECT_EQ(0, xml_list.get_info_list(fw, list));
    EXPECT_EQ("", testing::internal::GetCapturedStderr());
    ASSERT_EQ(1u, list.size());
    EXPECT_EQ("x.bin", list[0].file_name);
}

TEST(qav_mnt_fwupdate_lib_verify_xml_list, file_without_size_fails_with_the_whole_chain)
{
    utl_lib_xml_vexa_firmware_upgrade_service fw;
    parse_quietly(fw, package(group(file_entry("a.bin", "00001", 1) +
                                    data_information("<filename>b.bin</filename>"
                                                     "<checksum>00002</checksum>"))));
    list_run run = run_get_list(fw);

    EXPECT_EQ(1, run.ret);
    EXPECT_EQ(file_data_failure("file size"), run.log);
    // The record converted before the failure stays.
    ASSERT_EQ(1u, run.list.size());
    EXPECT_EQ("a.bin", run.list[0].file_name);
}

TEST(qav_mnt_fwupdate_lib_verify_xml_list, file_without_checksum_fails_with_the_whole_chain)
{
    utl_lib_xml_vexa_firmware_upgrade_service fw;
    parse_quietly(fw, package(group(data_information("<filename>b.bin</filename>"
                                                     "<size>5</size>"))));
    list_run run = run_get_list(fw);

    EXPECT_EQ(1, run.ret);
    EXPECT_EQ(file_data_failure("checksum"), run.log);
    EXPECT_TRUE(run.list.empty());
}

TEST(qav_mnt_fwupdate_lib_verify_xml_list, declared_description_is_dropped_once)
{
    utl_lib_xml_vexa_firmware_upgrade_service fw;
    parse_quietly(fw, package(group(file_entry("FW_package.xml", "00100", 100) +
                                    file_entry("a.bin", "00001", 1)) +
                              group(file_entry("FW_package.xml", "00200", 200) +
                                    file_entry("fw_package.xml", "00300", 300))));
    list_run run = run_get_list(fw);

    EXPECT_EQ(0, run.ret);
    ASSERT_EQ(3u, run.list.size());
    EXPECT_EQ("a.bin", run.list[0].file_name);
    EXPECT_EQ("FW_package.xml", run.list[1].file_name);
    EXPECT_EQ(200, run.list[1].file_size);
    EXPECT_EQ("fw_package.xml", run.list[2].file_name);
    EXPECT_EQ(LIST_BANNER + list_line("a.bin", 1, "00001") +
                  list_line("FW_package.xml", 200, "00200") +
                  list_line("fw_package.xml", 300, "00300") + LIST_BANNER,
              run.log);
}

TEST(qav_mnt_fwupdate_lib_verify_xml_list, get_info_list_appends_without_clearing)
{
    utl_lib_xml_vexa_firmware_upgrade_service fw;
    parse_quietly(fw, package(group(file_entry("FW_package.xml", "00001", 1))));
    std::vector<verify_file_info> list(1);
    list[0].file_name = "earlier";
    qav_mnt_fwupdate_lib_verify_xml_list xml_list;
    EXPECT_EQ(0, xml_list.get_info_list(fw, list));
    ASSERT_EQ(2u, list.size());
    EXPECT_EQ("earlier", list[0].file_name);
    // get_info_list keeps the description; only get_list drops it.
    EXPECT_EQ("FW_package.xml", list[1].file_name);
}

TEST(qav_mnt_fwupdate_lib_verify_xml_list, get_file_data_takes_the_name_even_when_it_fails)
{
    UTL_LIB_XML_VEXA_FIRMWARE_DATA_INFORMATION_S data;
    std::memset(&data, 0, sizeof(data));
    std::strcpy(data.filename, "only-name.bin");
    std::strcpy(data.name, "display name");
    data.exist_name = 1;
    verify_file_info record;
    record.file_size = 77;
    qav_mnt_fwupdate_lib_verify_xml_list xml_list;
    testing::internal::CaptureStderr();
    EXPECT_EQ(1, xml_list.get_file_data(data, record));
    EXPECT_EQ("[ERR] get_file_data(): Failed to get information for file size is invalid.\n",
              testing::internal::GetCapturedStderr());
    EXPECT_EQ("only-name.bin", record.file_name);
    EXPECT_EQ(77, record.file_size);
    EXPECT_EQ("", record.check_sum);
}

TEST(qav_mnt_fwupdate_lib_verify_xml_list, get_file_data_takes_size_before_checking_checksum)
{
    UTL_LIB_XML_VEXA_FIRMWARE_DATA_INFORMATION_S data;
    std::memset(&data, 0, sizeof(data));
    std::strcpy(data.filename, "n.bin");
    data.size = -5;
    data.exist_size = 1;
    verify_file_info record;
    qav_mnt_fwupdate_lib_verify_xml_list xml_list;
    testing::internal::CaptureStderr();
    EXPECT_EQ(1, xml_list.get_file_data(data, record));
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(-5, record.file_size);
    EXPECT_EQ("", record.check_sum);
}

TEST(qav_mnt_fwupdate_lib_verify_xml_list, get_file_data_keeps_zero_size_and_16_character_checksum)
{
    UTL_LIB_XML_VEXA_FIRMWARE_DATA_INFORMATION_S data;
    std::memset(&data, 0, sizeof(data));
    std::memset(data.filename, 'f', sizeof(data.filename) - 1);
    data.size = 0;
    data.exist_size = 1;
    std::memset(data.checksum, '7', 16);
    data.exist_checksum = 1;
    verify_file_info record;
    qav_mnt_fwupdate_lib_verify_xml_list xml_list;
    testing::internal::CaptureStderr();
    EXPECT_EQ(0, xml_list.get_file_data(data, record));
    EXPECT_EQ("", testing::internal::GetCapturedStderr());
    EXPECT_EQ(std::string(255, 'f'), record.file_name);
    EXPECT_EQ(0, record.file_size);
    EXPECT_EQ(std::string(16, '7'), record.check_sum);
}

TEST(qav_mnt_fwupdate_lib_verify_xml_list, unreadable_group_fails_with_its_result)
{
    utl_lib_xml_vexa_firmware_upgrade_service fw;
    parse_quietly(fw, package(group(file_entry("a.bin", "00001", 1))));
    // A count beyond the list's nodes: the second group cannot be fetched.
    peer::package(fw).download_information.count = 2;
    list_run run = run_get_list(fw);

    EXPECT_EQ(1, run.ret);
    EXPECT_EQ("[XML][ERROR! ]DataUtl get list error. Node ptr invalid.(0x00000000)\n"
              "[ERR] get_info_list(): Failed to get the data of <download_information>. "
              "get_download_ret:[0x00000001]\n" +
                  LIST_FAILED,
              run.log);
    ASSERT_EQ(1u, run.list.size());
    EXPECT_EQ("a.bin", run.list[0].file_name);
}

TEST(qav_mnt_fwupdate_lib_verify_xml_list, unreadable_file_fails_with_its_result)
{
    utl_lib_xml_vexa_firmware_upgrade_service fw;
    parse_quietly(fw, package(group(file_entry("a.bin", "00001", 1))));
    // The group's own record claims one file more than its list holds.
    LIST groups = peer::package(fw).download_information;
    NODE* node = zulCLBLstNth(&groups, 1);
    ASSERT_NE(nullptr, node);
    auto* first_group = reinterpret_cast<norvane::UTL_LIB_XML_VEXA_FIRMWARE_DOWNLOAD_INFORMATION_S*>(
        reinterpret_cast<char*>(node) + sizeof(NODE));
    first_group->data_information.count = 2;
    std::vector<verify_file_info> list;
    qav_mnt_fwupdate_lib_verify_xml_list xml_list;

    testing::internal::CaptureStderr();
    int ret = xml_list.get_info_list(fw, list);
    std::string log = testing::internal::GetCapturedStderr();

    EXPECT_EQ(1, ret);
    EXPECT_EQ("[XML][ERROR! ]DataUtl get list error. Node ptr invalid.(0x00000000)\n"
              "[ERR] get_info_list(): Failed to get the data of <data_information>. "
              "get_data_ret:[0x00000001]\n",
              log);
    ASSERT_EQ(1u, list.size());
}

}  // namespace
