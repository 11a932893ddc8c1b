// The package stream's buffer: whole buffers reach the file, the buffer
// lives exactly as long as its stream is open, and a stream without one
// still works.
#include "qav_mnt_fwupdate_lib_stream_buffer.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

namespace {

using norvane::qav_mnt_fwupdate_lib_stream_buffer;

constexpr size_t BUFFER_SIZE = qav_mnt_fwupdate_lib_stream_buffer::STREAM_BUFFER_SIZE;

// A stream that records every write the C library makes to it.
struct recording_sink {
    std::vector<size_t> write_sizes;
    std::string bytes;
};

ssize_t record_write(void* cookie, const char* data, size_t size)
{
    recording_sink* sink = static_cast<recording_sink*>(cookie);
    sink->write_sizes.push_back(size);
    sink->bytes.append(data, size);
    return static_cast<ssize_t>(size);
}

FILE* open_recording_sink(recording_sink* sink)
{
    cookie_io_functions_t functions = {nullptr, record_write, nullptr, nullptr};
    return ::fopencookie(sink, "w", functions);
}

std::string pattern(size_t size, size_t seed)
{
    std::string bytes(size, '\0');
    for (size_t index = 0; index < size; ++index) {
        bytes[index] = static_cast<char>((index * 7 + seed) & 0xFF);
    }
    return bytes;
}

// The 16 leading bytes and then 64 KiB transfers, as a delivery writes them.
std::string write_delivery(FILE* stream, size_t transfers, size_t transfer_size)
{
    std::string written(16, '\0');
    std::fwrite(written.data(), 1, written.size(), stream);
    for (size_t index = 0; index < transfers; ++index) {
        const std::string transfer = pattern(transfer_size, index);
        EXPECT_EQ(transfer_size, std::fwrite(transfer.data(), 1, transfer.size(), stream));
        written += transfer;
    }
    return written;
}

TEST(qav_mnt_fwupdate_lib_stream_buffer_test, transfers_reach_the_file_in_whole_buffers)
{
    recording_sink sink;
    FILE* stream = open_recording_sink(&sink);
    ASSERT_NE(nullptr, stream);
    ASSERT_EQ(0, qav_mnt_fwupdate_lib_stream_buffer::attach(stream));
    const std::string written = write_delivery(stream, 20, 65536);
    // 16 + 20 * 64 KiB: five whole buffers so far, the last 16 bytes wait.
    EXPECT_EQ(std::vector<size_t>(5, BUFFER_SIZE), sink.write_sizes);
    std::unique_ptr<char[]> buffer = qav_mnt_fwupdate_lib_stream_buffer::detach(stream);
    EXPECT_NE(nullptr, buffer);
    EXPECT_EQ(0, std::fclose(stream));
    std::vector<size_t> expected(5, BUFFER_SIZE);
    expected.push_back(16);
    EXPECT_EQ(expected, sink.write_sizes);
    EXPECT_EQ(written, sink.bytes);
}

TEST(qav_mnt_fwupdate_lib_stream_buffer_test, small_transfers_are_gathered_into_whole_buffers)
{
    recording_sink sink;
    FILE* stream = open_recording_sink(&sink);
    ASSERT_NE(nullptr, stream);
    ASSERT_EQ(0, qav_mnt_fwupdate_lib_stream_buffer::attach(stream));
    const std::string written = write_delivery(stream, 64, 16384);
    EXPECT_EQ(std::vector<size_t>(4, BUFFER_SIZE), sink.write_sizes);
    std::unique_ptr<char[]> buffer = qav_mnt_fwupdate_lib_stream_buffer::detach(stream);
    EXPECT_EQ(0, std::fclose(stream));
    EXPECT_EQ(written, sink.bytes);
}

// With the C library's own small buffer, every transfer after the 16
// leading bytes took two writes.
TEST(qav_mnt_fwupdate_lib_stream_buffer_test, a_stream_without_it_writes_each_transfer_in_two)
{
    recording_sink sink;
    FILE* stream = open_recording_sink(&sink);
    ASSERT_NE(nullptr, stream);
    std::setvbuf(stream, nullptr, _IOFBF, 4096);
    write_delivery(stream, 20, 65536);
    EXPECT_EQ(40u, sink.write_sizes.size());
    std::fclose(stream);
}

TEST(qav_mnt_fwupdate_lib_stream_buffer_test, detach_hands_over_the_buffer_once)
{
    recording_sink sink;
    FILE* stream = open_recording_sink(&sink);
    ASSERT_NE(nullptr, stream);
    const size_t before = qav_mnt_fwupdate_lib_stream_buffer::attached_count();
    ASSERT_EQ(0, qav_mnt_fwupdate_lib_stream_buffer::attach(stream));
    EXPECT_EQ(before + 1, qav_mnt_fwupdate_lib_stream_buffer::attached_count());
    std::unique_ptr<char[]> buffer = qav_mnt_fwupdate_lib_stream_buffer::detach(stream);
    EXPECT_NE(nullptr, buffer);
    EXPECT_EQ(before, qav_mnt_fwupdate_lib_stream_buffer::attached_count());
    EXPECT_EQ(nullptr, qav_mnt_fwupdate_lib_stream_buffer::detach(stream));
    EXPECT_EQ(0, std::fclose(stream));
}

TEST(qav_mnt_fwupdate_lib_stream_buffer_test, detach_of_a_stream_without_a_buffer_gives_null)
{
    recording_sink sink;
    FILE* stream = open_recording_sink(&sink);
    ASSERT_NE(nullptr, stream);
    EXPECT_EQ(nullptr, qav_mnt_fwupdate_lib_stream_buffer::detach(stream));
    EXPECT_EQ(nullptr, qav_mnt_fwupdate_lib_stream_buffer::detach(nullptr));
    EXPECT_EQ(0, std::fclose(stream));
}

TEST(qav_mnt_fwupdate_lib_stream_buffer_test, attach_of_null_fails)
{
    const size_t before = qav_mnt_fwupdate_lib_stream_buffer::attached_count();
    EXPECT_EQ(1, qav_mnt_fwupdate_lib_stream_buffer::attach(nullptr));
    EXPECT_EQ(before, qav_mnt_fwupdate_lib_stream_buffer::attached_count());
}

}  // namespace
