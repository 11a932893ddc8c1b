// The phone's end of the accessory link for tests that run the host
// accessory library in their own process: the tools' phone socket, listening
// at a path that FWUPDATE_AOA_SOCKET names while the peer lives (the earlier
// value comes back afterwards). One transfer is one socket message in each
// direction, and every wait is bounded, so a missing transfer fails the test
// instead of hanging it.
#ifndef NORVANE_TESTS_PHONE_PEER_H
#define NORVANE_TESTS_PHONE_PEER_H

#include "phone_socket.h"
#include "wire_header.h"

#include <string>

namespace norvane_test {

class phone_peer {
public:
    // How long a wait lasts unless a test says otherwise.
    static constexpr int wait_ms = 5000;

    explicit phone_peer(const std::string& socket_path);
    ~phone_peer();
    phone_peer(const phone_peer&) = delete;
    phone_peer& operator=(const phone_peer&) = delete;

    bool listening() const { return listening_; }
    // Accepts the link's connection; false when none comes in time.
    bool accept_link(int timeout_ms = wait_ms);
    // Sends one transfer; false when it could not be sent.
    bool send(const std::string& transfer);
    bool send(const transfer_bytes& transfer);
    // The next transfer from the link; "" when none comes in time or the
    // link closed.
    std::string receive(int timeout_ms = wait_ms);
    transfer_bytes receive_bytes(int timeout_ms = wait_ms);
    // Closes the accepted connection, which the link sees as the phone leaving.
    void close_link();
    norvane_tools::phone_socket& socket() { return socket_; }

private:
    norvane_tools::phone_socket socket_;
    bool listening_ = false;
    bool had_variable_ = false;
    std::string earlier_value_;
};

}  // namespace norvane_test

#endif
