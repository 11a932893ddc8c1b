// The phone's end of the host accessory link: a listening Unix-domain
// SOCK_SEQPACKET socket on which one message is one USB transfer.
#ifndef NORVANE_TOOLS_PHONE_SOCKET_H
#define NORVANE_TOOLS_PHONE_SOCKET_H

#include <cstddef>
#include <functional>
#include <string>
#include <utility>

namespace norvane_tools {

// Called with every transfer that went over the link, as it was sent or
// received; from_phone tells which way.
using transfer_observer = std::function<void(bool from_phone, const unsigned char* data, size_t size)>;

class phone_socket {
public:
    phone_socket() = default;
    ~phone_socket();
    phone_socket(const phone_socket&) = delete;
    phone_socket& operator=(const phone_socket&) = delete;

    // Removes a stale socket file at path and listens there. 0, or 1.
    int listen_at(const std::string& path);
    // Waits at most timeout_ms for the program to connect. 0, or 1.
    int accept_program(int timeout_ms);
    // Sends one transfer. 0, or 1.
    int send_transfer(const unsigned char* data, size_t size);
    int send_transfer(const std::string& bytes);
    // Waits at most timeout_ms for one transfer from the program.
    // 0 with the bytes, 1 on time-out, 2 when the program closed the link.
    int receive_transfer(std::string& bytes, int timeout_ms);
    // Closes the connection (the program sees the link close).
    void close_connection();
    void set_transfer_observer(transfer_observer observer) { observer_ = std::move(observer); }
    const std::string& path() const { return path_; }
    const std::string& last_error() const { return error_; }

private:
    int fail_(const std::string& what);

    int listen_fd_ = -1;
    int conn_fd_ = -1;
    std::string path_;
    std::string error_;
    transfer_observer observer_;
};

}  // namespace norvane_tools

#endif
