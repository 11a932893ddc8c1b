#include "wire_header.h"

#include "mobile_packet.h"

namespace norvane_test {

namespace {
constexpr uint16_t phone_version = 1;
constexpr uint16_t phone_reserved = 0;
}

std::string wire_header(uint16_t version, uint16_t reserved, uint16_t request_id,
                        uint16_t result_code, uint16_t command, uint16_t option_code,
                        uint32_t data_size)
{
    norvane_tools::header fields = {};
    fields.version = version;
    fields.reserved = reserved;
    fields.request_id = request_id;
    fields.result_code = result_code;
    fields.command = command;
    fields.option_code = option_code;
    fields.data_size = data_size;
    return norvane_tools::encode_header(fields);
}

std::string upload_header(uint16_t request_id, uint32_t data_size)
{
    return wire_header(phone_version, phone_reserved, request_id, 0, 0x0012, 0, data_size);
}

std::string status_query(uint16_t request_id, uint16_t option_code)
{
    return wire_header(phone_version, phone_reserved, request_id, 0, 0x0013, option_code, 0);
}

std::string upload_reply(uint16_t request_id, uint16_t result_code)
{
    return wire_header(phone_version, phone_reserved, request_id, result_code, 0x8012, 0, 0);
}

std::string status_reply(uint16_t request_id, uint16_t option_code, uint16_t result_code)
{
    return wire_header(phone_version, phone_reserved, request_id, result_code, 0x8013,
                       option_code, 0);
}

transfer_bytes as_bytes(const std::string& transfer)
{
    return transfer_bytes(transfer.begin(), transfer.end());
}

}  // namespace norvane_test
