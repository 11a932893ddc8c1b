// The single-thread floor of the delivery benchmark: the least a device can
// do to store an upload. One thread receives each transfer into one buffer,
// writes its body bytes to the package file with write(), and answers the
// upload once the packet is complete and the file closed.
//
//   delivery_floor_single SOCKET_PATH PACKAGE_PATH
#include "floor_link.h"

#include <unistd.h>

using namespace norvane_bench;

int main(int argc, char** argv)
{
    static floor_upload upload;
    if (argc != 3) {
        return 2;
    }
    if (floor_start_upload(argv[1], argv[2], upload) != 0) {
        return 1;
    }
    unsigned char* buffer = upload.first.bytes;
    const unsigned long long expected = upload.request.data_size + floor_header_size;
    unsigned long long received = static_cast<unsigned long long>(upload.first_length);
    int result = floor_write_all(upload.file, buffer + floor_header_size,
                                 static_cast<size_t>(upload.first_length) - floor_header_size);
    while (result == 0 && received < expected) {
        const long got = floor_receive(upload.link, buffer);
        if (got < 0) {
            return 1;
        }
        received += static_cast<unsigned long long>(got);
        result |= floor_write_all(upload.file, buffer, static_cast<size_t>(got));
    }
    result |= ::close(upload.file) != 0 ? 1 : 0;
    if (result == 0) {
        result |= floor_send_reply(upload.link, upload.request);
    }
    ::close(upload.link);
    return result;
}
