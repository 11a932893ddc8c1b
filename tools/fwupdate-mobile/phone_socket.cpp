#include "phone_socket.h"

#include <cerrno>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace norvane_tools {

namespace {
constexpr size_t max_transfer = 65536;
}

phone_socket::~phone_socket()
{
    close_connection();
    if (listen_fd_ >= 0) {
        ::close(listen_fd_);
        ::unlink(path_.c_str());
    }
}

int phone_socket::fail_(const std::string& what)
{
    error_ = what + ": " + std::strerror(errno);
    return 1;
}

int phone_socket::listen_at(const std::string& path)
{
    path_ = path;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof(address.sun_path)) {
        error_ = "socket path too long: " + path;
        return 1;
    }
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    ::unlink(path.c_str());
    listen_fd_ = ::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    if (listen_fd_ < 0) {
        return fail_("socket");
    }
    if (::bind(listen_fd_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        return fail_("bind " + path);
    }
    if (::listen(listen_fd_, 1) != 0) {
        return fail_("listen " + path);
    }
    return 0;
}

int phone_socket::accept_program(int timeout_ms)
{
    pollfd waiting{listen_fd_, POLLIN, 0};
    int ready = ::poll(&waiting, 1, timeout_ms);
    if (ready <= 0) {
        error_ = "the program did not connect to " + path_;
        return 1;
    }
    conn_fd_ = ::accept4(listen_fd_, nullptr, nullptr, SOCK_CLOEXEC);
    if (conn_fd_ < 0) {
        return fail_("accept");
    }
    return 0;
}

int phone_socket::send_transfer(const unsigned char* data, size_t size)
{
    if (conn_fd_ < 0) {
        error_ = "not connected";
        return 1;
    }
    ssize_t sent = ::send(conn_fd_, data, size, MSG_NOSIGNAL);
    if (sent < 0 || static_cast<size_t>(sent) != size) {
        return fail_("send");
    }
    if (observer_) {
        observer_(true, data, size);
    }
    return 0;
}

int phone_socket::send_transfer(const std::string& bytes)
{
    return send_transfer(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
}

int phone_socket::receive_transfer(std::string& bytes, int timeout_ms)
{
    if (conn_fd_ < 0) {
        error_ = "not connected";
        return 2;
    }
    pollfd waiting{conn_fd_, POLLIN, 0};
    int ready = ::poll(&waiting, 1, timeout_ms);
    if (ready == 0) {
        error_ = "no reply in time";
        return 1;
    }
    bytes.assign(max_transfer, '\0');
    ssize_t received = ::recv(conn_fd_, &bytes[0], bytes.size(), 0);
    if (received <= 0) {
        bytes.clear();
        error_ = "the program closed the link";
        return 2;
    }
    bytes.resize(static_cast<size_t>(received));
    if (observer_) {
        observer_(false, reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
    }
    return 0;
}

void phone_socket::close_connection()
{
    if (conn_fd_ >= 0) {
        ::close(conn_fd_);
        conn_fd_ = -1;
    }
}

}  // namespace norvane_tools
