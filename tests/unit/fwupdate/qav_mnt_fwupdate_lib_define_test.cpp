// The packet header: its code values, its byte order as the link decodes and
// encodes it, and reply headers derived from request headers.
#include "qav_mnt_fwupdate_lib_define.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "phone_peer.h"
#include "qav_mnt_fwupdate_lib_communicate_aoa.h"
#include "temp_dir.h"

namespace {

using namespace norvane;
using bytes = std::vector<unsigned char>;

// Keeps the headers the link decodes.
class header_receiver : public qav_mnt_fwupdate_lib_receiver_aoa {
public:
    int act_notify_recv_header(const QAV_MNT_FWUPDATE_PACKATE_HEADER_& header) override
    {
        headers.push_back(header);
        return 0;
    }
    int act_notify_recv_body(unsigned int, const char*, int) override { return 0; }

    std::vector<QAV_MNT_FWUPDATE_PACKATE_HEADER_> headers;
};

class define_test : public testing::Test {
protected:
    void SetUp() override
    {
        link_ = qav_mnt_fwupdate_lib_communicate_aoa::get_instance();
        unsetenv("FWUPDATE_FAULTS");
        ASSERT_EQ(0u, link_->rcved_size());
    }

    // Registers the receiver with the link; nobody listens, so connecting
    // fails but the receiver stays stored.
    void attach_()
    {
        setenv("FWUPDATE_AOA_SOCKET", dir_.file("nobody.sock").c_str(), 1);
        testing::internal::CaptureStderr();
        int ret = link_->connect(&receiver_);
        testing::internal::GetCapturedStderr();
        unsetenv("FWUPDATE_AOA_SOCKET");
        ASSERT_EQ(1, ret);
    }

    // Passes 16 wire bytes (plus the accessory library's zero slack) to the
    // link and returns what it logged.
    std::string decode_(const bytes& wire)
    {
        bytes buffer = wire;
        buffer.resize(wire.size() + 16, 0);
        testing::internal::CaptureStderr();
        link_->recv_impl(0, buffer.data(), static_cast<int>(wire.size()));
        return testing::internal::GetCapturedStderr();
    }

    // Connects the link to a listening peer, sends the header and returns
    // the one message the peer read; empty when any step failed.
    bytes send_to_peer_(const QAV_MNT_FWUPDATE_PACKATE_HEADER_& header)
    {
        norvane_test::phone_peer peer(dir_.file("aoa.sock"));
        testing::internal::CaptureStderr();
        int connected = peer.listening() ? link_->connect(&receiver_) : 1;
        int sent = (connected == 0 && peer.accept_link()) ? link_->send(header, 0, nullptr) : 1;
        testing::internal::GetCapturedStderr();
        return sent == 0 ? peer.receive_bytes() : bytes();
    }

