// What both floors of the delivery benchmark share: the device's end of the
// phone's socket, the upload request's header and the upload reply, with
// plain system calls and nothing else.
#ifndef NORVANE_BENCH_FLOOR_LINK_H
#define NORVANE_BENCH_FLOOR_LINK_H

#include <cstddef>
#include <cstdint>

namespace norvane_bench {

// The largest transfer the phone sends, as the host link allows.
constexpr size_t floor_max_transfer = 65536;
constexpr size_t floor_header_size = 16;

// The fields of an upload request's header that the reply echoes, and the
// size of the body that follows it.
struct floor_request {
    uint16_t version = 0;
    uint16_t reserved = 0;
    uint16_t request_id = 0;
    uint32_t data_size = 0;
};

// A transfer's room, on a page boundary: the bytes then lie in memory as in
// the file's pages, and the write's copy into them runs at full speed (a copy
// a few bytes off a page multiple runs many times slower on x86).
struct alignas(4096) floor_transfer {
    unsigned char bytes[floor_max_transfer];
};

// An upload as a floor starts it: the link to the phone, the request that
// its first transfer carries, that transfer, and the package file opened.
struct floor_upload {
    floor_transfer first;
    long first_length = 0;
    floor_request request;
    int link = -1;
    int file = -1;
};

// Connects to the phone at socket_path, receives the first transfer of the
// upload and opens the package file at package_path as the program does
// (created or truncated). 0, or 1 when any of it failed.
int floor_start_upload(const char* socket_path, const char* package_path, floor_upload& upload);
// A connected SOCK_SEQPACKET socket to the phone at path, or -1.
int floor_connect(const char* path);
// One transfer into buffer (at most floor_max_transfer bytes). Its length, or
// -1 when the link closed or failed.
long floor_receive(int socket_fd, unsigned char* buffer);
// Decodes the first 16 bytes of a transfer of length bytes. 0, or 1 when it
// is shorter than a header.
int floor_decode_request(const unsigned char* transfer, long length, floor_request& request);
// Writes all size bytes with write(). 0, or 1.
int floor_write_all(int file_fd, const unsigned char* data, size_t size);
// Sends the upload reply (command 0x8012, result 0) for request. 0, or 1.
int floor_send_reply(int socket_fd, const floor_request& request);

}  // namespace norvane_bench

#endif
