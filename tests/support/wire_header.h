// Headers in wire order, as a phone writes them and as the device's replies
// arrive, built with the phone tools' own encoder. A phone speaks with
// version 1 and reserved 0 unless a test says otherwise.
#ifndef NORVANE_TESTS_WIRE_HEADER_H
#define NORVANE_TESTS_WIRE_HEADER_H

#include <cstdint>
#include <string>
#include <vector>

namespace norvane_test {

// The 16 bytes of a header with these fields, every field big-endian.
std::string wire_header(uint16_t version, uint16_t reserved, uint16_t request_id,
                        uint16_t result_code, uint16_t command, uint16_t option_code,
                        uint32_t data_size);

// Requests: the upload header announcing data_size body bytes, and a status
// query.
std::string upload_header(uint16_t request_id, uint32_t data_size);
std::string status_query(uint16_t request_id, uint16_t option_code);

// Replies: the upload reply (option 0) and a status reply.
std::string upload_reply(uint16_t request_id, uint16_t result_code);
std::string status_reply(uint16_t request_id, uint16_t option_code, uint16_t result_code);

// The same bytes for tests that keep transfers as unsigned bytes.
using transfer_bytes = std::vector<unsigned char>;
transfer_bytes as_bytes(const std::string& transfer);

}  // namespace norvane_test

#endif
