#include "qav_mnt_fwupdate_lib_stream_buffer.h"

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

}  // namespace

int qav_mnt_fwupdate_lib_stream_buffer::attach(FILE* stream)
{
    if (stream == nullptr) {
        return 1;
    }
    std::unique_ptr<char[]> buffer(new (std::nothrow) char[STREAM_BUFFER_SIZE]);
    if (buffer == nullptr || std::setvbuf(stream, buffer.get(), _IOFBF, STREAM_BUFFER_SIZE) != 0) {
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
