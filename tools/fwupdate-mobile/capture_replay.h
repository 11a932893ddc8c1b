// Replays the phone's side of a captured delivery against a program and
// compares every reply with the recorded one. Transfers are sent with their
// recorded boundaries and in their recorded order; before each phone
// transfer, every reply recorded before it must have arrived (and matched),
// so the replies, not the recorded times, order the steps.
#ifndef NORVANE_TOOLS_CAPTURE_REPLAY_H
#define NORVANE_TOOLS_CAPTURE_REPLAY_H

#include "pcapng_reader.h"
#include "phone_socket.h"

#include <functional>
#include <string>
#include <vector>

namespace norvane_tools {

struct replay_options {
    int reply_timeout_ms = 30000;   // for each recorded reply
    int end_wait_ms = 5000;         // for an unrecorded reply after the last transfer
    // Called after a recorded upload reply has arrived, before the phone's
    // next transfer; 0 to go on. The program queues its verification right
    // after sending that reply, and a query that overtakes it is answered as
    // if the verification had passed: the caller waits here until the
    // verification is queued.
    std::function<int()> after_upload_reply;
    // Called with a line for each transfer sent or reply received.
    std::function<void(const std::string&)> report;
};

class capture_replay {
public:
    // Takes the transfers of a capture of the accessory link. 0, or 1 when
    // the capture is not one (see error()).
    int load(const std::vector<pcapng_packet>& packets);
    // Plays the capture on a connected socket. 0 when every reply is as
    // recorded and nothing else came; 1 at the first difference (see error()).
    int play(phone_socket& socket, const replay_options& options);

    size_t phone_transfers() const;
    size_t replies() const;
    const std::string& error() const { return error_; }

private:
    int send_step_(phone_socket& socket, size_t index, const replay_options& options);
    int expect_reply_(phone_socket& socket, size_t index, const replay_options& options);
    int expect_end_(phone_socket& socket, const replay_options& options);

    std::vector<pcapng_packet> transfers_;
    size_t replies_seen_ = 0;
    std::string error_;
};

}  // namespace norvane_tools

#endif
