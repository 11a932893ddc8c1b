#include "qav_mnt_fwupdate_lib_verify_process.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "qav_mnt_fwupdate_lib_util_test_support.h"

namespace {

using norvane::qav_mnt_fwupdate_lib_verify_process;
using norvane::verify_file_info;
using norvane_test::make_info;
using norvane_test::names_of;

struct check_outcome {
    int result;
    std::string log;
};

check_outcome run_check(std::vector<verify_file_info>& xml_info_list,
                        std::vector<verify_file_info>& unzip_info_list)
{
    qav_mnt_fwupdate_lib_verify_process process;
    testing::internal::CaptureStderr();
    const int result = process.check(xml_info_list, unzip_info_list);
    return {result, testing::internal::GetCapturedStderr()};
}

TEST(qav_mnt_fwupdate_lib_verify_process, TwoEmptyListsFailWithNoListMessage)
{
    std::vector<verify_file_info> xml_info_list;
    std::vector<verify_file_info> unzip_info_list;
    const check_outcome outcome = run_check(xml_info_list, unzip_info_list);
    EXPECT_EQ(outcome.result, 1);
    EXPECT_EQ(outcome.log,
              "[ERR] check(): No one or both lists for comparison. xml_info_list_size:[0] "
              "unzip_info_list_size:[0]\n");
}

TEST(qav_mnt_fwupdate_lib_verify_process, OneEmptyListFailsUnsortedWithNoListMessage)
{
    std::vector<verify_file_info> xml_info_list = {make_info("b.bin", 1, "00001"),
                                                   make_info("a.bin", 2, "00002")};
    std::vector<verify_file_info> unzip_info_list;
    const check_outcome outcome = run_check(xml_info_list, unzip_info_list);
    EXPECT_EQ(outcome.result, 1);
    EXPECT_EQ(outcome.log,
              "[ERR] check(): No one or both lists for comparison. xml_info_list_size:[2] "
              "unzip_info_list_size:[0]\n");
    EXPECT_EQ(names_of(xml_info_list), (std::vector<std::string>{"b.bin", "a.bin"}));

    const check_outcome swapped = run_check(unzip_info_list, xml_info_list);
    EXPECT_EQ(swapped.result, 1);
    EXPECT_EQ(swapped.log,
              "[ERR] check(): No one or both lists for comparison. xml_info_list_size:[0] "
              "unzip_info_list_size:[2]\n");
}

TEST(qav_mnt_fwupdate_lib_verify_process, ThreeAgainstFourFailsWithLengthMessageAndStaysUnsorted)
{
    std::vector<verify_file_info> xml_info_list = {
        make_info("c.bin", 3, "00003"), make_info("a.bin", 1, "00001"),
        make_info("b.bin", 2, "00002")};
    std::vector<verify_file_info> unzip_info_list = {
        make_info("d.bin", 4, "00004"), make_info("c.bin", 3, "00003"),
        make_info("b.bin", 2, "00002"), make_info("a.bin", 1, "00001")};
    const check_outcome outcome = run_check(xml_info_list, unzip_info_list);
    EXPECT_EQ(outcome.result, 1);
    EXPECT_EQ(outcome.log,
              "[ERR] check(): Length of the list of both for comparison is different. "
              "xml_info_list_size:[3] unzip_info_list_size:[4]\n");
    EXPECT_EQ(names_of(xml_info_list), (std::vector<std::string>{"c.bin", "a.bin", "b.bin"}));
    EXPECT_EQ(names_of(unzip_info_list),
              (std::vector<std::string>{"d.bin", "c.bin", "b.bin", "a.bin"}));
}

TEST(qav_mnt_fwupdate_lib_verify_process, SameFilesInDifferentOrderMatchAndAreLeftSorted)
{
    std::vector<verify_file_info> xml_info_list = {
        make_info("FW_main.bin", 1000, "12345"), make_info("boot.img", 20, "00020"),
        make_info("a.txt", 3, "54321")};
    std::vector<verify_file_info> unzip_info_list = {
        make_info("a.txt", 3, "54321"), make_info("FW_main.bin", 1000, "12345"),
        make_info("boot.img", 20, "00020")};
    const check_outcome outcome = run_check(xml_info_list, unzip_info_list);
    EXPECT_EQ(outcome.result, 0);
    EXPECT_EQ(outcome.log, "");
    const std::vector<std::string> sorted = {"FW_main.bin", "a.txt", "boot.img"};
    EXPECT_EQ(names_of(xml_info_list), sorted);
    EXPECT_EQ(names_of(unzip_info_list), sorted);
}

TEST(qav_mnt_fwupdate_lib_verify_process, ManyShuffledEntriesMatch)
{
    std::vector<verify_file_info> xml_info_list;
    std::vector<verify_file_info> unzip_info_list;
    for (int i = 0; i < 100; ++i) {
        xml_info_list.push_back(make_info("f" + std::to_string(i), i, std::to_string(10000 + i)));
    }
    for (int i = 0; i < 100; ++i) {
        const int j = (i * 37 + 11) % 100;
        unzip_info_list.push_back(make_info("f" + std::to_string(j), j, std::to_string(10000 + j)));
    }
    const check_outcome outcome = run_check(xml_info_list, unzip_info_list);
    EXPECT_EQ(outcome.result, 0);
    EXPECT_EQ(outcome.log, "");
    EXPECT_EQ(names_of(xml_info_list), names_of(unzip_info_list));
    EXPECT_EQ(xml_info_list.front().file_name, "f0");
    EXPECT_EQ(xml_info_list[2].file_name, "f10");
}

TEST(qav_mnt_fwupdate_lib_verify_process, NamesDifferingInCaseDoNotMatch)
{
    std::vector<verify_file_info> xml_info_list = {make_info("a.bin", 10, "00010")};
    std::vector<verify_file_info> unzip_info_list = {make_info("A.bin", 10, "00010")};
    const check_outcome outcome = run_check(xml_info_list, unzip_info_list);
    EXPECT_EQ(outcome.result, 1);
    EXPECT_EQ(outcome.log,
              "[ERR] check(): File name in the list did not match. xml_info_list:[a.bin] "
              "unzip_info_list:[A.bin]\n");
}

TEST(qav_mnt_fwupdate_lib_verify_process, SizeIsReportedBeforeChecksum)
{
    std::vector<verify_file_info> xml_info_list = {make_info("a.bin", 100, "11111")};
    std::vector<verify_file_info> unzip_info_list = {make_info("a.bin", 101, "22222")};
    const check_outcome outcome = run_check(xml_info_list, unzip_info_list);
    EXPECT_EQ(outcome.result, 1);
    EXPECT_EQ(outcome.log,
              "[ERR] check(): File size in the list did not match. xml_info_list:[100] "
              "unzip_info_list:[101]\n");
}

TEST(qav_mnt_fwupdate_lib_verify_process, ChecksumsAreComparedAsText)
{
    std::vector<verify_file_info> xml_info_list = {make_info("a.bin", 5, "123")};
    std::vector<verify_file_info> unzip_info_list = {make_info("a.bin", 5, "00123")};
    const check_outcome outcome = run_check(xml_info_list, unzip_info_list);
    EXPECT_EQ(outcome.result, 1);
    EXPECT_EQ(outcome.log,
              "[ERR] check(): Checksum in the list did not match. xml_info_list:[123] "
              "unzip_info_list:[00123]\n");
}

TEST(qav_mnt_fwupdate_lib_verify_process, ChecksumWithTrailingBlockCountNeverMatches)
{
    std::vector<verify_file_info> xml_info_list = {make_info("a.bin", 5, "00123     1")};
    std::vector<verify_file_info> unzip_info_list = {make_info("a.bin", 5, "00123")};
    const check_outcome outcome = run_check(xml_info_list, unzip_info_list);
    EXPECT_EQ(outcome.result, 1);
    EXPECT_EQ(outcome.log,
              "[ERR] check(): Checksum in the list did not match. xml_info_list:[00123     1] "
              "unzip_info_list:[00123]\n");
}

TEST(qav_mnt_fwupdate_lib_verify_process, FirstDifferenceInSortedOrderIsReported)
{
    std::vector<verify_file_info> xml_info_list = {
        make_info("z.bin", 1, "00001"), make_info("m.bin", 7, "00007"),
        make_info("b.bin", 2, "00002")};
    std::vector<verify_file_info> unzip_info_list = {
        make_info("z.bin", 1, "99999"), make_info("b.bin", 2, "00002"),
        make_info("m.bin", 8, "00007")};
    const check_outcome outcome = run_check(xml_info_list, unzip_info_list);
    EXPECT_EQ(outcome.result, 1);
    EXPECT_EQ(outcome.log,
              "[ERR] check(): File size in the list did not match. xml_info_list:[7] "
              "unzip_info_list:[8]\n");
}

TEST(qav_mnt_fwupdate_lib_verify_process, NegativeSizesAreComparedAsSigned)
{
    std::vector<verify_file_info> xml_info_list = {make_info("a.bin", -1, "00001")};
    std::vector<verify_file_info> unzip_info_list = {make_info("a.bin", 1, "00001")};
    const check_outcome outcome = run_check(xml_info_list, unzip_info_list);
    EXPECT_EQ(outcome.result, 1);
    EXPECT_EQ(outcome.log,
              "[ERR] check(): File size in the list did not match. xml_info_list:[-1] "
              "unzip_info_list:[1]\n");
}

TEST(qav_mnt_fwupdate_lib_verify_process, IdenticalDuplicatesOnBothSidesMatch)
{
    std::vector<verify_file_info> xml_info_list = {
        make_info("d.bin", 4, "00004"), make_info("a.bin", 1, "00001"),
        make_info("d.bin", 4, "00004")};
    std::vector<verify_file_info> unzip_info_list = {
        make_info("d.bin", 4, "00004"), make_info("d.bin", 4, "00004"),
        make_info("a.bin", 1, "00001")};
    const check_outcome outcome = run_check(xml_info_list, unzip_info_list);
    EXPECT_EQ(outcome.result, 0);
    EXPECT_EQ(outcome.log, "");
}

TEST(qav_mnt_fwupdate_lib_verify_process, DifferingDuplicatesAreComparedPairwise)
{
    // Which duplicate meets which depends on the sort; some pair differs in size
    // whichever way the sort arranged them.
    std::vector<verify_file_info> xml_info_list = {make_info("d.bin", 1, "00001"),
                                                   make_info("d.bin", 2, "00001")};
    std::vector<verify_file_info> unzip_info_list = {make_info("d.bin", 1, "00001"),
                                                     make_info("d.bin", 3, "00001")};
    const check_outcome outcome = run_check(xml_info_list, unzip_info_list);
    EXPECT_EQ(outcome.result, 1);
    EXPECT_THAT(outcome.log,
                testing::AnyOf(
                    "[ERR] check(): File size in the list did not match. xml_info_list:[2] "
                    "unzip_info_list:[3]\n",
                    "[ERR] check(): File size in the list did not match. xml_info_list:[1] "
                    "unzip_info_list:[3]\n",
                    "[ERR] check(): File size in the list did not match. xml_info_list:[2] "
                    "unzip_info_list:[1]\n"));
}

}  // namespace
