#include "floor_link.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace norvane_bench {

namespace {

constexpr uint16_t UPLOAD_REPLY_COMMAND = 0x8012;

uint16_t read_16_(const unsigned char* bytes)
{
    return static_cast<uint16_t>((bytes[0] << 8) | bytes[1]);
}

uint32_t read_32_(const unsigned char* bytes)
{
    return (static_cast<uint32_t>(bytes[0]) << 24) | (static_cast<uint32_t>(bytes[1]) << 16) |
           (static_cast<uint32_t>(bytes[2]) << 8) | bytes[3];
}

void put_16_(unsigned char* bytes, uint16_t value)
{
    bytes[0] = static_cast<unsigned char>(value >> 8);
    bytes[1] = static_cast<unsigned char>(value & 0xFF);
}

}  // namespace

int floor_connect(const char* path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (std::strlen(path) >= sizeof address.sun_path) {
        return -1;
    }
    std::strcpy(address.sun_path, path);
    int fd = ::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        return -1;
    }
    if (::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        ::close(fd);
        return -1;
    }
    return fd;
}

long floor_receive(int socket_fd, unsigned char* buffer)
{
    for (;;) {
        ssize_t got = ::recv(socket_fd, buffer, floor_max_transfer, 0);
        if (got > 0) {
            return static_cast<long>(got);
        }
        if (got == 0 || errno != EINTR) {
            return -1;
        }
    }
}

int floor_decode_request(const unsigned char* transfer, long length, floor_request& request)
{
    if (length < static_cast<long>(floor_header_size)) {
        return 1;
    }
    request.version = read_16_(transfer);
    request.reserved = read_16_(transfer + 2);
    request.request_id = read_16_(transfer + 4);
    request.data_size = read_32_(transfer + 12);
    return 0;
}

int floor_write_all(int file_fd, const unsigned char* data, size_t size)
{
    while (size > 0) {
        ssize_t written = ::write(file_fd, data, size);
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            return 1;
        }
        data += written;
        size -= static_cast<size_t>(written);
    }
    return 0;
}

int floor_start_upload(const char* socket_path, const char* package_path, floor_upload& upload)
{
    upload.link = floor_connect(socket_path);
    if (upload.link < 0) {
        return 1;
    }
    upload.first_length = floor_receive(upload.link, upload.first.bytes);
    if (upload.first_length < 0 ||
        floor_decode_request(upload.first.bytes, upload.first_length, upload.request) != 0) {
        return 1;
    }
    upload.file = ::open(package_path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    return upload.file < 0 ? 1 : 0;
}

int floor_send_reply(int socket_fd, const floor_request& request)
{
    unsigned char reply[floor_header_size] = {};
    put_16_(reply, request.version);
    put_16_(reply + 2, request.reserved);
    put_16_(reply + 4, request.request_id);
    put_16_(reply + 8, UPLOAD_REPLY_COMMAND);
    ssize_t sent = ::send(socket_fd, reply, sizeof reply, MSG_NOSIGNAL);
    return sent == static_cast<ssize_t>(sizeof reply) ? 0 : 1;
}

}  // namespace norvane_bench
