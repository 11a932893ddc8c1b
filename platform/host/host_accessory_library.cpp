// The accessory library on the host: the phone's USB link is a Unix-domain
// SOCK_SEQPACKET connection to the mobile side's listening socket at
// $FWUPDATE_AOA_SOCKET (default /tmp/fwupdate-aoa.sock). One socket message is
// one USB transfer in either direction.
//
// Each successful connect starts one detached receive thread for its socket.
// Every connect attempt replaces the connection that send uses: after a failed
// attempt there is none, and send fails until the next successful connect.
// A connection's socket stays open while send may still use it or its thread
// still reads it.
#include "osl_mdev_aoa.h"

#include "host_update_log.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <pthread.h>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

using norvane::host_update_log;

namespace {

const char* const DEFAULT_SOCKET_PATH = "/tmp/fwupdate-aoa.sock";

// One connected socket, closed when its last user lets go.
struct aoa_connection {
    explicit aoa_connection(int socket_fd) : fd(socket_fd) {}
    ~aoa_connection() { ::close(fd); }
    aoa_connection(const aoa_connection&) = delete;
    aoa_connection& operator=(const aoa_connection&) = delete;
    int fd;
};

// The connection that send uses.
struct aoa_link {
    std::mutex lock;
    std::shared_ptr<aoa_connection> current;
};

aoa_link& link_()
{
    static aoa_link* link = new aoa_link;  // lives as long as the process and its threads
    return *link;
}

void set_current_(const std::shared_ptr<aoa_connection>& connection)
{
    std::lock_guard<std::mutex> guard(link_().lock);
    link_().current = connection;
}

std::shared_ptr<aoa_connection> current_()
{
    std::lock_guard<std::mutex> guard(link_().lock);
    return link_().current;
}

std::string socket_path_()
{
    const char* value = std::getenv("FWUPDATE_AOA_SOCKET");
    return (value == nullptr || value[0] == '\0') ? DEFAULT_SOCKET_PATH : value;
}

// A connected socket, or -1.
int connect_socket_(const std::string& path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        return -1;
    }
    std::memcpy(address.sun_path, path.c_str(), path.size());
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

// What the receive thread owns.
struct receive_job {
    std::shared_ptr<aoa_connection> connection;
    osl_mdev_aoa_recv_func recv;
};

// Where the receive thread reads a transfer into: one byte more than the
// largest transfer (it reveals an oversize message) and the zeros behind it.
// It starts on a page boundary, as the pool's transfer blocks do, so the
// program's copy of a transfer into one of them is page-congruent (a copy a
// few bytes off runs many times slower on x86: "4K aliasing").
struct alignas(4096) transfer_buffer {
    unsigned char bytes[OSL_MDEV_AOA_MAX_TRANSFER + 1 + OSL_MDEV_AOA_SLACK];
};

// Reads one message into buffer. Returns its length, 0 when the peer closed
// (an empty message reads the same way), or -1 when the socket failed.
ssize_t read_message_(int fd, unsigned char* buffer, size_t limit)
{
    for (;;) {
        ssize_t got = ::recv(fd, buffer, limit, 0);
        if (got >= 0 || errno != EINTR) {
            return got;
        }
    }
}

// Delivers every message with event 0 until the peer closes, the socket
// fails or a message exceeds the largest transfer; then event 1 once.
void* receive_loop_(void* argument)
{
    std::unique_ptr<receive_job> job(static_cast<receive_job*>(argument));
    const size_t limit = OSL_MDEV_AOA_MAX_TRANSFER + 1;
    std::unique_ptr<transfer_buffer> storage(new transfer_buffer);
    unsigned char* buffer = storage->bytes;
    for (;;) {
        ssize_t got = read_message_(job->connection->fd, buffer, limit);
        if (got <= 0 || got > OSL_MDEV_AOA_MAX_TRANSFER) {
            break;
        }
        // The reader may look past the transfer's end: it must see zeros there,
        // whatever an earlier, longer message or the reader itself left.
        std::memset(buffer + got, 0, OSL_MDEV_AOA_SLACK);
        job->recv(OSL_MDEV_AOA_EVENT_DATA, buffer, static_cast<int>(got));
    }
    job->recv(OSL_MDEV_AOA_EVENT_CLOSED, nullptr, 0);
    return nullptr;
}

int start_receive_thread_(const std::shared_ptr<aoa_connection>& connection,
                          osl_mdev_aoa_recv_func recv)
{
    pthread_attr_t attributes;
    if (::pthread_attr_init(&attributes) != 0) {
        return 1;
    }
    ::pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    receive_job* job = new receive_job{connection, recv};
    pthread_t thread;
    int result = ::pthread_create(&thread, &attributes, receive_loop_, job);
    ::pthread_attr_destroy(&attributes);
    if (result != 0) {
        delete job;
        return 1;
    }
    return 0;
}

}  // namespace

int osl_mdev_aoa_connect(osl_mdev_aoa_recv_func recv)
{
    if (host_update_log::take_fault("aoa_connect") != 0) {
        return 1;
    }
    set_current_(nullptr);
    if (recv == nullptr) {
        return 1;
    }
    int fd = connect_socket_(socket_path_());
    if (fd < 0) {
        return 1;
    }
    auto connection = std::make_shared<aoa_connection>(fd);
    // Current before the thread runs, so a reply sent from the first callback
    // already goes out on this connection.
    set_current_(connection);
    if (start_receive_thread_(connection, recv) != 0) {
        set_current_(nullptr);
        return 1;
    }
    return 0;
}

int osl_mdev_aoa_send(unsigned char* data, int len)
{
    if (host_update_log::take_fault("aoa_send") != 0) {
        return 1;
    }
    // A transfer holds 1 to 65536 bytes; an empty one would read as a close.
    if (data == nullptr || len <= 0 || len > OSL_MDEV_AOA_MAX_TRANSFER) {
        return 1;
    }
    std::shared_ptr<aoa_connection> connection = current_();
    if (connection == nullptr) {
        return 1;
    }
    for (;;) {
        ssize_t sent = ::send(connection->fd, data, static_cast<size_t>(len), MSG_NOSIGNAL);
        if (sent >= 0 || errno != EINTR) {
            return (sent == len) ? 0 : 1;
        }
    }
}
