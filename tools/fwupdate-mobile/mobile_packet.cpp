#include "mobile_packet.h"

#include <cctype>
#include <cstdio>
#include <cstring>

namespace norvane_tools {

using namespace norvane;

namespace {

// Each field swapped on its own; the same swaps turn host order into wire
// order and back.
header swapped(header fields)
{
    fields.version = qav_mnt_fwupdate_swap_16(fields.version);
    fields.reserved = qav_mnt_fwupdate_swap_16(fields.reserved);
    fields.request_id = qav_mnt_fwupdate_swap_16(fields.request_id);
    fields.result_code = qav_mnt_fwupdate_swap_16(fields.result_code);
    fields.command = qav_mnt_fwupdate_swap_16(fields.command);
    fields.option_code = qav_mnt_fwupdate_swap_16(fields.option_code);
    fields.data_size = qav_mnt_fwupdate_swap_32(fields.data_size);
    return fields;
}

}  // namespace

std::string encode_header(const header& host_order)
{
    const header wire = swapped(host_order);
    return std::string(reinterpret_cast<const char*>(&wire), sizeof wire);
}

int decode_header(const std::string& wire, header& host_order)
{
    if (wire.size() < sizeof(header)) {
        return 1;
    }
    header fields;
    std::memcpy(&fields, wire.data(), sizeof(header));
    host_order = swapped(fields);
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

}  // namespace norvane_tools
