// Shared definitions of the update program: the 16-byte packet header that
// starts every packet on the accessory link, its command, option and result
// codes, the header's byte-order helpers, and the message block that the
// link callbacks hand to the controller's queue.
#ifndef NORVANE_QAV_MNT_FWUPDATE_LIB_DEFINE_H
#define NORVANE_QAV_MNT_FWUPDATE_LIB_DEFINE_H

#include <cstddef>
#include <cstdint>

namespace norvane {

// Packet header, host order in memory. On the wire the same fields travel
// big-endian, followed by data_size body bytes.
struct QAV_MNT_FWUPDATE_PACKATE_HEADER_ {
    uint16_t version;      // chosen by the mobile side; echoed in replies
    uint16_t reserved;     // not interpreted; echoed in replies
    uint16_t request_id;   // chosen by the mobile side; echoed in replies
    uint16_t result_code;  // 0 in requests; outcome in replies
    uint16_t command;      // request or response code
    uint16_t option_code;  // qualifier of the command
    uint32_t data_size;    // body bytes that follow the header
};

constexpr unsigned int QAV_MNT_FWUPDATE_PACKATE_HEADER_SIZE = 16;

static_assert(sizeof(QAV_MNT_FWUPDATE_PACKATE_HEADER_) == QAV_MNT_FWUPDATE_PACKATE_HEADER_SIZE,
              "the packet header is 16 bytes on the wire");
static_assert(offsetof(QAV_MNT_FWUPDATE_PACKATE_HEADER_, version) == 0, "version at 0");
static_assert(offsetof(QAV_MNT_FWUPDATE_PACKATE_HEADER_, reserved) == 2, "reserved at 2");
static_assert(offsetof(QAV_MNT_FWUPDATE_PACKATE_HEADER_, request_id) == 4, "request_id at 4");
static_assert(offsetof(QAV_MNT_FWUPDATE_PACKATE_HEADER_, result_code) == 6, "result_code at 6");
static_assert(offsetof(QAV_MNT_FWUPDATE_PACKATE_HEADER_, command) == 8, "command at 8");
static_assert(offsetof(QAV_MNT_FWUPDATE_PACKATE_HEADER_, option_code) == 10, "option_code at 10");
static_assert(offsetof(QAV_MNT_FWUPDATE_PACKATE_HEADER_, data_size) == 12, "data_size at 12");

// Request commands of the mobile device.
enum _QAV_MNT_LIB_VEXA_MBA_CMD_REQ_ {
    QAV_MNT_FWUPDATE_MBA_REQUEST_CMD_SEND_FIRMWARE_UPGRADE_FILE = 0x0012,
    QAV_MNT_FWUPDATE_MBA_REQUEST_CMD_GET_FIRMWARE_UPGRADE_STATUS = 0x0013,
};

// Response commands: the request code with bit 15 set.
enum _QAV_MNT_LIB_VEXA_MBA_CMD_RES_ {
    QAV_MNT_FWUPDATE_MBA_RESPONSE_CMD_SEND_FIRMWARE_UPGRADE_FILE = 0x8012,
    QAV_MNT_FWUPDATE_MBA_RESPONSE_CMD_GET_FIRMWARE_UPGRADE_STATUS = 0x8013,
};

// Outcome carried in a reply's result_code. An extract error answers 22 and a
// verification error 21, as the mobile side expects.
enum _QAV_MNT_FWUPDATE_MBA_RESULT_CODE_ {
    QAV_MNT_FWUPDATE_MBA_RESULT_CODE_OK = 0,
    QAV_MNT_FWUPDATE_MBA_RESULT_CODE_ERROR_IN_DOWNLOAD = 20,
    QAV_MNT_FWUPDATE_MBA_RESULT_CODE_ERROR_IN_FW_FILE = 21,
    QAV_MNT_FWUPDATE_MBA_RESULT_CODE_ERROR_IN_STORING_FILE = 22,
};

// Option codes of a status query (command 19).
enum _QAV_MNT_FWUPDATE_MBA_REQUEST_OPTION_CODE_ {
    QAV_MNT_FWUPDATE_MBA_OPTION_CODE_FW_PACKAGE_STORED = 1,
    QAV_MNT_FWUPDATE_MBA_OPTION_CODE_FW_PACKAGE_VALIDATION = 2,
};

// Option codes of a status reply (command 0x8013). The upload reply carries 0.
enum _QAV_MNT_FWUPDATE_MBA_RESPONSE_OPTION_CODE_ {
    QAV_MNT_FWUPDATE_MBA_OPTION_CODE_OPERATION_STILL_ONGOING = 1,
    QAV_MNT_FWUPDATE_MBA_OPTION_CODE_OPERATION_FINISHED = 2,
};

// Byte-order helpers for the header fields. The swaps are applied
// unconditionally, in both directions: the device is little-endian and the
// header travels big-endian.
inline uint16_t qav_mnt_fwupdate_swap_16(uint16_t value)
{
    return static_cast<uint16_t>(((value & 0x00FFu) << 8) | ((value & 0xFF00u) >> 8));
}

inline uint32_t qav_mnt_fwupdate_swap_32(uint32_t value)
{
    return ((value & 0x000000FFu) << 24) | ((value & 0x0000FF00u) << 8) |
           ((value & 0x00FF0000u) >> 8) | ((value & 0xFF000000u) >> 24);
}

// A reply header derived from a request header (both host order): version,
// reserved and request_id echoed, the given response command, option and
// result, and no body.
inline QAV_MNT_FWUPDATE_PACKATE_HEADER_ qav_mnt_fwupdate_make_reply_header(
    const QAV_MNT_FWUPDATE_PACKATE_HEADER_& request, uint16_t command, uint16_t option_code,
    uint16_t result_code)
{
    QAV_MNT_FWUPDATE_PACKATE_HEADER_ reply = {};
    reply.version = request.version;
    reply.reserved = request.reserved;
    reply.request_id = request.request_id;
    reply.command = command;
    reply.option_code = option_code;
    reply.result_code = result_code;
    reply.data_size = 0;
    return reply;
}

// Messages on the controller's queue. The width is fixed at 32 bits, so any
// value that comes out of the queue, known or not, is representable.
enum _QAV_MNT_FWUPDATE_MSG_ID_ : int32_t {
    QAV_MNT_FWUPDATE_MSG_ID_NONE = 0,
    QAV_MNT_FWUPDATE_MSG_ID_START_DOWNLOADING = 1,
    QAV_MNT_FWUPDATE_MSG_ID_DOWNLOAD_FW_PACKAGE = 2,
    QAV_MNT_FWUPDATE_MSG_ID_VERIFY_FW_FILES = 3,
    QAV_MNT_FWUPDATE_MSG_ID_CHECK_FWUPDATE_STATE = 4,
    QAV_MNT_FWUPDATE_MSG_ID_RECV_UNKNOWN_CMD = 5,
};

static_assert(sizeof(_QAV_MNT_FWUPDATE_MSG_ID_) == 4, "msg_id is 32-bit");

// An upload request's header (host order).
struct _QAV_MNT_FWUPDATE_START_DOWNLOADING_ {
    QAV_MNT_FWUPDATE_PACKATE_HEADER_ packet_header;
};

// One chunk of the package. data is a platform heap block of data_size
// bytes (or null) that the receiving side frees.
struct _QAV_MNT_FWUPDATE_DOWNLOAD_FW_PACKAGE_ {
    uint32_t data_size;
    char* data;
    int32_t is_end_of_data;  // 1 on the last chunk
};

struct _QAV_MNT_FWUPDATE_VERIFY_FW_FILES_ {
    int32_t dummy_data;
};

// A status query's header (host order).
struct _QAV_MNT_FWUPDATE_CHECK_FWUPDATE_STATE_ {
    QAV_MNT_FWUPDATE_PACKATE_HEADER_ packet_header;
};

struct _QAV_MNT_FWUPDATE_RECV_UNKNOWN_CMD_ {
    int32_t dummy_data;
};

union _QAV_MNT_FWUPDATE_MSG_INFO_ {
    _QAV_MNT_FWUPDATE_START_DOWNLOADING_ start_downloging;
    _QAV_MNT_FWUPDATE_DOWNLOAD_FW_PACKAGE_ download_fw_package;
    _QAV_MNT_FWUPDATE_VERIFY_FW_FILES_ verify_fw_files;
    _QAV_MNT_FWUPDATE_CHECK_FWUPDATE_STATE_ check_fwupdate_state;
    _QAV_MNT_FWUPDATE_RECV_UNKNOWN_CMD_ recv_unknown_cmd;
};

// The message block, zero-filled before use and copied by value into and
// out of the queue.
struct _QAV_MNT_FWUPDATE_MSG_BLK_ {
    _QAV_MNT_FWUPDATE_MSG_ID_ msg_id;
    _QAV_MNT_FWUPDATE_MSG_INFO_ info;
};

}  // namespace norvane

#endif
