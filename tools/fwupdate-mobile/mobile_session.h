// What a phone does on the accessory link: upload a package, query the
// status, send hand-made packets, and read the device's replies.
#ifndef NORVANE_TOOLS_MOBILE_SESSION_H
#define NORVANE_TOOLS_MOBILE_SESSION_H

#include "mobile_packet.h"
#include "phone_socket.h"

#include <functional>
#include <string>

namespace norvane_tools {

struct upload_options {
    uint16_t version = 1;
    uint16_t reserved = 0;
    uint16_t request_id = 1;
    size_t transfer_size = 16384;
    // The header and the first body bytes share the first transfer, which
    // leaves 16 stray bytes inside the stored package.
    bool first_transfer_with_body = false;
    // The header and the whole package in one transfer.
    bool single_transfer = false;
};

// Called after each transfer of the upload with the body bytes sent so far.
using upload_progress = std::function<void(size_t sent, size_t total)>;
// Called for every reply as it arrives.
using reply_observer = std::function<void(const header& reply, const std::string& wire)>;

// The handshake query carries this request id, so the requests of the
// delivery proper keep theirs (from 1 by default).
constexpr uint16_t handshake_request_id = 0;

class mobile_session {
public:
    mobile_session(phone_socket& socket, int reply_timeout_ms);

    // The readiness handshake, step 0 of every delivery: right after the link
    // comes up, one status query with option 1 (the session's version and
    // reserved, request id handshake_request_id), and its reply. The device
    // queues a query in any state but answers it only once it takes package
    // data, so option 1 (still ongoing) with result 0 is the phone's proof
    // that it may upload; it never needs the device's log or a pause.
    // 0 when the reply says so; 1 when the query could not be sent, no reply
    // came in time, the link closed or the reply said anything else (error()
    // tells which). reply gets the reply when one came.
    int handshake();
    int handshake(header& reply);

    // Sends the upload request and the package. 0, or 1 when a transfer
    // could not be sent (see error()).
    int send_upload(const std::string& package, const upload_options& options,
                    const upload_progress& progress);
    // Sends one status query with the next request id. 0, or 1.
    int send_status(uint16_t option);
    // Sends bytes as one transfer. 0, or 1.
    int send_raw(const std::string& bytes);
    // Waits for one reply. 0 with the reply, 1 on time-out, 2 when the
    // program closed the link.
    int read_reply(header& reply, std::string& wire);
    int read_reply(header& reply, int timeout_ms, std::string& wire);

    void set_reply_observer(reply_observer observer) { observer_ = std::move(observer); }
    void set_identity(uint16_t version, uint16_t reserved, uint16_t next_request_id);
    const std::string& error() const { return error_; }

private:
    int send_(const std::string& bytes);

    phone_socket& socket_;
    int reply_timeout_ms_;
    uint16_t version_ = 1;
    uint16_t reserved_ = 0;
    uint16_t next_request_id_ = 1;
    reply_observer observer_;
    std::string error_;
};

// The outcome of a whole delivery: upload, polling until finished, and the
// confirmation with option 2.
struct delivery_result {
    bool upload_replied = false;
    header upload_reply = {};
    bool finished = false;      // a status reply said finished
    header final_reply = {};    // the last status reply
    bool confirmed = false;     // the option-2 confirmation was answered
    std::string error;          // why the delivery stopped early, if it did
    bool succeeded() const;
};

delivery_result deliver_package(mobile_session& session, const std::string& package,
                                const upload_options& options, const upload_progress& progress,
                                int poll_interval_ms);

}  // namespace norvane_tools

#endif
