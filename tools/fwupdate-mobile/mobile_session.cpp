#include "mobile_session.h"

#include <algorithm>
#include <chrono>
#include <thread>

namespace norvane_tools {

using namespace norvane;

mobile_session::mobile_session(phone_socket& socket, int reply_timeout_ms)
    : socket_(socket), reply_timeout_ms_(reply_timeout_ms)
{
}

void mobile_session::set_identity(uint16_t version, uint16_t reserved, uint16_t next_request_id)
{
    version_ = version;
    reserved_ = reserved;
    next_request_id_ = next_request_id;
}

int mobile_session::send_(const std::string& bytes)
{
    if (socket_.send_transfer(bytes) != 0) {
        error_ = socket_.last_error();
        return 1;
    }
    return 0;
}

int mobile_session::handshake()
{
    header reply = {};
    return handshake(reply);
}

int mobile_session::handshake(header& reply)
{
    const header query = status_request(version_, reserved_, handshake_request_id,
                                        QAV_MNT_FWUPDATE_MBA_OPTION_CODE_FW_PACKAGE_STORED);
    std::string wire;
    if (send_(encode_header(query)) != 0 || read_reply(reply, wire) != 0) {
        error_ = "handshake: " + error_;
        return 1;
    }
    if (reply.command != QAV_MNT_FWUPDATE_MBA_RESPONSE_CMD_GET_FIRMWARE_UPGRADE_STATUS ||
        reply.request_id != handshake_request_id ||
        reply.option_code != QAV_MNT_FWUPDATE_MBA_OPTION_CODE_OPERATION_STILL_ONGOING ||
        reply.result_code != QAV_MNT_FWUPDATE_MBA_RESULT_CODE_OK) {
        error_ = "handshake: the device answered " + describe_reply(reply) + " (" +
                 to_hex(wire.substr(0, wire_header_size)) + ")";
        return 1;
    }
    return 0;
}

int mobile_session::send_upload(const std::string& package, const upload_options& options,
                                const upload_progress& progress)
{
    set_identity(options.version, options.reserved, options.request_id);
    const header request = upload_request(version_, reserved_, next_request_id_++,
                                          static_cast<uint32_t>(package.size()));
    std::string first = encode_header(request);
    size_t sent = 0;
    if (options.single_transfer) {
        sent = package.size();
    } else if (options.first_transfer_with_body) {
        sent = std::min(package.size(), options.transfer_size - first.size());
    }
    first.append(package, 0, sent);
    if (send_(first) != 0) {
        return 1;
    }
    if (progress) {
        progress(sent, package.size());
    }
    while (sent < package.size()) {
        const size_t piece = std::min(options.transfer_size, package.size() - sent);
        if (send_(package.substr(sent, piece)) != 0) {
            return 1;
        }
        sent += piece;
        if (progress) {
            progress(sent, package.size());
        }
    }
    return 0;
}

int mobile_session::send_status(uint16_t option)
{
    return send_(encode_header(status_request(version_, reserved_, next_request_id_++, option)));
}

int mobile_session::send_raw(const std::string& bytes)
{
    return send_(bytes);
}

int mobile_session::read_reply(header& reply, std::string& wire)
{
    return read_reply(reply, reply_timeout_ms_, wire);
}

int mobile_session::read_reply(header& reply, int timeout_ms, std::string& wire)
{
    int result = socket_.receive_transfer(wire, timeout_ms);
    if (result != 0) {
        error_ = socket_.last_error();
        return result;
    }
    if (decode_header(wire, reply) != 0) {
        error_ = "a reply shorter than a header: " + to_hex(wire);
        return 1;
    }
    if (observer_) {
        observer_(reply, wire);
    }
    return 0;
}

bool delivery_result::succeeded() const
{
    return upload_replied && upload_reply.result_code == QAV_MNT_FWUPDATE_MBA_RESULT_CODE_OK &&
           confirmed && final_reply.result_code == QAV_MNT_FWUPDATE_MBA_RESULT_CODE_OK;
}

namespace {

bool is_finished(const header& reply)
{
    return reply.option_code == QAV_MNT_FWUPDATE_MBA_OPTION_CODE_OPERATION_FINISHED;
}

}  // namespace

delivery_result deliver_package(mobile_session& session, const std::string& package,
                                const upload_options& options, const upload_progress& progress,
                                int poll_interval_ms)
{
    delivery_result result;
    std::string wire;
    if (session.send_upload(package, options, progress) != 0) {
        result.error = "upload: " + session.error();
        return result;
    }
    if (session.read_reply(result.upload_reply, wire) != 0) {
        result.error = "waiting for the upload reply: " + session.error();
        return result;
    }
    result.upload_replied = true;
    if (result.upload_reply.result_code != QAV_MNT_FWUPDATE_MBA_RESULT_CODE_OK) {
        result.error = "the upload was not stored";
        return result;
    }

    // Poll until the device says it has finished; a failure it reports ends
    // the run on its side, so only a clean result is confirmed.
    for (;;) {
        if (session.send_status(QAV_MNT_FWUPDATE_MBA_OPTION_CODE_FW_PACKAGE_STORED) != 0 ||
            session.read_reply(result.final_reply, wire) != 0) {
            result.error = "status query: " + session.error();
            return result;
        }
        if (is_finished(result.final_reply)) {
            break;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(poll_interval_ms));
    }
    result.finished = true;
    if (result.final_reply.result_code != QAV_MNT_FWUPDATE_MBA_RESULT_CODE_OK) {
        result.error = "the device reported a failure";
        return result;
    }
    if (session.send_status(QAV_MNT_FWUPDATE_MBA_OPTION_CODE_FW_PACKAGE_VALIDATION) != 0 ||
        session.read_reply(result.final_reply, wire) != 0) {
        result.error = "confirmation: " + session.error();
        return result;
    }
    result.confirmed = true;
    return result;
}

}  // namespace norvane_tools
