// Packets as the phone sees them: headers in wire order, and replies decoded
// into words for people.
#ifndef NORVANE_TOOLS_MOBILE_PACKET_H
#define NORVANE_TOOLS_MOBILE_PACKET_H

#include "qav_mnt_fwupdate_lib_define.h"

#include <string>

namespace norvane_tools {

using header = norvane::QAV_MNT_FWUPDATE_PACKATE_HEADER_;

// Every packet starts with a header of this many bytes.
constexpr size_t wire_header_size = 16;

// The 16 wire bytes of a host-order header.
std::string encode_header(const header& host_order);
// The host-order header of the first 16 bytes; 1 when there are fewer.
int decode_header(const std::string& wire, header& host_order);

header upload_request(uint16_t version, uint16_t reserved, uint16_t request_id, uint32_t size);
header status_request(uint16_t version, uint16_t reserved, uint16_t request_id, uint16_t option);

// "upload stored, result 0 OK", "status: finished, result 21 error in
// firmware file", ...
std::string describe_reply(const header& reply);
std::string describe_result(uint16_t result_code);

// "00 01 00 ..." for bytes; parsing accepts hex digits with optional blanks.
std::string to_hex(const std::string& bytes);
int from_hex(const std::string& text, std::string& bytes);
// The bytes of text as from_hex reads them; "" when text is not hex.
std::string from_hex(const std::string& text);

}  // namespace norvane_tools

#endif
