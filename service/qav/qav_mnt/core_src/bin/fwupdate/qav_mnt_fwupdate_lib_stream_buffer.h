// Buffers of the streams that the package file is written through.
//
// The package arrives in transfers of up to 64 KiB, and the file's stream
// would buffer them in blocks of the file system's size (4 KiB): every
// transfer then cost two write calls, both off the page boundaries once the
// 16 leading bytes were in. A stream buffer of STREAM_BUFFER_SIZE bytes turns
// the transfers into one page-aligned write per buffer, and it lies in memory
// so that no copy into or out of it runs into the processor's 4K aliasing
// (see the source). The buffer must
// outlive its stream, so it is kept here, by stream, from the stream's
// opening until it is closed; a stream that is never closed keeps its buffer
// until the process has ended and flushed it.
#ifndef NORVANE_QAV_MNT_FWUPDATE_LIB_STREAM_BUFFER_H
#define NORVANE_QAV_MNT_FWUPDATE_LIB_STREAM_BUFFER_H

#include <cstddef>
#include <cstdio>
#include <memory>

namespace norvane {

class qav_mnt_fwupdate_lib_stream_buffer {
public:
    static constexpr size_t STREAM_BUFFER_SIZE = size_t{256} * 1024;

    // Gives a freshly opened stream, before its first write, a buffer of
    // STREAM_BUFFER_SIZE bytes. Returns 0; 1 when no buffer could be given,
    // and the stream keeps the C library's own buffering.
    static int attach(FILE* stream);
    // Hands over the buffer of a stream that is about to be closed (null for
    // a stream without one). The caller keeps it until the stream is closed.
    static std::unique_ptr<char[]> detach(FILE* stream);
    // The number of streams that hold a buffer.
    static size_t attached_count();
};

}  // namespace norvane

#endif
