// The mobile side of the accessory link for tests: a real SOCK_SEQPACKET
// socket listening in a test's folder, where the host accessory library
// connects (FWUPDATE_AOA_SOCKET points at it while the object lives). One
// socket message is one transfer in each direction. Every wait is bounded,
// so a missing message fails the test instead of hanging it.
#ifndef NORVANE_TESTS_AOA_PEER_H
#define NORVANE_TESTS_AOA_PEER_H

#include <poll.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <string>
#include <vector>

namespace norvane_test {

class aoa_peer {
public:
    explicit aoa_peer(const std::string& socket_path) : listen_fd_(-1), link_fd_(-1)
    {
        setenv("FWUPDATE_AOA_SOCKET", socket_path.c_str(), 1);
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        if (socket_path.size() >= sizeof(address.sun_path)) {
            return;
        }
        std::memcpy(address.sun_path, socket_path.c_str(), socket_path.size() + 1);
        int fd = socket(AF_UNIX, SOCK_SEQPACKET, 0);
        if (fd < 0) {
            return;
        }
        if (bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0 ||
            listen(fd, 1) != 0) {
            close(fd);
            return;
        }
        listen_fd_ = fd;
    }

    ~aoa_peer()
    {
        close_link();
        if (listen_fd_ >= 0) {
            close(listen_fd_);
        }
        unsetenv("FWUPDATE_AOA_SOCKET");
    }

    aoa_peer(const aoa_peer&) = delete;
    aoa_peer& operator=(const aoa_peer&) = delete;

    bool listening() const { return listen_fd_ >= 0; }

    // Accepts the link's connection; false when none arrives in time.
    bool accept_link()
    {
        if (!wait_readable_(listen_fd_)) {
            return false;
        }
        link_fd_ = accept(listen_fd_, nullptr, nullptr);
        return link_fd_ >= 0;
    }

    // Reads one message that the link sent. Returns false when none arrives
    // in time or the link is gone.
    bool read_message(std::vector<unsigned char>& message)
    {
        message.clear();
        if (!wait_readable_(link_fd_)) {
            return false;
        }
        std::vector<unsigned char> buffer(MAX_MESSAGE_);
        ssize_t got = ::recv(link_fd_, buffer.data(), buffer.size(), 0);
        if (got <= 0) {
            return false;
        }
        message.assign(buffer.begin(), buffer.begin() + got);
        return true;
    }

    // True when a further message waits on the link (checked without waiting).
    bool message_pending() const
    {
        pollfd entry = {link_fd_, POLLIN, 0};
        return poll(&entry, 1, 0) == 1 && (entry.revents & POLLIN) != 0;
    }

    // Sends one message (one transfer) to the link.
    bool send_message(const std::vector<unsigned char>& message)
    {
        ssize_t sent = ::send(link_fd_, message.data(), message.size(), MSG_NOSIGNAL);
        return sent == static_cast<ssize_t>(message.size());
    }

    // Closes the accepted connection, which the link sees as the peer leaving.
    void close_link()
    {
        if (link_fd_ >= 0) {
            close(link_fd_);
            link_fd_ = -1;
        }
    }

private:
    static constexpr int WAIT_MS_ = 5000;
    static constexpr size_t MAX_MESSAGE_ = 65536 + 1024;

    static bool wait_readable_(int fd)
    {
        if (fd < 0) {
            return false;
        }
        pollfd entry = {fd, POLLIN, 0};
        return poll(&entry, 1, WAIT_MS_) == 1 && (entry.revents & POLLIN) != 0;
    }

    int listen_fd_;
    int link_fd_;
};

}  // namespace norvane_test

#endif
