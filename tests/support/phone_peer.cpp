#include "phone_peer.h"

#include <cstdlib>

namespace norvane_test {

namespace {
const char* const socket_variable = "FWUPDATE_AOA_SOCKET";
}

phone_peer::phone_peer(const std::string& socket_path)
{
    const char* earlier = std::getenv(socket_variable);
    had_variable_ = earlier != nullptr;
    if (had_variable_) {
        earlier_value_ = earlier;
    }
    ::setenv(socket_variable, socket_path.c_str(), 1);
    listening_ = socket_.listen_at(socket_path) == 0;
}

phone_peer::~phone_peer()
{
    if (had_variable_) {
        ::setenv(socket_variable, earlier_value_.c_str(), 1);
    } else {
        ::unsetenv(socket_variable);
    }
}

bool phone_peer::accept_link(int timeout_ms)
{
    return listening_ && socket_.accept_program(timeout_ms) == 0;
}

bool phone_peer::send(const std::string& transfer)
{
    return socket_.send_transfer(transfer) == 0;
}

bool phone_peer::send(const transfer_bytes& transfer)
{
    return socket_.send_transfer(transfer.data(), transfer.size()) == 0;
}

transfer_bytes phone_peer::receive_bytes(int timeout_ms)
{
    return as_bytes(receive(timeout_ms));
}

std::string phone_peer::receive(int timeout_ms)
{
    std::string transfer;
    if (socket_.receive_transfer(transfer, timeout_ms) != 0) {
        return "";
    }
    return transfer;
}

void phone_peer::close_link()
{
    socket_.close_connection();
}

}  // namespace norvane_test
