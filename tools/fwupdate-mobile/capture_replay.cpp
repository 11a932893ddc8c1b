#include "capture_replay.h"

#include "mobile_packet.h"

#include <algorithm>
#include <cstdio>

namespace norvane_tools {

namespace {

std::string describe_request(const header& request)
{
    switch (request.command) {
    case norvane::QAV_MNT_FWUPDATE_MBA_REQUEST_CMD_SEND_FIRMWARE_UPGRADE_FILE:
        return "upload request, " + std::to_string(request.data_size) + " bytes";
    case norvane::QAV_MNT_FWUPDATE_MBA_REQUEST_CMD_GET_FIRMWARE_UPGRADE_STATUS:
        return "status query, option " + std::to_string(request.option_code);
    default: {
        char command[16];
        std::snprintf(command, sizeof command, "0x%04x", request.command);
        return std::string("unknown command ") + command;
    }
    }
}

// "00 01 00 ... (status: finished, result 0 OK)"; a transfer that is not a
// header alone is shown by its size and first bytes.
std::string describe(const std::string& bytes)
{
    header fields = {};
    if (bytes.size() == sizeof(header) && decode_header(bytes, fields) == 0) {
        const bool reply = (fields.command & 0x8000) != 0;
        return to_hex(bytes) + " (" + (reply ? describe_reply(fields) : describe_request(fields)) + ")";
    }
    const std::string shown = to_hex(bytes.substr(0, 32));
    return std::to_string(bytes.size()) + " bytes " + shown + (bytes.size() > 32 ? " ..." : "");
}

std::string duration(int ms)
{
    return ms % 1000 == 0 ? std::to_string(ms / 1000) + " s" : std::to_string(ms) + " ms";
}

bool is_upload_reply(const std::string& bytes)
{
    header fields = {};
    return decode_header(bytes, fields) == 0 &&
           fields.command == norvane::QAV_MNT_FWUPDATE_MBA_RESPONSE_CMD_SEND_FIRMWARE_UPGRADE_FILE;
}

}  // namespace

int capture_replay::load(const std::vector<pcapng_packet>& packets)
{
    transfers_.clear();
    error_.clear();
    for (size_t i = 0; i < packets.size(); ++i) {
        const pcapng_packet& packet = packets[i];
        const std::string where = "packet " + std::to_string(i + 1);
        if (packet.link_type != pcapng::link_type_user0) {
            error_ = where + " is not a transfer of the accessory link (link type " +
                     std::to_string(packet.link_type) + ")";
            return 1;
        }
        if (packet.direction != pcapng::direction_inbound &&
            packet.direction != pcapng::direction_outbound) {
            error_ = where + " has no direction";
            return 1;
        }
        if (packet.bytes.size() != packet.original_size) {
            error_ = where + " was captured cut short (" + std::to_string(packet.bytes.size()) +
                     " of " + std::to_string(packet.original_size) + " bytes)";
            return 1;
        }
        transfers_.push_back(packet);
    }
    if (phone_transfers() == 0) {
        error_ = "the capture holds no transfer of the phone";
        return 1;
    }
    return 0;
}

size_t capture_replay::phone_transfers() const
{
    return static_cast<size_t>(std::count_if(transfers_.begin(), transfers_.end(), [](const pcapng_packet& p) {
        return p.direction == pcapng::direction_outbound;
    }));
}

size_t capture_replay::replies() const
{
    return transfers_.size() - phone_transfers();
}

int capture_replay::play(phone_socket& socket, const replay_options& options)
{
    error_.clear();
    replies_seen_ = 0;
    bool upload_replied = false;
    for (size_t i = 0; i < transfers_.size(); ++i) {
        if (transfers_[i].direction == pcapng::direction_inbound) {
            if (expect_reply_(socket, i, options) != 0) {
                return 1;
            }
            upload_replied = upload_replied || is_upload_reply(transfers_[i].bytes);
            continue;
        }
        if (upload_replied && options.after_upload_reply && options.after_upload_reply() != 0) {
            error_ = "the program did not go on after its upload reply";
            return 1;
        }
        upload_replied = false;
        if (send_step_(socket, i, options) != 0) {
            return 1;
        }
    }
    return expect_end_(socket, options);
}

int capture_replay::send_step_(phone_socket& socket, size_t index, const replay_options& options)
{
    const std::string& bytes = transfers_[index].bytes;
    if (socket.send_transfer(bytes) != 0) {
        error_ = "packet " + std::to_string(index + 1) + ", the phone's " + describe(bytes) +
                 ", could not be sent: " + socket.last_error();
        return 1;
    }
    if (options.report) {
        options.report("sent " + describe(bytes));
    }
    return 0;
}

int capture_replay::expect_reply_(phone_socket& socket, size_t index, const replay_options& options)
{
    const std::string& recorded = transfers_[index].bytes;
    const std::string where = "reply " + std::to_string(++replies_seen_) + " (packet " +
                              std::to_string(index + 1) + ")";
    std::string received;
    const int result = socket.receive_transfer(received, options.reply_timeout_ms);
    if (result == 1) {
        error_ = where + ": recorded " + describe(recorded) + ", but none came within " +
                 duration(options.reply_timeout_ms);
        return 1;
    }
    if (result != 0) {
        error_ = where + ": recorded " + describe(recorded) + ", but the program closed the link";
        return 1;
    }
    if (options.report) {
        options.report("reply " + describe(received));
    }
    if (received != recorded) {
        error_ = where + " differs: recorded " + describe(recorded) + ", got " + describe(received);
        return 1;
    }
    return 0;
}

int capture_replay::expect_end_(phone_socket& socket, const replay_options& options)
{
    std::string received;
    if (socket.receive_transfer(received, options.end_wait_ms) == 0) {
        error_ = "after the last recorded transfer the program sent " + describe(received);
        return 1;
    }
    return 0;
}

}  // namespace norvane_tools
