#include "mobile_packet.h"

#include <cctype>
#include <cstdio>

namespace norvane_tools {

using namespace norvane;

namespace {

// The phone writes and reads the wire order itself, most significant byte
// first, as a phone app would; it does not borrow the device's swap helpers.
void put_16(std::string& wire, uint16_t value)
{
    wire += static_cast<char>(value >> 8);
    wire += static_cast<char>(value & 0xFF);
}

void put_32(std::string& wire, uint32_t value)
{
    put_16(wire, static_cast<uint16_t>(value >> 16));
    put_16(wire, static_cast<uint16_t>(value & 0xFFFF));
}

uint16_t get_16(const std::string& wire, size_t at)
{
    return static_cast<uint16_t>((static_cast<unsigned char>(wire[at]) << 8) |
                                 static_cast<unsigned char>(wire[at + 1]));
}

uint32_t get_32(const std::string& wire, size_t at)
{
    return (static_cast<uint32_t>(get_16(wire, at)) << 16) | get_16(wire, at + 2);
}

}  // namespace

std::string encode_header(const header& host_order)
{
    std::string wire;
    put_16(wire, host_order.version);
    put_16(wire, host_order.reserved);
    put_16(wire, host_order.request_id);
    put_16(wire, host_order.result_code);
    put_16(wire, host_order.command);
    put_16(wire, host_order.option_code);
    put_32(wire, host_order.data_size);
    return wire;
}

int decode_header(const std::string& wire, header& host_order)
{
    if (wire.size() < wire_header_size) {
        return 1;
    }
    host_order.version = get_16(wire, 0);
    host_order.reserved = get_16(wire, 2);
    host_order.request_id = get_16(wire, 4);
    host_order.result_code = get_16(wire, 6);
    host_order.command = get_16(wire, 8);
    host_order.option_code = get_16(wire, 10);
    host_order.data_size = get_32(wire, 12);
    return 0;
}

header upload_request(uint16_t version, uint16_t reserved, uint16_t request_id, uint32_t size)
{
    header request = {};
    request.version = version;
    request.reserved = reserved;
    request.request_id = request_id;
    request.command = QAV_MNT_FWUPDATE_MBA_REQUEST_CMD_SEND_FIRMWARE_UPGRADE_FILE;
    request.data_size = size;
    return request;
}

header status_request(uint16_t version, uint16_t reserved, uint16_t request_id, uint16_t option)
{
    header request = {};
    request.version = version;
    request.reserved = reserved;
    request.request_id = request_id;
    request.command = QAV_MNT_FWUPDATE_MBA_REQUEST_CMD_GET_FIRMWARE_UPGRADE_STATUS;
    request.option_code = option;
    return request;
}

std::string describe_result(uint16_t result_code)
{
    std::string words;
    switch (result_code) {
    case QAV_MNT_FWUPDATE_MBA_RESULT_CODE_OK: words = "OK"; break;
    case QAV_MNT_FWUPDATE_MBA_RESULT_CODE_ERROR_IN_DOWNLOAD: words = "error in download"; break;
    case QAV_MNT_FWUPDATE_MBA_RESULT_CODE_ERROR_IN_FW_FILE: words = "error in firmware file"; break;
    case QAV_MNT_FWUPDATE_MBA_RESULT_CODE_ERROR_IN_STORING_FILE: words = "error in storing file"; break;
    default: words = "unknown result"; break;
    }
    return "result " + std::to_string(result_code) + " " + words;
}

std::string describe_reply(const header& reply)
{
    if (reply.command == QAV_MNT_FWUPDATE_MBA_RESPONSE_CMD_SEND_FIRMWARE_UPGRADE_FILE) {
        const char* what = reply.result_code == QAV_MNT_FWUPDATE_MBA_RESULT_CODE_OK
                               ? "upload stored"
                               : "upload not stored";
        return std::string(what) + ", " + describe_result(reply.result_code);
    }
    if (reply.command == QAV_MNT_FWUPDATE_MBA_RESPONSE_CMD_GET_FIRMWARE_UPGRADE_STATUS) {
        std::string state;
        switch (reply.option_code) {
        case QAV_MNT_FWUPDATE_MBA_OPTION_CODE_OPERATION_STILL_ONGOING: state = "still ongoing"; break;
        case QAV_MNT_FWUPDATE_MBA_OPTION_CODE_OPERATION_FINISHED: state = "finished"; break;
        default: state = "option " + std::to_string(reply.option_code); break;
        }
        return "status: " + state + ", " + describe_result(reply.result_code);
    }
    char command[16];
    std::snprintf(command, sizeof command, "0x%04x", reply.command);
    return std::string("unexpected command ") + command + ", " + describe_result(reply.result_code);
}

std::string to_hex(const std::string& bytes)
{
    std::string text;
    char pair[4];
    for (size_t i = 0; i < bytes.size(); ++i) {
        std::snprintf(pair, sizeof pair, "%02X", static_cast<unsigned char>(bytes[i]));
        if (i > 0) {
            text += ' ';
        }
        text += pair;
    }
    return text;
}

int from_hex(const std::string& text, std::string& bytes)
{
    std::string digits;
    for (char c : text) {
        if (std::isxdigit(static_cast<unsigned char>(c))) {
            digits += c;
        } else if (c != ' ' && c != ':' && c != '-' && c != '_') {
            return 1;
        }
    }
    if (digits.size() % 2 != 0) {
        return 1;
    }
    bytes.clear();
    for (size_t i = 0; i < digits.size(); i += 2) {
        bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
    }
    return 0;
}

std::string from_hex(const std::string& text)
{
    std::string bytes;
    return from_hex(text, bytes) == 0 ? bytes : std::string();
}

}  // namespace norvane_tools
