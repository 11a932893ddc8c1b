// The single-thread floor of the delivery benchmark: the least a device can
// do to store an upload. One thread receives each transfer into one buffer,
// writes its body bytes to the package file with write(), and answers the
// upload once the packet is complete and the file closed.
//
//   delivery_floor_single SOCKET_PATH PACKAGE_PATH
#include "floor_link.h"

#include <unistd.h>
#include <vector>

using namespace norvane_bench;

int main(int argc, char** argv)
{
    if (argc != 3) {
        return 2;
    }
    int link = floor_connect(argv[1]);
    if (link < 0) {
        return 1;
    }
    std::vector<unsigned char> buffer(floor_max_transfer);
    long got = floor_receive(link, buffer.data());
    floor_request request;
    if (got < 0 || floor_decode_request(buffer.data(), got, request) != 0) {
        return 1;
    }
    int file = floor_open_package(argv[2]);
    if (file < 0) {
        return 1;
    }
    const unsigned long long expected = request.data_size + floor_header_size;
    unsigned long long received = static_cast<unsigned long long>(got);
    int result = floor_write_all(file, buffer.data() + floor_header_size,
                                 static_cast<size_t>(got) - floor_header_size);
    while (result == 0 && received < expected) {
        got = floor_receive(link, buffer.data());
        if (got < 0) {
            return 1;
        }
        received += static_cast<unsigned long long>(got);
        result |= floor_write_all(file, buffer.data(), static_cast<size_t>(got));
    }
    result |= ::close(file) != 0 ? 1 : 0;
    if (result == 0) {
        result |= floor_send_reply(link, request);
    }
    ::close(link);
    return result;
}
