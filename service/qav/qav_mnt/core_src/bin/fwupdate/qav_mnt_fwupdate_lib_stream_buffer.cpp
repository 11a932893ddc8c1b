#include "qav_mnt_fwupdate_lib_stream_buffer.h"

#include <cstdint>
#include <map>
#include <mutex>
#include <new>

namespace norvane {

namespace {

struct stream_buffers {
    std::mutex lock;
    std::map<FILE*, std::unique_ptr<char[]>> by_stream;
};

// Never destroyed: the C library flushes streams that were left open after
// the program's static objects are gone, and their buffers must still be
// there then.
stream_buffers& buffers_()
{
    static stream_buffers* buffers = new stream_buffers;
    return *buffers;
}

constexpr uintptr_t MEMORY_PAGE_SIZE = 4096;

// Half a page past the first page boundary in block (of STREAM_BUFFER_SIZE
// and two pages).
//
// A copy whose destination lies 1 to 32 bytes past its source, counted
// within a 4 KiB page, runs many times slower on x86 processors (the
// processor takes the stores for ones the loads depend on: "4K aliasing").
// Chunks come in blocks that start on a page boundary (the host's do), and
// the file's pages start on one; the 16 leading bytes shift the package by 16 bytes against
// both. With a buffer that started on a page boundary, copying each chunk
// into it fell into that band; one that started 16 bytes short of one would
// put the buffer's writes into the file's pages there instead. Half a page
// keeps both copies as far from the band as a page allows, wherever the
// package lies in its pages.
char* half_page_in_(char* block)
{
    const uintptr_t address = reinterpret_cast<uintptr_t>(block);
    const uintptr_t boundary = (address + MEMORY_PAGE_SIZE - 1) & ~(MEMORY_PAGE_SIZE - 1);
    return block + (boundary - address) + MEMORY_PAGE_SIZE / 2;
}

}  // namespace

int qav_mnt_fwupdate_lib_stream_buffer::attach(FILE* stream)
{
    if (stream == nullptr) {
        return 1;
    }
    std::unique_ptr<char[]> buffer(
        new (std::nothrow) char[STREAM_BUFFER_SIZE + 2 * MEMORY_PAGE_SIZE]);
    if (buffer == nullptr ||
        std::setvbuf(stream, half_page_in_(buffer.get()), _IOFBF, STREAM_BUFFER_SIZE) != 0) {
        return 1;
    }
    std::lock_guard<std::mutex> guard(buffers_().lock);
    buffers_().by_stream[stream] = std::move(buffer);
    return 0;
}

std::unique_ptr<char[]> qav_mnt_fwupdate_lib_stream_buffer::detach(FILE* stream)
{
    std::lock_guard<std::mutex> guard(buffers_().lock);
    auto found = buffers_().by_stream.find(stream);
    if (found == buffers_().by_stream.end()) {
        return nullptr;
    }
    std::unique_ptr<char[]> buffer = std::move(found->second);
    buffers_().by_stream.erase(found);
    return buffer;
}

size_t qav_mnt_fwupdate_lib_stream_buffer::attached_count()
{
    std::lock_guard<std::mutex> guard(buffers_().lock);
    return buffers_().by_stream.size();
}

}  // namespace norvane
