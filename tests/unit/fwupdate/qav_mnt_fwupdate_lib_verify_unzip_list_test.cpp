#include "qav_mnt_fwupdate_lib_verify_unzip_list.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "bsd_sum.h"
#include "qav_mnt_fwupdate_lib_util_test_support.h"
#include "qav_mnt_fwupdate_lib_verify_process.h"
#include "temp_dir.h"

namespace {

using norvane::qav_mnt_fwupdate_lib_verify_process;
using norvane::qav_mnt_fwupdate_lib_verify_unzip_list;
using norvane::verify_file_info;
using norvane_test::make_info;
using norvane_test::names_of;
using norvane_test::bsd_sum_text;
using norvane_test::split_lines;
using norvane_test::temp_dir;
using testing::HasSubstr;

// The record the folder list is expected to build for a file of this content.
verify_file_info folder_info(const std::string& name, const std::string& content)
{
    return make_info(name, static_cast<int32_t>(content.size()), bsd_sum_text(content));
}

MATCHER_P(same_record, expected, "")
{
    return arg.file_name == expected.file_name && arg.file_size == expected.file_size &&
           arg.check_sum == expected.check_sum;
}

std::string folder_dump(const std::string& folder_path)
{
    return "[INF] dsp_file_info_in_folder(): ----------(dsp_file_info_in_folder)----------\n"
           "[INF] dsp_file_info_in_folder(): folder_path:[" +
           folder_path + "]\n";
}

const char* const FOLDER_BANNER =
    "[INF] dsp_file_info_in_folder(): ----------(dsp_file_info_in_folder)----------\n";
const char* const LIST_BANNER = "[INF] dsp_verify_list(): ----------(dsp_verify_list)----------\n";

// ---------------------------------------------------------------------------
// get_info_list

TEST(qav_mnt_fwupdate_lib_verify_unzip_list, GetInfoListOfEmptyFolderAddsNothing)
{
    temp_dir dir;
    qav_mnt_fwupdate_lib_verify_unzip_list unzip_list;
    std::vector<verify_file_info> list;
    testing::internal::CaptureStderr();
    EXPECT_EQ(unzip_list.get_info_list(dir.path(), list), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_TRUE(list.empty());
}

TEST(qav_mnt_fwupdate_lib_verify_unzip_list, GetInfoListRecordsNameSizeAndChecksumOfEveryEntry)
{
    temp_dir dir;
    std::string binary;
    for (int i = 0; i < 3000; ++i) {
        binary.push_back(static_cast<char>(i * 7));
    }
    dir.write_file("a.bin", binary);
    dir.write_file("FW_package.xml", "<xml/>\n");
    dir.write_file("empty.txt", "");
    qav_mnt_fwupdate_lib_verify_unzip_list unzip_list;
    std::vector<verify_file_info> list;
    EXPECT_EQ(unzip_list.get_info_list(dir.path(), list), 0);
    EXPECT_THAT(list, testing::UnorderedElementsAre(same_record(folder_info("a.bin", binary)),
                                                    same_record(folder_info("FW_package.xml",
                                                                            "<xml/>\n")),
                                                    same_record(folder_info("empty.txt", ""))));
}

TEST(qav_mnt_fwupdate_lib_verify_unzip_list, GetInfoListAppendsWithoutClearing)
{
    temp_dir dir;
    dir.write_file("a.bin", "alpha");
    qav_mnt_fwupdate_lib_verify_unzip_list unzip_list;
    std::vector<verify_file_info> list = {make_info("earlier.bin", 9, "00009")};
    EXPECT_EQ(unzip_list.get_info_list(dir.path(), list), 0);
    ASSERT_EQ(list.size(), 2u);
    EXPECT_THAT(list[0], same_record(make_info("earlier.bin", 9, "00009")));
    EXPECT_THAT(list[1], same_record(folder_info("a.bin", "alpha")));
}

TEST(qav_mnt_fwupdate_lib_verify_unzip_list, GetInfoListOfMissingFolderFails)
{
    temp_dir dir;
    const std::string folder = dir.file("missing");
    qav_mnt_fwupdate_lib_verify_unzip_list unzip_list;
    std::vector<verify_file_info> list;
    testing::internal::CaptureStderr();
    EXPECT_EQ(unzip_list.get_info_list(folder, list), 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[ERR] get_info_list(): Failed to open the directory. folder_path:[" + folder +
                  "]\n");
    EXPECT_TRUE(list.empty());
}

TEST(qav_mnt_fwupdate_lib_verify_unzip_list, GetInfoListFailsAtAnEntryWithoutStatus)
{
    temp_dir dir;
    const std::string link = dir.file("dangling");
    ASSERT_EQ(::symlink("/nonexistent/target", link.c_str()), 0);
    qav_mnt_fwupdate_lib_verify_unzip_list unzip_list;
    std::vector<verify_file_info> list = {make_info("earlier.bin", 9, "00009")};
    testing::internal::CaptureStderr();
    EXPECT_EQ(unzip_list.get_info_list(dir.path(), list), 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[ERR] get_info_list(): Failed to get the stat structure. file_path:[" + link +
                  "]\n");
    EXPECT_EQ(names_of(list), std::vector<std::string>{"earlier.bin"});
}

TEST(qav_mnt_fwupdate_lib_verify_unzip_list, GetInfoListFollowsSymbolicLinks)
{
    temp_dir dir;
    const std::string target = dir.write_file("target.bin", "linked content");
    ASSERT_EQ(::symlink(target.c_str(), dir.file("link.bin").c_str()), 0);
    qav_mnt_fwupdate_lib_verify_unzip_list unzip_list;
    std::vector<verify_file_info> list;
    EXPECT_EQ(unzip_list.get_info_list(dir.path(), list), 0);
    EXPECT_THAT(list, testing::UnorderedElementsAre(
                          same_record(folder_info("target.bin", "linked content")),
                          same_record(folder_info("link.bin", "linked content"))));
}

TEST(qav_mnt_fwupdate_lib_verify_unzip_list, GetInfoListFailsWhenTheChecksumToolPrintsNothing)
{
    temp_dir dir;
    const std::string path = dir.write_file("a.bin", "alpha");
    norvane_test::stub_busybox silent_tool("exit 0\n");
    qav_mnt_fwupdate_lib_verify_unzip_list unzip_list;
    std::vector<verify_file_info> list;
    testing::internal::CaptureStderr();
    EXPECT_EQ(unzip_list.get_info_list(dir.path(), list), 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[ERR] calc_check_sum(): Failed to read the checksum.  command:[busybox sum " + path +
                  "]\n"
                  "[ERR] get_info_list(): Failed to calculate the checksum. file_path:[" +
                  path + "]\n");
    EXPECT_TRUE(list.empty());
}

TEST(qav_mnt_fwupdate_lib_verify_unzip_list, GetInfoListFailsAtASubfolder)
{
    temp_dir dir;
    const std::string sub = dir.file("sub");
    ASSERT_EQ(::mkdir(sub.c_str(), 0755), 0);
    qav_mnt_fwupdate_lib_verify_unzip_list unzip_list;
    std::vector<verify_file_info> list;
    testing::internal::CaptureStderr();
    EXPECT_EQ(unzip_list.get_info_list(dir.path(), list), 1);
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                testing::EndsWith("[ERR] calc_check_sum(): Failed to read the checksum.  "
                                  "command:[busybox sum " +
                                  sub +
                                  "]\n"
                                  "[ERR] get_info_list(): Failed to calculate the checksum. "
                                  "file_path:[" +
                                  sub + "]\n"));
    EXPECT_TRUE(list.empty());
}

TEST(qav_mnt_fwupdate_lib_verify_unzip_list, TrailingSeparatorDoublesTheSeparatorInPaths)
{
    temp_dir dir;
    dir.write_file("a.bin", "alpha");
    ASSERT_EQ(::symlink("/nonexistent/target", dir.file("dangling").c_str()), 0);
    qav_mnt_fwupdate_lib_verify_unzip_list unzip_list;
    std::vector<verify_file_info> list;
    testing::internal::CaptureStderr();
    EXPECT_EQ(unzip_list.get_info_list(dir.path() + "/", list), 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[ERR] get_info_list(): Failed to get the stat structure. file_path:[" + dir.path() +
                  "//dangling]\n");
}

// ---------------------------------------------------------------------------
// get_list with the declared list

TEST(qav_mnt_fwupdate_lib_verify_unzip_list, GetListOfEmptyFolderGivesEmptyListThenCheckFails)
{
    temp_dir dir;
    qav_mnt_fwupdate_lib_verify_unzip_list unzip_list;
    std::vector<verify_file_info> xml_info_list = {make_info("a.bin", 5, "12345")};
    std::vector<verify_file_info> unzip_info_list = {make_info("stale.bin", 1, "00001")};
    testing::internal::CaptureStderr();
    EXPECT_EQ(unzip_list.get_list(dir.path(), xml_info_list, unzip_info_list), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              folder_dump(dir.path()) + FOLDER_BANNER + LIST_BANNER + LIST_BANNER);
    EXPECT_TRUE(unzip_info_list.empty());

    std::vector<verify_file_info> nothing_declared;
    qav_mnt_fwupdate_lib_verify_process process;
    testing::internal::CaptureStderr();
    EXPECT_EQ(process.check(nothing_declared, unzip_info_list), 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[ERR] check(): No one or both lists for comparison. xml_info_list_size:[0] "
              "unzip_info_list_size:[0]\n");
}

TEST(qav_mnt_fwupdate_lib_verify_unzip_list, GetListKeepsOnlyDeclaredFilesWithTheFolderValues)
{
    temp_dir dir;
    dir.write_file("FW_package.xml", "<package/>\n");
    dir.write_file("a.bin", "alpha content");
    dir.write_file("extra.txt", "not declared");
    qav_mnt_fwupdate_lib_verify_unzip_list unzip_list;
    // The declared size and checksum differ: the record carries the folder's.
    std::vector<verify_file_info> xml_info_list = {make_info("a.bin", 1, "99999")};
    std::vector<verify_file_info> unzip_info_list;
    testing::internal::CaptureStderr();
    EXPECT_EQ(unzip_list.get_list(dir.path(), xml_info_list, unzip_info_list), 0);
    const std::string log = testing::internal::GetCapturedStderr();
    ASSERT_EQ(unzip_info_list.size(), 1u);
    EXPECT_THAT(unzip_info_list[0], same_record(folder_info("a.bin", "alpha content")));
    EXPECT_THAT(xml_info_list[0], same_record(make_info("a.bin", 1, "99999")));

    // The folder dump lists all three files; the list dump only a.bin.
    const std::vector<std::string> lines = split_lines(log);
    ASSERT_EQ(lines.size(), 9u);
    EXPECT_EQ(lines[0] + "\n", FOLDER_BANNER);
    EXPECT_EQ(lines[1], "[INF] dsp_file_info_in_folder(): folder_path:[" + dir.path() + "]");
    EXPECT_THAT((std::vector<std::string>{lines[2], lines[3], lines[4]}),
                testing::UnorderedElementsAre(
                    "[INF] dsp_file_info_in_folder(): file_name[FW_package.xml]\tfile_size[11]"
                    "\tcheck_sum:[" +
                        bsd_sum_text("<package/>\n") + "]",
                    "[INF] dsp_file_info_in_folder(): file_name[a.bin]\tfile_size[13]"
                    "\tcheck_sum:[" +
                        bsd_sum_text("alpha content") + "]",
                    "[INF] dsp_file_info_in_folder(): file_name[extra.txt]\tfile_size[12]"
                    "\tcheck_sum:[" +
                        bsd_sum_text("not declared") + "]"));
    EXPECT_EQ(lines[5] + "\n", FOLDER_BANNER);
    EXPECT_EQ(lines[6] + "\n", LIST_BANNER);
    EXPECT_EQ(lines[7], "[INF] dsp_verify_list(): verify_xml_list file_name:[a.bin] "
                        "file_size:[13] check_sum:[" +
                            bsd_sum_text("alpha content") + "]");
    EXPECT_EQ(lines[8] + "\n", LIST_BANNER);
}

TEST(qav_mnt_fwupdate_lib_verify_unzip_list, NameDifferingInCaseIsDroppedAndShowsAsLengthDifference)
{
    temp_dir dir;
    dir.write_file("A.bin", "upper");
    dir.write_file("b.bin", "bravo");
    qav_mnt_fwupdate_lib_verify_unzip_list unzip_list;
    std::vector<verify_file_info> xml_info_list = {folder_info("a.bin", "upper"),
                                                   folder_info("b.bin", "bravo")};
    std::vector<verify_file_info> unzip_info_list;
    testing::internal::CaptureStderr();
    EXPECT_EQ(unzip_list.get_list(dir.path(), xml_info_list, unzip_info_list), 0);
    testing::internal::GetCapturedStderr();
    ASSERT_EQ(unzip_info_list.size(), 1u);
    EXPECT_THAT(unzip_info_list[0], same_record(folder_info("b.bin", "bravo")));

    qav_mnt_fwupdate_lib_verify_process process;
    testing::internal::CaptureStderr();
    EXPECT_EQ(process.check(xml_info_list, unzip_info_list), 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[ERR] check(): Length of the list of both for comparison is different. "
              "xml_info_list_size:[2] unzip_info_list_size:[1]\n");
}

TEST(qav_mnt_fwupdate_lib_verify_unzip_list, GetListOfMissingFolderFailsWithTwoMessages)
{
    temp_dir dir;
    const std::string folder = dir.file("missing");
    qav_mnt_fwupdate_lib_verify_unzip_list unzip_list;
    std::vector<verify_file_info> xml_info_list = {make_info("a.bin", 5, "12345")};
    std::vector<verify_file_info> unzip_info_list = {make_info("stale.bin", 1, "00001")};
    testing::internal::CaptureStderr();
    EXPECT_EQ(unzip_list.get_list(folder, xml_info_list, unzip_info_list), 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[ERR] get_info_list(): Failed to open the directory. folder_path:[" + folder +
                  "]\n"
                  "[ERR] get_list(): Failed to get the file information from the destination "
                  "folder.\n");
    EXPECT_TRUE(unzip_info_list.empty());
}

TEST(qav_mnt_fwupdate_lib_verify_unzip_list, ZipFileInTheFolderIsChecksummedThenDropped)
{
    temp_dir source;
    source.write_file("FW_package.xml", "<package/>\n");
    source.write_file("a.bin", "alpha content");
    temp_dir dir;
    const std::string zip_path = dir.file("qav_mnt_fwpackage.zip");
    const std::string zip_command =
        "cd '" + source.path() + "' && zip -q '" + zip_path + "' FW_package.xml a.bin";
    ASSERT_EQ(std::system(zip_command.c_str()), 0);
    const std::string extract_command =
        "miniunzip -e '" + zip_path + "' -d '" + dir.path() + "' >/dev/null";
    ASSERT_EQ(std::system(extract_command.c_str()), 0);
    const std::string zip_bytes = norvane_test::read_file_bytes(zip_path);

    qav_mnt_fwupdate_lib_verify_unzip_list unzip_list;
    std::vector<verify_file_info> xml_info_list = {folder_info("a.bin", "alpha content")};
    std::vector<verify_file_info> unzip_info_list;
    testing::internal::CaptureStderr();
    EXPECT_EQ(unzip_list.get_list(dir.path(), xml_info_list, unzip_info_list), 0);
    const std::string log = testing::internal::GetCapturedStderr();
    ASSERT_EQ(unzip_info_list.size(), 1u);
    EXPECT_THAT(unzip_info_list[0], same_record(folder_info("a.bin", "alpha content")));
    EXPECT_THAT(log, HasSubstr("[INF] dsp_file_info_in_folder(): "
                               "file_name[qav_mnt_fwpackage.zip]\tfile_size[" +
                               std::to_string(zip_bytes.size()) + "]\tcheck_sum:[" +
                               bsd_sum_text(zip_bytes) + "]\n"));

    qav_mnt_fwupdate_lib_verify_process process;
    testing::internal::CaptureStderr();
    EXPECT_EQ(process.check(xml_info_list, unzip_info_list), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(qav_mnt_fwupdate_lib_verify_unzip_list, GetListWithTrailingSeparatorFindsTheSameFiles)
{
    temp_dir dir;
    dir.write_file("a.bin", "alpha");
    qav_mnt_fwupdate_lib_verify_unzip_list unzip_list;
    std::vector<verify_file_info> xml_info_list = {folder_info("a.bin", "alpha")};
    std::vector<verify_file_info> unzip_info_list;
    testing::internal::CaptureStderr();
    EXPECT_EQ(unzip_list.get_list(dir.path() + "/", xml_info_list, unzip_info_list), 0);
    const std::string log = testing::internal::GetCapturedStderr();
    ASSERT_EQ(unzip_info_list.size(), 1u);
    EXPECT_THAT(unzip_info_list[0], same_record(folder_info("a.bin", "alpha")));
    EXPECT_THAT(log, HasSubstr("folder_path:[" + dir.path() + "/]\n"));
}

TEST(qav_mnt_fwupdate_lib_verify_unzip_list, DuplicateDeclarationsTakeTheFolderFileOnce)
{
    temp_dir dir;
    dir.write_file("a.bin", "alpha");
    qav_mnt_fwupdate_lib_verify_unzip_list unzip_list;
    std::vector<verify_file_info> xml_info_list = {folder_info("a.bin", "alpha"),
                                                   folder_info("a.bin", "alpha")};
    std::vector<verify_file_info> unzip_info_list;
    testing::internal::CaptureStderr();
    EXPECT_EQ(unzip_list.get_list(dir.path(), xml_info_list, unzip_info_list), 0);
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(names_of(unzip_info_list), std::vector<std::string>{"a.bin"});
    EXPECT_EQ(xml_info_list.size(), 2u);
}

TEST(qav_mnt_fwupdate_lib_verify_unzip_list, GetListFailsWhenAnEntryCannotBeChecksummed)
{
    temp_dir dir;
    const std::string path = dir.write_file("a.bin", "alpha");
    norvane_test::stub_busybox silent_tool("exit 0\n");
    qav_mnt_fwupdate_lib_verify_unzip_list unzip_list;
    std::vector<verify_file_info> xml_info_list = {folder_info("a.bin", "alpha")};
    std::vector<verify_file_info> unzip_info_list;
    testing::internal::CaptureStderr();
    EXPECT_EQ(unzip_list.get_list(dir.path(), xml_info_list, unzip_info_list), 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[ERR] calc_check_sum(): Failed to read the checksum.  command:[busybox sum " + path +
                  "]\n"
                  "[ERR] get_info_list(): Failed to calculate the checksum. file_path:[" +
                  path +
                  "]\n"
                  "[ERR] get_list(): Failed to get the file information from the destination "
                  "folder.\n");
    EXPECT_TRUE(unzip_info_list.empty());
}

// ---------------------------------------------------------------------------
// get_list of the whole folder

TEST(qav_mnt_fwupdate_lib_verify_unzip_list, WholeFolderListLeavesOutThePackageDescription)
{
    temp_dir dir;
    dir.write_file("FW_package.xml", "<package/>\n");
    dir.write_file("a.bin", "alpha");
    dir.write_file("b.bin", "bravo");
    qav_mnt_fwupdate_lib_verify_unzip_list unzip_list;
    std::vector<verify_file_info> list = {make_info("stale.bin", 1, "00001")};
    testing::internal::CaptureStderr();
    EXPECT_EQ(unzip_list.get_list(dir.path(), list), 0);
    const std::vector<std::string> lines = split_lines(testing::internal::GetCapturedStderr());
    EXPECT_THAT(list, testing::UnorderedElementsAre(same_record(folder_info("a.bin", "alpha")),
                                                    same_record(folder_info("b.bin", "bravo"))));
    // Folder dump: banner, folder, three files, banner; list dump: two
    // banners around the two records.
    ASSERT_EQ(lines.size(), 10u);
    EXPECT_EQ(lines[6] + "\n", LIST_BANNER);
    EXPECT_EQ(lines[9] + "\n", LIST_BANNER);
}

TEST(qav_mnt_fwupdate_lib_verify_unzip_list, WholeFolderListOfEmptyFolderIsEmpty)
{
    temp_dir dir;
    qav_mnt_fwupdate_lib_verify_unzip_list unzip_list;
    std::vector<verify_file_info> list = {make_info("stale.bin", 1, "00001")};
    testing::internal::CaptureStderr();
    EXPECT_EQ(unzip_list.get_list(dir.path(), list), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              folder_dump(dir.path()) + FOLDER_BANNER + LIST_BANNER + LIST_BANNER);
    EXPECT_TRUE(list.empty());
}

TEST(qav_mnt_fwupdate_lib_verify_unzip_list, WholeFolderListOfMissingFolderFailsWithTwoMessages)
{
    temp_dir dir;
    const std::string folder = dir.file("missing");
    qav_mnt_fwupdate_lib_verify_unzip_list unzip_list;
    std::vector<verify_file_info> list = {make_info("stale.bin", 1, "00001")};
    testing::internal::CaptureStderr();
    EXPECT_EQ(unzip_list.get_list(folder, list), 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[ERR] get_info_list(): Failed to open the directory. folder_path:[" + folder +
                  "]\n"
                  "[ERR] get_list(): Failed to get the file information from the destination "
                  "folder.\n");
    EXPECT_TRUE(list.empty());
}

}  // namespace
