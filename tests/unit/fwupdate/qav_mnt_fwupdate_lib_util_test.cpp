#include "qav_mnt_fwupdate_lib_util.h"
#include "qav_mnt_fwupdate_lib_stream_buffer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "bsd_sum.h"
#include "osl_mdev_upd.h"
#include "qav_mnt_fwupdate_lib_util_test_support.h"
#include "temp_dir.h"

namespace {

using norvane::qav_mnt_fwupdate_lib_stream_buffer;
using norvane::qav_mnt_fwupdate_lib_util;
using norvane::QAV_MNT_FWUPDATE_CHECK_SUM_SIZE;
using norvane::verify_file_info;
using norvane_test::bsd_sum_text;
using norvane_test::path_exists;
using norvane_test::pointer_text;
using norvane_test::read_file_bytes;
using norvane_test::scoped_env;
using norvane_test::split_lines;
using norvane_test::temp_dir;
using testing::HasSubstr;

// ---------------------------------------------------------------------------
// Streams whose writes store only part of the bytes, or whose close fails.

struct cookie_sink {
    size_t stored_per_write;
    int close_result;
    std::string bytes;
};

ssize_t cookie_sink_write(void* cookie, const char* data, size_t size)
{
    cookie_sink* sink = static_cast<cookie_sink*>(cookie);
    const size_t stored = size < sink->stored_per_write ? size : sink->stored_per_write;
    sink->bytes.append(data, stored);
    return static_cast<ssize_t>(stored);
}

int cookie_sink_close(void* cookie)
{
    return static_cast<cookie_sink*>(cookie)->close_result;
}

// Unbuffered, so that each fwrite reaches the sink at once.
FILE* open_cookie_sink(cookie_sink* sink)
{
    cookie_io_functions_t functions = {nullptr, cookie_sink_write, nullptr, cookie_sink_close};
    FILE* stream = ::fopencookie(sink, "w", functions);
    std::setvbuf(stream, nullptr, _IONBF, 0);
    return stream;
}

// ---------------------------------------------------------------------------
// remove_file

TEST(qav_mnt_fwupdate_lib_util, RemoveFileDeletesAnExistingFile)
{
    temp_dir dir;
    const std::string path = dir.write_file("package.zip", "PK");
    qav_mnt_fwupdate_lib_util util;
    testing::internal::CaptureStderr();
    EXPECT_EQ(util.remove_file(path), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_FALSE(path_exists(path));
}

TEST(qav_mnt_fwupdate_lib_util, RemoveFileOfMissingFileFails)
{
    temp_dir dir;
    const std::string path = dir.file("missing.zip");
    qav_mnt_fwupdate_lib_util util;
    testing::internal::CaptureStderr();
    EXPECT_EQ(util.remove_file(path), 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[ERR] remove_file(): Failed to delete the file. file_path:[" + path + "]\n");
}

// ---------------------------------------------------------------------------
// read_text_file

TEST(qav_mnt_fwupdate_lib_util, ReadTextFileReturnsTheWholeText)
{
    temp_dir dir;
    const std::string path = dir.write_file("FW_package.xml", "<a>\n  <b>1</b>\n</a>\n");
    qav_mnt_fwupdate_lib_util util;
    std::string text = "old";
    EXPECT_EQ(util.read_text_file(path, text), 0);
    EXPECT_EQ(text, "<a>\n  <b>1</b>\n</a>\n");
}

TEST(qav_mnt_fwupdate_lib_util, ReadTextFileOfEmptyFileGivesEmptyText)
{
    temp_dir dir;
    const std::string path = dir.write_file("empty.xml", "");
    qav_mnt_fwupdate_lib_util util;
    std::string text = "old";
    testing::internal::CaptureStderr();
    EXPECT_EQ(util.read_text_file(path, text), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(text, "");
}

TEST(qav_mnt_fwupdate_lib_util, ReadTextFileEndsTheTextAtTheFirstNul)
{
    temp_dir dir;
    const std::string path = dir.write_file("nul.xml", std::string("abc\0def\0", 8));
    qav_mnt_fwupdate_lib_util util;
    std::string text = "old";
    testing::internal::CaptureStderr();
    EXPECT_EQ(util.read_text_file(path, text), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(text, "abc");
}

TEST(qav_mnt_fwupdate_lib_util, ReadTextFileOfMissingFileFailsWithStatMessage)
{
    temp_dir dir;
    const std::string path = dir.file("missing.xml");
    qav_mnt_fwupdate_lib_util util;
    std::string text = "old";
    testing::internal::CaptureStderr();
    EXPECT_EQ(util.read_text_file(path, text), 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[ERR] read_text_file(): Failed to get the stat structure. file_path:[" + path +
                  "]\n");
    EXPECT_EQ(text, "old");
}

TEST(qav_mnt_fwupdate_lib_util, ReadTextFileThatCannotBeOpenedFails)
{
    temp_dir dir;
    const std::string path = dir.write_file("a.xml", "text");
    qav_mnt_fwupdate_lib_util util;
    std::string text = "old";
    int result = 0;
    testing::internal::CaptureStderr();
    {
        norvane_test::exhausted_descriptors no_descriptors;
        result = util.read_text_file(path, text);
    }
    EXPECT_EQ(result, 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[ERR] read_text_file(): Failed to open the file. file_path:[" + path + "]\n");
    EXPECT_EQ(text, "old");
}

TEST(qav_mnt_fwupdate_lib_util, ReadTextFileOfAFolderFailsToRead)
{
    temp_dir dir;
    const std::string path = dir.file("folder");
    ASSERT_EQ(::mkdir(path.c_str(), 0755), 0);
    struct stat status;
    ASSERT_EQ(::stat(path.c_str(), &status), 0);
    ASSERT_GT(status.st_size, 0);  // a folder opens but yields no bytes
    qav_mnt_fwupdate_lib_util util;
    std::string text = "old";
    testing::internal::CaptureStderr();
    EXPECT_EQ(util.read_text_file(path, text), 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[ERR] read_text_file(): Failed to read the file. file_path:[" + path + "]\n");
    EXPECT_EQ(text, "old");
}

// ---------------------------------------------------------------------------
// open_binary_file, write_binary_file, close_file

TEST(qav_mnt_fwupdate_lib_util, BinaryFileIsCreatedWrittenAndClosed)
{
    temp_dir dir;
    const std::string path = dir.file("qav_mnt_fwpackage.zip");
    qav_mnt_fwupdate_lib_util util;
    FILE* file = nullptr;
    char first[] = {'P', 'K', '\x03', '\x04', '\0'};
    char second[] = "rest";
    testing::internal::CaptureStderr();
    ASSERT_EQ(util.open_binary_file(path, &file), 0);
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(util.write_binary_file(file, first, 5), 0);
    EXPECT_EQ(util.write_binary_file(file, second, 4), 0);
    EXPECT_EQ(util.close_file(file), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(read_file_bytes(path), std::string("PK\x03\x04\0rest", 9));
}

// The size of the file at path as the file system has it, or -1.
long long stored_size(const std::string& path)
{
    struct stat status;
    return ::stat(path.c_str(), &status) == 0 ? static_cast<long long>(status.st_size) : -1;
}

// A delivery writes the 16 leading bytes and then one chunk per transfer;
// the package file's stream hands them to the file in whole buffers of 256
// KiB, and the rest when it is closed.
TEST(qav_mnt_fwupdate_lib_util, PackageFileIsWrittenInWholeStreamBuffers)
{
    temp_dir dir;
    const std::string path = dir.file("qav_mnt_fwpackage.zip");
    qav_mnt_fwupdate_lib_util util;
    FILE* file = nullptr;
    const size_t buffers_before = qav_mnt_fwupdate_lib_stream_buffer::attached_count();
    ASSERT_EQ(util.open_binary_file(path, &file), 0);
    EXPECT_EQ(buffers_before + 1, qav_mnt_fwupdate_lib_stream_buffer::attached_count());
    std::string leading(16, '\0');
    std::string expected = leading;
    EXPECT_EQ(util.write_binary_file(file, &leading[0], 16), 0);
    const long long buffer_size =
        static_cast<long long>(qav_mnt_fwupdate_lib_stream_buffer::STREAM_BUFFER_SIZE);
    for (int index = 0; index < 70; ++index) {
        std::string chunk(16384, static_cast<char>('a' + index % 26));
        EXPECT_EQ(util.write_binary_file(file, &chunk[0], 16384), 0);
        expected += chunk;
        const long long whole_buffers = static_cast<long long>(expected.size()) / buffer_size;
        EXPECT_EQ(whole_buffers * buffer_size, stored_size(path)) << "after chunk " << index;
    }
    EXPECT_EQ(util.close_file(file), 0);
    EXPECT_EQ(buffers_before, qav_mnt_fwupdate_lib_stream_buffer::attached_count());
    EXPECT_EQ(read_file_bytes(path), expected);
}

TEST(qav_mnt_fwupdate_lib_util, OpenBinaryFileTruncatesAnExistingFile)
{
    temp_dir dir;
    const std::string path = dir.write_file("old.zip", "previous content");
    qav_mnt_fwupdate_lib_util util;
    FILE* file = nullptr;
    ASSERT_EQ(util.open_binary_file(path, &file), 0);
    EXPECT_EQ(util.close_file(file), 0);
    EXPECT_EQ(read_file_bytes(path), "");
    EXPECT_TRUE(path_exists(path));
}

TEST(qav_mnt_fwupdate_lib_util, OpenBinaryFileInMissingFolderFailsWithNullFile)
{
    temp_dir dir;
    const std::string path = dir.file("no_such_folder/package.zip");
    qav_mnt_fwupdate_lib_util util;
    FILE* file = stdout;
    testing::internal::CaptureStderr();
    EXPECT_EQ(util.open_binary_file(path, &file), 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[ERR] open_binary_file(): Failed to open the file. file_path:[" + path + "]\n");
    EXPECT_EQ(file, nullptr);
}

TEST(qav_mnt_fwupdate_lib_util, WriteBinaryFileWithNullFileFails)
{
    qav_mnt_fwupdate_lib_util util;
    char data[] = "0123456789";
    testing::internal::CaptureStderr();
    EXPECT_EQ(util.write_binary_file(nullptr, data, 10), 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[ERR] write_binary_file(): Failed to write the file.(=NULL) pfile=[0x00000000]\n");
}

TEST(qav_mnt_fwupdate_lib_util, ShortWriteThatStoredThreeOfTenBytesSucceeds)
{
    cookie_sink sink = {3, 0, ""};
    FILE* stream = open_cookie_sink(&sink);
    ASSERT_NE(stream, nullptr);
    qav_mnt_fwupdate_lib_util util;
    char data[] = "0123456789";
    testing::internal::CaptureStderr();
    EXPECT_EQ(util.write_binary_file(stream, data, 10), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(sink.bytes, "012");
    std::fclose(stream);
}

TEST(qav_mnt_fwupdate_lib_util, WriteThatStoredNothingFails)
{
    cookie_sink sink = {0, 0, ""};
    FILE* stream = open_cookie_sink(&sink);
    ASSERT_NE(stream, nullptr);
    const std::string stream_text = pointer_text(stream);
    qav_mnt_fwupdate_lib_util util;
    char data[] = "0123456789";
    testing::internal::CaptureStderr();
    EXPECT_EQ(util.write_binary_file(stream, data, 10), 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[ERR] write_binary_file(): Failed to write the file. pfile:[" + stream_text +
                  "] write_size:[10]\n");
    EXPECT_EQ(sink.bytes, "");
    std::fclose(stream);
}

TEST(qav_mnt_fwupdate_lib_util, WriteOfZeroOrNegativeSizeFailsWithoutWriting)
{
    cookie_sink sink = {100, 0, ""};
    FILE* stream = open_cookie_sink(&sink);
    ASSERT_NE(stream, nullptr);
    const std::string stream_text = pointer_text(stream);
    qav_mnt_fwupdate_lib_util util;
    char data[] = "0123456789";
    testing::internal::CaptureStderr();
    EXPECT_EQ(util.write_binary_file(stream, data, 0), 1);
    EXPECT_EQ(util.write_binary_file(stream, data, -5), 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[ERR] write_binary_file(): Failed to write the file. pfile:[" + stream_text +
                  "] write_size:[0]\n"
                  "[ERR] write_binary_file(): Failed to write the file. pfile:[" + stream_text +
                  "] write_size:[-5]\n");
    EXPECT_EQ(sink.bytes, "");
    std::fclose(stream);
}

TEST(qav_mnt_fwupdate_lib_util, CloseFileWithNullFileFails)
{
    qav_mnt_fwupdate_lib_util util;
    testing::internal::CaptureStderr();
    EXPECT_EQ(util.close_file(nullptr), 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[ERR] close_file(): Failed to close the file.(=NULL) pfile=[0x00000000]\n");
}

TEST(qav_mnt_fwupdate_lib_util, CloseFileFailsWhenTheStreamCannotClose)
{
    cookie_sink sink = {100, -1, ""};
    FILE* stream = open_cookie_sink(&sink);
    ASSERT_NE(stream, nullptr);
    const std::string stream_text = pointer_text(stream);
    qav_mnt_fwupdate_lib_util util;
    testing::internal::CaptureStderr();
    EXPECT_EQ(util.close_file(stream), 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[ERR] close_file(): Failed to close the file. pfile=[" + stream_text + "]\n");
}

// ---------------------------------------------------------------------------
// create_dir

TEST(qav_mnt_fwupdate_lib_util, CreateDirMakesTheFolderAndItsParents)
{
    temp_dir dir;
    const std::string path = dir.file("tmp/fwupdate/update");
    qav_mnt_fwupdate_lib_util util;
    EXPECT_EQ(util.create_dir(path), 0);
    struct stat status;
    ASSERT_EQ(::stat(path.c_str(), &status), 0);
    EXPECT_TRUE(S_ISDIR(status.st_mode));
}

TEST(qav_mnt_fwupdate_lib_util, CreateDirOfExistingFolderSucceeds)
{
    temp_dir dir;
    qav_mnt_fwupdate_lib_util util;
    EXPECT_EQ(util.create_dir(dir.path()), 0);
    EXPECT_TRUE(path_exists(dir.path()));
}

TEST(qav_mnt_fwupdate_lib_util, CreateDirUnderARegularFileStillReturnsZero)
{
    temp_dir dir;
    const std::string file = dir.write_file("plain_file", "x");
    const std::string path = file + "/update";
    qav_mnt_fwupdate_lib_util util;
    testing::internal::CaptureStderr();
    EXPECT_EQ(util.create_dir(path), 0);
    const std::string log = testing::internal::GetCapturedStderr();
    EXPECT_FALSE(path_exists(path));
    EXPECT_THAT(log, testing::Not(HasSubstr("[ERR]")));  // only mkdir's own complaint
}

// ---------------------------------------------------------------------------
// unzip

TEST(qav_mnt_fwupdate_lib_util, UnzipExtractsARealArchiveFlatIntoTheFolder)
{
    temp_dir source;
    source.write_file("a.bin", std::string("\x01\x02\x03\0\xFF", 5));
    ASSERT_EQ(::mkdir(source.file("sub").c_str(), 0755), 0);
    source.write_file("sub/c.txt", "inner file\n");
    temp_dir work;
    const std::string zip_path = work.file("qav_mnt_fwpackage.zip");
    const std::string zip_command =
        "cd '" + source.path() + "' && zip -q -r '" + zip_path + "' a.bin sub";
    ASSERT_EQ(std::system(zip_command.c_str()), 0);
    const std::string folder = work.file("update");
    ASSERT_EQ(::mkdir(folder.c_str(), 0755), 0);

    qav_mnt_fwupdate_lib_util util;
    testing::internal::CaptureStderr();
    EXPECT_EQ(util.unzip(zip_path, folder), 0);
    EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::Not(HasSubstr("[ERR]")));
    EXPECT_EQ(read_file_bytes(folder + "/a.bin"), std::string("\x01\x02\x03\0\xFF", 5));
    EXPECT_EQ(read_file_bytes(folder + "/c.txt"), "inner file\n");
    EXPECT_FALSE(path_exists(folder + "/sub/c.txt"));
}

TEST(qav_mnt_fwupdate_lib_util, UnzipOfAFileThatIsNoArchiveSucceeds)
{
    temp_dir work;
    const std::string zip_path = work.write_file("qav_mnt_fwpackage.zip", "this is no zip archive");
    const std::string folder = work.file("update");
    ASSERT_EQ(::mkdir(folder.c_str(), 0755), 0);
    qav_mnt_fwupdate_lib_util util;
    testing::internal::CaptureStderr();
    EXPECT_EQ(util.unzip(zip_path, folder), 0);
    EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::Not(HasSubstr("[ERR]")));
    EXPECT_FALSE(path_exists(folder + "/this"));
}

TEST(qav_mnt_fwupdate_lib_util, UnzipFailsWhenTheShellResultCannotBeCollected)
{
    temp_dir work;
    const std::string zip_path = work.write_file("qav_mnt_fwpackage.zip", "PK");
    const std::string folder = work.path();
    qav_mnt_fwupdate_lib_util util;
    int result = 0;
    testing::internal::CaptureStderr();
    {
        norvane_test::ignored_sigchld reaped_by_kernel;
        result = util.unzip(zip_path, folder);
    }
    EXPECT_EQ(result, 1);
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                HasSubstr("[ERR] unzip(): Failed to unzip. unzip_ret:[0xFFFFFFFF] zip_file_path:[" +
                          zip_path + "] unzip_folder_path:[" + folder + "]\n"));
}

// ---------------------------------------------------------------------------
// calc_check_sum

TEST(qav_mnt_fwupdate_lib_util, CalcCheckSumEqualsTheBsdSumOfRealFiles)
{
    temp_dir dir;
    std::string binary;
    for (int i = 0; i < 5000; ++i) {
        binary.push_back(static_cast<char>((i * 131 + 7) & 0xFF));
    }
    const std::vector<std::string> contents = {"", "a", "hello world\n", binary};
    qav_mnt_fwupdate_lib_util util;
    for (size_t i = 0; i < contents.size(); ++i) {
        const std::string path = dir.write_file("file" + std::to_string(i) + ".bin", contents[i]);
        char check_sum[QAV_MNT_FWUPDATE_CHECK_SUM_SIZE] = {0};
        testing::internal::CaptureStderr();
        EXPECT_EQ(util.calc_check_sum(path, check_sum), 0);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
        EXPECT_EQ(std::string(check_sum), bsd_sum_text(contents[i])) << path;
    }
}

TEST(qav_mnt_fwupdate_lib_util, CalcCheckSumOfEmptyFileIsFiveZeros)
{
    temp_dir dir;
    const std::string path = dir.write_file("empty.bin", "");
    qav_mnt_fwupdate_lib_util util;
    char check_sum[QAV_MNT_FWUPDATE_CHECK_SUM_SIZE] = {0};
    EXPECT_EQ(util.calc_check_sum(path, check_sum), 0);
    EXPECT_STREQ(check_sum, "00000");
}

TEST(qav_mnt_fwupdate_lib_util, CalcCheckSumAcceptsEveryAllowedCharacter)
{
    temp_dir dir;
    const std::string path = dir.write_file("Az09+b,c=d@e%f:g~h-i_j.bin", "allowed\n");
    qav_mnt_fwupdate_lib_util util;
    char check_sum[QAV_MNT_FWUPDATE_CHECK_SUM_SIZE] = {0};
    testing::internal::CaptureStderr();
    EXPECT_EQ(util.calc_check_sum(path, check_sum), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(std::string(check_sum), bsd_sum_text("allowed\n"));
}

TEST(qav_mnt_fwupdate_lib_util, CalcCheckSumFailsWhenTheToolPrintsNothing)
{
    temp_dir dir;
    const std::string path = dir.write_file("a.bin", "content");
    norvane_test::stub_busybox silent_tool("exit 0\n");
    qav_mnt_fwupdate_lib_util util;
    char check_sum[QAV_MNT_FWUPDATE_CHECK_SUM_SIZE] = {0};
    testing::internal::CaptureStderr();
    EXPECT_EQ(util.calc_check_sum(path, check_sum), 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[ERR] calc_check_sum(): Failed to read the checksum.  command:[busybox sum " + path +
                  "]\n");
}

TEST(qav_mnt_fwupdate_lib_util, CalcCheckSumIgnoresTheToolsExitStatus)
{
    temp_dir dir;
    const std::string path = dir.write_file("a.bin", "content");
    norvane_test::stub_busybox failing_tool("echo '54321     1 '\"$2\"\nexit 3\n");
    qav_mnt_fwupdate_lib_util util;
    char check_sum[QAV_MNT_FWUPDATE_CHECK_SUM_SIZE] = {0};
    testing::internal::CaptureStderr();
    EXPECT_EQ(util.calc_check_sum(path, check_sum), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_STREQ(check_sum, "54321");
}

TEST(qav_mnt_fwupdate_lib_util, CalcCheckSumStopsAtALineEndWithinFiveCharacters)
{
    temp_dir dir;
    const std::string path = dir.write_file("a.bin", "content");
    norvane_test::stub_busybox short_tool("echo 12\n");
    qav_mnt_fwupdate_lib_util util;
    char check_sum[QAV_MNT_FWUPDATE_CHECK_SUM_SIZE] = {0};
    EXPECT_EQ(util.calc_check_sum(path, check_sum), 0);
    EXPECT_STREQ(check_sum, "12\n");
}

TEST(qav_mnt_fwupdate_lib_util, CalcCheckSumOfMissingFileFailsToReadTheChecksum)
{
    temp_dir dir;
    const std::string path = dir.file("missing.bin");
    qav_mnt_fwupdate_lib_util util;
    char check_sum[QAV_MNT_FWUPDATE_CHECK_SUM_SIZE] = {0};
    testing::internal::CaptureStderr();
    EXPECT_EQ(util.calc_check_sum(path, check_sum), 1);
    // The tool's own complaint goes to standard error before our line.
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                testing::EndsWith("[ERR] calc_check_sum(): Failed to read the checksum.  "
                                  "command:[busybox sum " +
                                  path + "]\n"));
}

TEST(qav_mnt_fwupdate_lib_util, CalcCheckSumFailsWhenThePipeCannotBeOpened)
{
    temp_dir dir;
    const std::string path = dir.write_file("a.bin", "content");
    qav_mnt_fwupdate_lib_util util;
    char check_sum[QAV_MNT_FWUPDATE_CHECK_SUM_SIZE] = {0};
    int result = 0;
    testing::internal::CaptureStderr();
    {
        norvane_test::exhausted_descriptors no_descriptors;
        result = util.calc_check_sum(path, check_sum);
    }
    EXPECT_EQ(result, 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[ERR] calc_check_sum(): Failed to open pipe. command:[busybox sum " + path + "]\n");
}

TEST(qav_mnt_fwupdate_lib_util, CalcCheckSumFailsWhenThePipeCannotBeClosed)
{
    temp_dir dir;
    const std::string path = dir.write_file("a.bin", "content");
    qav_mnt_fwupdate_lib_util util;
    char check_sum[QAV_MNT_FWUPDATE_CHECK_SUM_SIZE] = {0};
    int result = 0;
    testing::internal::CaptureStderr();
    {
        norvane_test::ignored_sigchld reaped_by_kernel;
        result = util.calc_check_sum(path, check_sum);
    }
    EXPECT_EQ(result, 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[ERR] calc_check_sum(): Failed to close the pipe.command:[busybox sum " + path +
                  "]\n");
    // The checksum had been read before the close failed.
    EXPECT_EQ(std::string(check_sum), bsd_sum_text("content"));
}

// A file whose checksum command, "busybox sum " (12) + path + NUL, takes
// command_size bytes. Folders of 200 characters lead to it, so that any
// size can be reached with names the file system accepts.
std::string make_file_for_command_size(const temp_dir& dir, size_t command_size)
{
    const size_t path_length = command_size - 13;
    std::string path = dir.path();
    while (path_length - path.size() > 255) {
        path += "/" + std::string(200, 'd');
        ::mkdir(path.c_str(), 0755);
    }
    const std::string stem = "/" + std::to_string(command_size);
    path += stem + std::string(path_length - path.size() - stem.size(), 'f');
    norvane_test::write_file_bytes(path, "exists\n");
    return path;
}

TEST(qav_mnt_fwupdate_lib_util, CalcCheckSumWorksForACommandOf127Bytes)
{
    temp_dir dir;
    const std::string path = make_file_for_command_size(dir, 127);
    ASSERT_EQ(path.size(), 114u);
    EXPECT_EQ(qav_mnt_fwupdate_lib_util::max_check_sum_path_length(), 114u);
    qav_mnt_fwupdate_lib_util util;
    char check_sum[QAV_MNT_FWUPDATE_CHECK_SUM_SIZE] = {0};
    testing::internal::CaptureStderr();
    EXPECT_EQ(util.calc_check_sum(path, check_sum), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(std::string(check_sum), bsd_sum_text("exists\n"));
}

// From 128 bytes on, the allocator's signed 8-bit size wraps: 128..256 give
// no block, 257..300 a block of 1..44 bytes, too small for the command. A
// command is run whole or not at all, so every one of them is an allocation
// failure. A cut command would check another file, or, cut to "busybox sum"
// (268 and 269), the standard input, here /dev/null with its sum 00000.
TEST(qav_mnt_fwupdate_lib_util, CalcCheckSumRefusesEveryCommandOf128To300BytesAsAnAllocationFailure)
{
    temp_dir dir;
    norvane_test::null_standard_input no_input;
    qav_mnt_fwupdate_lib_util util;
    for (size_t command_size = 128; command_size <= 300; ++command_size) {
        const std::string path = make_file_for_command_size(dir, command_size);
        ASSERT_EQ(command_size, std::string("busybox sum ").size() + path.size() + 1);
        ASSERT_TRUE(path_exists(path));
        char check_sum[QAV_MNT_FWUPDATE_CHECK_SUM_SIZE] = {0};
        testing::internal::CaptureStderr();
        EXPECT_EQ(util.calc_check_sum(path, check_sum), 1) << command_size;
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  "[ERR] calc_check_sum(): Failed to alloc mem.\n")
            << command_size;
        EXPECT_STREQ(check_sum, "") << command_size;
    }
}

TEST(qav_mnt_fwupdate_lib_util, CalcCheckSumStartsNoToolForACommandOf128To300Bytes)
{
    temp_dir dir;
    const std::string marker = dir.file("tool_ran");
    norvane_test::stub_busybox marking_tool("touch '" + marker + "'\necho 11111\n");
    qav_mnt_fwupdate_lib_util util;
    for (size_t command_size = 128; command_size <= 300; ++command_size) {
        const std::string path = make_file_for_command_size(dir, command_size);
        char check_sum[QAV_MNT_FWUPDATE_CHECK_SUM_SIZE] = {0};
        testing::internal::CaptureStderr();
        EXPECT_EQ(util.calc_check_sum(path, check_sum), 1) << command_size;
        testing::internal::GetCapturedStderr();
        EXPECT_FALSE(path_exists(marker)) << command_size;
    }
    // The same stub does run for a command that fits, so the marker could
    // appear.
    const std::string fits = make_file_for_command_size(dir, 127);
    char check_sum[QAV_MNT_FWUPDATE_CHECK_SUM_SIZE] = {0};
    EXPECT_EQ(util.calc_check_sum(fits, check_sum), 0);
    EXPECT_TRUE(path_exists(marker));
    EXPECT_STREQ(check_sum, "11111");
}

TEST(qav_mnt_fwupdate_lib_util, CalcCheckSumRefusesAShellCommandInThePath)
{
    // Run from inside the folder, where an injected "touch x" would land.
    temp_dir dir;
    char previous[4096];
    ASSERT_NE(::getcwd(previous, sizeof previous), nullptr);
    ASSERT_EQ(::chdir(dir.path().c_str()), 0);
    qav_mnt_fwupdate_lib_util util;
    char check_sum[QAV_MNT_FWUPDATE_CHECK_SUM_SIZE] = {0};
    testing::internal::CaptureStderr();
    const int result = util.calc_check_sum("a;touch x", check_sum);
    const std::string log = testing::internal::GetCapturedStderr();
    ASSERT_EQ(::chdir(previous), 0);
    EXPECT_EQ(result, 1);
    EXPECT_EQ(log,
              "[ERR] calc_check_sum(): Unsafe character in the file path. file_path:[a;touch x]\n");
    EXPECT_FALSE(path_exists(dir.file("x")));
}

TEST(qav_mnt_fwupdate_lib_util, CalcCheckSumStartsNoShellForAnyUnsafeCharacter)
{
    temp_dir dir;
    const std::string marker = dir.file("tool_ran");
    norvane_test::stub_busybox marking_tool("touch '" + marker + "'\necho 11111\n");
    qav_mnt_fwupdate_lib_util util;
    char check_sum[QAV_MNT_FWUPDATE_CHECK_SUM_SIZE] = {0};
    const std::string unsafe = " \t\n;|&$`'\"\\<>()*?[]{}!#^";
    for (char c : unsafe) {
        const std::string path = dir.path() + "/a" + std::string(1, c) + "b";
        testing::internal::CaptureStderr();
        EXPECT_EQ(util.calc_check_sum(path, check_sum), 1);
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  "[ERR] calc_check_sum(): Unsafe character in the file path. file_path:[" + path +
                      "]\n");
        EXPECT_FALSE(path_exists(marker)) << static_cast<int>(c);
    }
    const std::string high_byte_path = dir.path() + "/\xC3\xA9.bin";
    testing::internal::CaptureStderr();
    EXPECT_EQ(util.calc_check_sum(high_byte_path, check_sum), 1);
    testing::internal::GetCapturedStderr();
    EXPECT_FALSE(path_exists(marker));
    // The same stub does run for a safe path, so the marker could appear.
    EXPECT_EQ(util.calc_check_sum(dir.path() + "/ab", check_sum), 0);
    EXPECT_TRUE(path_exists(marker));
    EXPECT_STREQ(check_sum, "11111");
}

// ---------------------------------------------------------------------------
// write_non_volatile_area

class write_non_volatile_area_test : public testing::Test {
protected:
    std::string record_path(const std::string& name) const
    {
        return state_.path() + "/nv/" + name;
    }
    std::string service_log() const { return read_file_bytes(state_.file("update-service.log")); }

    temp_dir state_;
    scoped_env state_env_{"FWUPDATE_STATE_DIR", state_.path()};
    scoped_env faults_env_{"FWUPDATE_FAULTS", ""};
};

TEST_F(write_non_volatile_area_test, RecordFileHoldsTheBytes)
{
    qav_mnt_fwupdate_lib_util util;
    char name[] = "FIRMWARE_VERSION_DEVICE";
    char data[] = "1.02.003";
    testing::internal::CaptureStderr();
    EXPECT_EQ(util.write_non_volatile_area(name, data, 0, sizeof(data)), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(read_file_bytes(record_path("FIRMWARE_VERSION_DEVICE")),
              std::string("1.02.003\0", 9));
}

TEST_F(write_non_volatile_area_test, RecordIsWrittenAtTheOffset)
{
    qav_mnt_fwupdate_lib_util util;
    char name[] = "FIRMWARE_VERSION_ENHANCEMENT";
    char data[] = "2.0";
    EXPECT_EQ(util.write_non_volatile_area(name, data, 4, 3), 0);
    EXPECT_EQ(read_file_bytes(record_path("FIRMWARE_VERSION_ENHANCEMENT")),
              std::string("\0\0\0\0" "2.0", 7));
}

TEST_F(write_non_volatile_area_test, NameIsCutAfter256Characters)
{
    std::string long_name;
    while (long_name.size() < 300) {
        long_name += "ab/";
    }
    qav_mnt_fwupdate_lib_util util;
    std::vector<char> name(long_name.begin(), long_name.end());
    name.push_back('\0');
    char data[] = "v1";
    EXPECT_EQ(util.write_non_volatile_area(name.data(), data, 0, 2), 0);
    EXPECT_EQ(read_file_bytes(record_path(long_name.substr(0, 256))), "v1");
    EXPECT_EQ(long_name.substr(0, 256).back(), 'a');
}

TEST_F(write_non_volatile_area_test, NullNameFailsWithParameterError)
{
    qav_mnt_fwupdate_lib_util util;
    char data[] = "1.0";
    testing::internal::CaptureStderr();
    EXPECT_EQ(util.write_non_volatile_area(nullptr, data, 0, 4), 1);
    // glibc prints a null pointer through "%08p" as "(nil)" padded to 8,
    // after the format's own "0x".
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[ERR] write_non_volatile_area(): Parameter ERROR!! name[0x   (nil)]\n");
    EXPECT_EQ(service_log(), "");
}

TEST_F(write_non_volatile_area_test, OpenFaultFailsWithoutWriting)
{
    scoped_env faults("FWUPDATE_FAULTS", "flopen");
    qav_mnt_fwupdate_lib_util util;
    char name[] = "FIRMWARE_VERSION_DEVICE";
    char data[] = "1.0";
    testing::internal::CaptureStderr();
    EXPECT_EQ(util.write_non_volatile_area(name, data, 0, 4), 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[ERR] write_non_volatile_area(): Failed to open. open_ret=[0x00000001]\n");
    EXPECT_EQ(service_log(), "flopen fault\n");
    EXPECT_FALSE(path_exists(record_path("FIRMWARE_VERSION_DEVICE")));
}

// The record the writes below find in place.
void write_previous_record()
{
    qav_mnt_fwupdate_lib_util util;
    char name[] = "FIRMWARE_VERSION_DEVICE";
    char previous[] = "0.9";
    ASSERT_EQ(util.write_non_volatile_area(name, previous, 0, 4), 0);
}

TEST_F(write_non_volatile_area_test, WriteFaultStillClosesAndKeepsThePreviousRecord)
{
    write_previous_record();
    scoped_env faults("FWUPDATE_FAULTS", "flwrite");
    qav_mnt_fwupdate_lib_util util;
    char name[] = "FIRMWARE_VERSION_DEVICE";
    char data[] = "1.0";
    testing::internal::CaptureStderr();
    EXPECT_EQ(util.write_non_volatile_area(name, data, 0, 4), 1);
    // The library refuses to close a record whose write failed into place.
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[ERR] write_non_volatile_area(): Failed to write. write_ret=[0x00000001]\n"
              "[ERR] write_non_volatile_area(): Failed to close. close_ret=[0x00000001]\n");
    EXPECT_EQ(service_log(), "flwrite fault\n");
    EXPECT_EQ(read_file_bytes(record_path("FIRMWARE_VERSION_DEVICE")), std::string("0.9\0", 4));
    // Nothing is left open: a further close finds no record.
    unsigned long checksum = 0;
    EXPECT_NE(osl_mdev_upd_fwup_flclose(0, &checksum), 0);
}

TEST_F(write_non_volatile_area_test, CloseFaultFailsAndKeepsThePreviousRecord)
{
    write_previous_record();
    scoped_env faults("FWUPDATE_FAULTS", "flclose");
    qav_mnt_fwupdate_lib_util util;
    char name[] = "FIRMWARE_VERSION_DEVICE";
    char data[] = "1.0";
    testing::internal::CaptureStderr();
    EXPECT_EQ(util.write_non_volatile_area(name, data, 0, 4), 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[ERR] write_non_volatile_area(): Failed to close. close_ret=[0x00000001]\n");
    EXPECT_EQ(service_log(), "flclose fault\n");
    EXPECT_EQ(read_file_bytes(record_path("FIRMWARE_VERSION_DEVICE")), std::string("0.9\0", 4));
}

TEST_F(write_non_volatile_area_test, WriteAndCloseFaultsAreBothReported)
{
    scoped_env faults("FWUPDATE_FAULTS", "flwrite,flclose");
    qav_mnt_fwupdate_lib_util util;
    char name[] = "FIRMWARE_VERSION_DEVICE";
    char data[] = "1.0";
    testing::internal::CaptureStderr();
    EXPECT_EQ(util.write_non_volatile_area(name, data, 0, 4), 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[ERR] write_non_volatile_area(): Failed to write. write_ret=[0x00000001]\n"
              "[ERR] write_non_volatile_area(): Failed to close. close_ret=[0x00000001]\n");
    EXPECT_EQ(service_log(), "flwrite fault\nflclose fault\n");
}

// ---------------------------------------------------------------------------
// dsp_file_info_in_folder

const char* const FOLDER_BANNER =
    "[INF] dsp_file_info_in_folder(): ----------(dsp_file_info_in_folder)----------\n";

TEST(qav_mnt_fwupdate_lib_util, DspFileInfoInEmptyFolderPrintsBannersAndFolderOnly)
{
    temp_dir dir;
    qav_mnt_fwupdate_lib_util util;
    testing::internal::CaptureStderr();
    util.dsp_file_info_in_folder(dir.path());
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              std::string(FOLDER_BANNER) + "[INF] dsp_file_info_in_folder(): folder_path:[" +
                  dir.path() + "]\n" + FOLDER_BANNER);
}

TEST(qav_mnt_fwupdate_lib_util, DspFileInfoInMissingFolderHasNoClosingBanner)
{
    temp_dir dir;
    const std::string folder = dir.file("missing");
    qav_mnt_fwupdate_lib_util util;
    testing::internal::CaptureStderr();
    util.dsp_file_info_in_folder(folder);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              std::string(FOLDER_BANNER) + "[INF] dsp_file_info_in_folder(): folder_path:[" +
                  folder + "]\n" +
                  "[ERR] dsp_file_info_in_folder(): Failed to open the directory. folder_path:[" +
                  folder + "]\n");
}

TEST(qav_mnt_fwupdate_lib_util, DspFileInfoInFolderListsNameSizeAndChecksum)
{
    temp_dir dir;
    dir.write_file("a.bin", "alpha");
    dir.write_file("FW_package.xml", "<xml/>\n");
    qav_mnt_fwupdate_lib_util util;
    testing::internal::CaptureStderr();
    util.dsp_file_info_in_folder(dir.path());
    const std::vector<std::string> lines = split_lines(testing::internal::GetCapturedStderr());
    ASSERT_EQ(lines.size(), 5u);
    EXPECT_EQ(lines[0] + "\n", FOLDER_BANNER);
    EXPECT_EQ(lines[1], "[INF] dsp_file_info_in_folder(): folder_path:[" + dir.path() + "]");
    // The directory decides the order of the entries.
    EXPECT_THAT((std::vector<std::string>{lines[2], lines[3]}),
                testing::UnorderedElementsAre(
                    "[INF] dsp_file_info_in_folder(): file_name[a.bin]\tfile_size[5]\tcheck_sum:[" +
                        bsd_sum_text("alpha") + "]",
                    "[INF] dsp_file_info_in_folder(): file_name[FW_package.xml]\tfile_size[7]"
                    "\tcheck_sum:[" +
                        bsd_sum_text("<xml/>\n") + "]"));
    EXPECT_EQ(lines[4] + "\n", FOLDER_BANNER);
}

TEST(qav_mnt_fwupdate_lib_util, DspFileInfoStopsAtAFileWithoutChecksumAndStillCloses)
{
    temp_dir dir;
    const std::string path = dir.write_file("a.bin", "alpha");
    norvane_test::stub_busybox silent_tool("exit 0\n");
    qav_mnt_fwupdate_lib_util util;
    testing::internal::CaptureStderr();
    util.dsp_file_info_in_folder(dir.path());
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              std::string(FOLDER_BANNER) + "[INF] dsp_file_info_in_folder(): folder_path:[" +
                  dir.path() + "]\n" +
                  "[ERR] calc_check_sum(): Failed to read the checksum.  command:[busybox sum " +
                  path + "]\n" +
                  "[ERR] dsp_file_info_in_folder(): Failed to calculate the checksum. file_path:[" +
                  path + "]\n" + FOLDER_BANNER);
}

TEST(qav_mnt_fwupdate_lib_util, DspFileInfoStopsAtASubfolder)
{
    temp_dir dir;
    const std::string sub = dir.file("sub");
    ASSERT_EQ(::mkdir(sub.c_str(), 0755), 0);
    qav_mnt_fwupdate_lib_util util;
    testing::internal::CaptureStderr();
    util.dsp_file_info_in_folder(dir.path());
    const std::string log = testing::internal::GetCapturedStderr();
    EXPECT_THAT(log, HasSubstr("[ERR] calc_check_sum(): Failed to read the checksum.  "
                               "command:[busybox sum " +
                               sub + "]\n"));
    EXPECT_THAT(log, testing::EndsWith("[ERR] dsp_file_info_in_folder(): Failed to calculate the "
                                       "checksum. file_path:[" +
                                       sub + "]\n" + FOLDER_BANNER));
}

TEST(qav_mnt_fwupdate_lib_util, DspFileInfoStopsAtAnEntryWithoutStatus)
{
    temp_dir dir;
    const std::string link = dir.file("dangling");
    ASSERT_EQ(::symlink("/nonexistent/target", link.c_str()), 0);
    qav_mnt_fwupdate_lib_util util;
    testing::internal::CaptureStderr();
    util.dsp_file_info_in_folder(dir.path() + "/");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              std::string(FOLDER_BANNER) + "[INF] dsp_file_info_in_folder(): folder_path:[" +
                  dir.path() + "/]\n" +
                  "[ERR] dsp_file_info_in_folder(): Failed to get the stat structure. file_path:[" +
                  dir.path() + "//dangling]\n" + FOLDER_BANNER);
}

// ---------------------------------------------------------------------------
// dsp_text_file

const char* const TEXT_BANNER = "[INF] dsp_text_file(): ----------(dsp_text_file)----------\n";

TEST(qav_mnt_fwupdate_lib_util, DspTextFilePrintsTheTextAfterTheTag)
{
    temp_dir dir;
    const std::string path = dir.write_file("FW_package.xml", "<a>\n<b/>\n</a>");
    qav_mnt_fwupdate_lib_util util;
    testing::internal::CaptureStderr();
    util.dsp_text_file(path);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              std::string(TEXT_BANNER) + "[INF] dsp_text_file(): file_path:[" + path + "]\n" +
                  "[INF] dsp_text_file(): \n<a>\n<b/>\n</a>\n" + TEXT_BANNER);
}

TEST(qav_mnt_fwupdate_lib_util, DspTextFileOfEmptyFilePrintsTagAndEmptyLine)
{
    temp_dir dir;
    const std::string path = dir.write_file("empty.xml", "");
    qav_mnt_fwupdate_lib_util util;
    testing::internal::CaptureStderr();
    util.dsp_text_file(path);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              std::string(TEXT_BANNER) + "[INF] dsp_text_file(): file_path:[" + path + "]\n" +
                  "[INF] dsp_text_file(): \n\n" + TEXT_BANNER);
}

TEST(qav_mnt_fwupdate_lib_util, DspTextFileOfMissingFilePrintsBothErrors)
{
    temp_dir dir;
    const std::string path = dir.file("missing.xml");
    qav_mnt_fwupdate_lib_util util;
    testing::internal::CaptureStderr();
    util.dsp_text_file(path);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              std::string(TEXT_BANNER) + "[INF] dsp_text_file(): file_path:[" + path + "]\n" +
                  "[ERR] read_text_file(): Failed to get the stat structure. file_path:[" + path +
                  "]\n" + "[ERR] dsp_text_file(): Failed to read the file. file_path:[" + path +
                  "]\n" + TEXT_BANNER);
}

// ---------------------------------------------------------------------------
// dsp_verify_list

const char* const LIST_BANNER = "[INF] dsp_verify_list(): ----------(dsp_verify_list)----------\n";

TEST(qav_mnt_fwupdate_lib_util, DspVerifyListOfEmptyListPrintsTwoBanners)
{
    qav_mnt_fwupdate_lib_util util;
    testing::internal::CaptureStderr();
    util.dsp_verify_list(std::vector<verify_file_info>());
    EXPECT_EQ(testing::internal::GetCapturedStderr(), std::string(LIST_BANNER) + LIST_BANNER);
}

TEST(qav_mnt_fwupdate_lib_util, DspVerifyListPrintsEveryRecordInListOrder)
{
    verify_file_info first;
    first.file_name = "z.bin";
    first.file_size = 1024;
    first.check_sum = "01234";
    verify_file_info second;
    second.file_name = "a.bin";
    second.file_size = -1;
    second.check_sum = "";
    qav_mnt_fwupdate_lib_util util;
    testing::internal::CaptureStderr();
    util.dsp_verify_list({first, second});
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              std::string(LIST_BANNER) +
                  "[INF] dsp_verify_list(): verify_xml_list file_name:[z.bin] file_size:[1024] "
                  "check_sum:[01234]\n"
                  "[INF] dsp_verify_list(): verify_xml_list file_name:[a.bin] file_size:[-1] "
                  "check_sum:[]\n" +
                  LIST_BANNER);
}

}  // namespace