    qav_mnt_fwupdate_lib_communicate_aoa* link_ = nullptr;
    header_receiver receiver_;
    norvane_test::temp_dir dir_;
};

TEST(define_codes, request_and_response_commands_have_the_protocol_values)
{
    EXPECT_EQ(18, QAV_MNT_FWUPDATE_MBA_REQUEST_CMD_SEND_FIRMWARE_UPGRADE_FILE);
    EXPECT_EQ(19, QAV_MNT_FWUPDATE_MBA_REQUEST_CMD_GET_FIRMWARE_UPGRADE_STATUS);
    EXPECT_EQ(0x8012, QAV_MNT_FWUPDATE_MBA_RESPONSE_CMD_SEND_FIRMWARE_UPGRADE_FILE);
    EXPECT_EQ(0x8013, QAV_MNT_FWUPDATE_MBA_RESPONSE_CMD_GET_FIRMWARE_UPGRADE_STATUS);
}

TEST(define_codes, result_and_option_codes_have_the_protocol_values)
{
    EXPECT_EQ(0, QAV_MNT_FWUPDATE_MBA_RESULT_CODE_OK);
    EXPECT_EQ(20, QAV_MNT_FWUPDATE_MBA_RESULT_CODE_ERROR_IN_DOWNLOAD);
    EXPECT_EQ(21, QAV_MNT_FWUPDATE_MBA_RESULT_CODE_ERROR_IN_FW_FILE);
    EXPECT_EQ(22, QAV_MNT_FWUPDATE_MBA_RESULT_CODE_ERROR_IN_STORING_FILE);
    EXPECT_EQ(1, QAV_MNT_FWUPDATE_MBA_OPTION_CODE_FW_PACKAGE_STORED);
    EXPECT_EQ(2, QAV_MNT_FWUPDATE_MBA_OPTION_CODE_FW_PACKAGE_VALIDATION);
    EXPECT_EQ(1, QAV_MNT_FWUPDATE_MBA_OPTION_CODE_OPERATION_STILL_ONGOING);
    EXPECT_EQ(2, QAV_MNT_FWUPDATE_MBA_OPTION_CODE_OPERATION_FINISHED);
}

TEST(define_codes, message_ids_have_their_queue_values)
{
    EXPECT_EQ(0, QAV_MNT_FWUPDATE_MSG_ID_NONE);
    EXPECT_EQ(1, QAV_MNT_FWUPDATE_MSG_ID_START_DOWNLOADING);
    EXPECT_EQ(2, QAV_MNT_FWUPDATE_MSG_ID_DOWNLOAD_FW_PACKAGE);
    EXPECT_EQ(3, QAV_MNT_FWUPDATE_MSG_ID_VERIFY_FW_FILES);
    EXPECT_EQ(4, QAV_MNT_FWUPDATE_MSG_ID_CHECK_FWUPDATE_STATE);
    EXPECT_EQ(5, QAV_MNT_FWUPDATE_MSG_ID_RECV_UNKNOWN_CMD);
}

TEST(define_codes, message_block_copied_by_value_keeps_a_chunk)
{
    char chunk[] = "zip";
    _QAV_MNT_FWUPDATE_MSG_BLK_ block;
    std::memset(&block, 0, sizeof(block));
    EXPECT_EQ(QAV_MNT_FWUPDATE_MSG_ID_NONE, block.msg_id);
    block.msg_id = QAV_MNT_FWUPDATE_MSG_ID_DOWNLOAD_FW_PACKAGE;
    block.info.download_fw_package.data_size = 3;
    block.info.download_fw_package.data = chunk;
    block.info.download_fw_package.is_end_of_data = 1;

    _QAV_MNT_FWUPDATE_MSG_BLK_ copy;
    std::memcpy(&copy, &block, sizeof(copy));

    EXPECT_EQ(QAV_MNT_FWUPDATE_MSG_ID_DOWNLOAD_FW_PACKAGE, copy.msg_id);
    EXPECT_EQ(3u, copy.info.download_fw_package.data_size);
    EXPECT_EQ(chunk, copy.info.download_fw_package.data);
    EXPECT_EQ(1, copy.info.download_fw_package.is_end_of_data);
}

TEST(define_byte_order, swap_16_exchanges_the_two_bytes)
{
    EXPECT_EQ(0x1200, qav_mnt_fwupdate_swap_16(0x0012));
    EXPECT_EQ(0x0012, qav_mnt_fwupdate_swap_16(0x1200));
    EXPECT_EQ(0x3412, qav_mnt_fwupdate_swap_16(0x1234));
    EXPECT_EQ(0xFFFF, qav_mnt_fwupdate_swap_16(0xFFFF));
}

TEST(define_byte_order, swap_32_reverses_the_four_bytes)
{
    EXPECT_EQ(0x00000100u, qav_mnt_fwupdate_swap_32(0x00010000u));
    EXPECT_EQ(0x78563412u, qav_mnt_fwupdate_swap_32(0x12345678u));
    EXPECT_EQ(0x12345678u, qav_mnt_fwupdate_swap_32(qav_mnt_fwupdate_swap_32(0x12345678u)));
}

TEST_F(define_test, command_bytes_00_12_decode_as_the_upload_request)
{
    attach_();
    std::string log = decode_({0, 1, 0, 0, 0, 5, 0, 0, 0x00, 0x12, 0, 0, 0, 0, 0, 0});

    ASSERT_EQ(1u, receiver_.headers.size());
    EXPECT_EQ(QAV_MNT_FWUPDATE_MBA_REQUEST_CMD_SEND_FIRMWARE_UPGRADE_FILE,
              receiver_.headers[0].command);
    EXPECT_NE(std::string::npos, log.find("[IMP] recv_impl(): header.command:[0x00000012]\n"));
}

TEST_F(define_test, command_bytes_12_00_decode_as_0x1200_which_is_no_request)
{
    attach_();
    std::string log = decode_({0, 1, 0, 0, 0, 5, 0, 0, 0x12, 0x00, 0, 0, 0, 0, 0, 0});

    ASSERT_EQ(1u, receiver_.headers.size());
    EXPECT_EQ(0x1200, receiver_.headers[0].command);
    EXPECT_NE(QAV_MNT_FWUPDATE_MBA_REQUEST_CMD_SEND_FIRMWARE_UPGRADE_FILE,
              receiver_.headers[0].command);
    EXPECT_NE(QAV_MNT_FWUPDATE_MBA_REQUEST_CMD_GET_FIRMWARE_UPGRADE_STATUS,
              receiver_.headers[0].command);
    EXPECT_NE(std::string::npos, log.find("[IMP] recv_impl(): header.command:[0x00001200]\n"));
}

TEST_F(define_test, data_size_bytes_00_00_01_00_mean_256_body_bytes)
{
    attach_();
    std::string log = decode_({0, 1, 0, 0, 0, 5, 0, 0, 0x00, 0x12, 0, 0, 0x00, 0x00, 0x01, 0x00});

    ASSERT_EQ(1u, receiver_.headers.size());
    EXPECT_EQ(256u, receiver_.headers[0].data_size);
    EXPECT_NE(std::string::npos, log.find("[IMP] recv_impl(): header.data_size:[0x00000100]\n"));
    // The link now waits for 256 body bytes behind the 16 header bytes.
    EXPECT_EQ(272u, link_->rcv_total_size());
    EXPECT_EQ(16u, link_->rcved_size());
    decode_(bytes(256, 0xAB));
    EXPECT_EQ(0u, link_->rcved_size());
}

TEST(define_reply, reply_echoes_version_reserved_and_request_id_and_carries_no_body)
{
    QAV_MNT_FWUPDATE_PACKATE_HEADER_ request = {0x0A0B, 0xC0DE, 0x1234, 0, 19, 2, 0x55};

    QAV_MNT_FWUPDATE_PACKATE_HEADER_ reply = qav_mnt_fwupdate_make_reply_header(
        request, QAV_MNT_FWUPDATE_MBA_RESPONSE_CMD_GET_FIRMWARE_UPGRADE_STATUS,
        QAV_MNT_FWUPDATE_MBA_OPTION_CODE_OPERATION_FINISHED,
        QAV_MNT_FWUPDATE_MBA_RESULT_CODE_ERROR_IN_FW_FILE);

    EXPECT_EQ(0x0A0B, reply.version);
    EXPECT_EQ(0xC0DE, reply.reserved);
    EXPECT_EQ(0x1234, reply.request_id);
    EXPECT_EQ(21, reply.result_code);
    EXPECT_EQ(0x8013, reply.command);
    EXPECT_EQ(2, reply.option_code);
    EXPECT_EQ(0u, reply.data_size);
}

TEST_F(define_test, reply_to_query_1234_goes_out_with_12_34_at_offsets_4_and_5)
{
    QAV_MNT_FWUPDATE_PACKATE_HEADER_ request = {0x0A0B, 0xC0DE, 0x1234, 0, 19, 1, 0x55};
    QAV_MNT_FWUPDATE_PACKATE_HEADER_ reply = qav_mnt_fwupdate_make_reply_header(
        request, QAV_MNT_FWUPDATE_MBA_RESPONSE_CMD_GET_FIRMWARE_UPGRADE_STATUS,
        QAV_MNT_FWUPDATE_MBA_OPTION_CODE_OPERATION_STILL_ONGOING,
        QAV_MNT_FWUPDATE_MBA_RESULT_CODE_OK);

    bytes message = send_to_peer_(reply);

    EXPECT_EQ((bytes{0x0A, 0x0B, 0xC0, 0xDE, 0x12, 0x34, 0x00, 0x00, 0x80, 0x13, 0x00, 0x01,
                     0x00, 0x00, 0x00, 0x00}),
              message);
}

TEST_F(define_test, upload_reply_echoes_the_upload_header_with_command_8012_and_option_0)
{
    QAV_MNT_FWUPDATE_PACKATE_HEADER_ upload = {0x0001, 0x0000, 0xBEEF, 0, 18, 0, 5000};
    QAV_MNT_FWUPDATE_PACKATE_HEADER_ reply = qav_mnt_fwupdate_make_reply_header(
        upload, QAV_MNT_FWUPDATE_MBA_RESPONSE_CMD_SEND_FIRMWARE_UPGRADE_FILE, 0,
        QAV_MNT_FWUPDATE_MBA_RESULT_CODE_ERROR_IN_DOWNLOAD);

    bytes message = send_to_peer_(reply);

    EXPECT_EQ((bytes{0x00, 0x01, 0x00, 0x00, 0xBE, 0xEF, 0x00, 0x14, 0x80, 0x12, 0x00, 0x00,
                     0x00, 0x00, 0x00, 0x00}),
              message);
}

}  // namespace
