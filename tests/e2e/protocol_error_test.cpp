// What the real program does with requests a phone should not send.
#include "e2e_fixture.h"

#include "delivery_replies.h"
#include "mobile_packet.h"

#include <filesystem>

namespace norvane_test {
namespace {

using norvane_tools::encode_header;
using norvane_tools::header;
using norvane_tools::upload_options;

class protocol_error_test : public e2e_fixture {
};

TEST_F(protocol_error_test, unknown_command_ends_the_run_without_a_reply)
{
    ASSERT_EQ(0, start_program());
    header request = norvane_tools::status_request(1, 0, 1, 1);
    request.command = 0x0099;
    ASSERT_EQ(0, session().send_raw(encode_header(request)));
    EXPECT_EQ(1, wait_program());

    EXPECT_TRUE(replies().empty());
    EXPECT_EQ("dlstart\ndlfinish 1\n", service_log());
    const std::string log = program_log();
    EXPECT_NE(std::string::npos,
              log.find("[ERR] act_notify_recv_header(): recv unknown command. cmd[0x0099]\n"));
    EXPECT_NE(std::string::npos, log.find("[ERR] process_(): process error. unknown msg_id  [5]\n"));
    EXPECT_NE(std::string::npos, log.find(finish_line(1)));
}

TEST_F(protocol_error_test, command_bytes_in_little_endian_order_are_an_unknown_command)
{
    ASSERT_EQ(0, start_program());
    std::string raw;
    ASSERT_EQ(0, norvane_tools::from_hex("00 01 00 00 00 01 00 00 12 00 00 00 00 00 00 00", raw));
    ASSERT_EQ(0, session().send_raw(raw));
    EXPECT_EQ(1, wait_program());
    EXPECT_NE(std::string::npos,
              program_log().find("[ERR] act_notify_recv_header(): recv unknown command. cmd[0x1200]\n"));
}

TEST_F(protocol_error_test, status_query_with_a_bad_option_is_answered_and_ends_the_run)
{
    ASSERT_EQ(0, start_program());
    EXPECT_EQ("00 01 00 00 00 01 00 15 80 13 00 02 00 00 00 00", status(7));
    EXPECT_EQ(0, wait_program());

    EXPECT_EQ("dlstart\ndlfinish 1\n", service_log());
    const std::string log = program_log();
    EXPECT_NE(std::string::npos, log.find("[ERR] check_fwupdate_state_(): Unknown option code. [0x0007]\n"));
    EXPECT_NE(std::string::npos, log.find(finish_line(0)));
}

TEST_F(protocol_error_test, status_query_before_any_upload_says_still_ongoing)
{
    ASSERT_EQ(0, start_program());
    EXPECT_EQ("00 01 00 00 00 01 00 00 80 13 00 01 00 00 00 00", status(1));
    EXPECT_EQ("00 01 00 00 00 02 00 00 80 13 00 01 00 00 00 00", status(2));
    EXPECT_EQ("00 01 00 00 00 03 00 15 80 13 00 02 00 00 00 00", status(3));
    EXPECT_EQ(0, wait_program());
    EXPECT_EQ(std::string::npos, program_log().find("Change exec state. [CONNECT] -> [DOWNLOAD]"));
}

TEST_F(protocol_error_test, header_only_upload_of_size_zero_opens_the_file_and_never_replies)
{
    ASSERT_EQ(0, start_program());
    ASSERT_EQ(0, session().send_raw(encode_header(norvane_tools::upload_request(1, 0, 1, 0))));
    session().set_identity(1, 0, 2);
    // The query after it is answered first: no upload reply ever comes.
    EXPECT_EQ("00 01 00 00 00 02 00 00 80 13 00 01 00 00 00 00", status(1));
    EXPECT_EQ("00 01 00 00 00 03 00 15 80 13 00 02 00 00 00 00", status(7));
    EXPECT_EQ(0, wait_program());

    ASSERT_EQ(2u, replies().size());
    const std::string log = program_log();
    EXPECT_NE(std::string::npos,
              log.find("[INF] change_exec_state_(): Change exec state. [CONNECT] -> [DOWNLOAD] \n"));
    EXPECT_TRUE(std::filesystem::exists(std::string(norvane_tools::fwupdate_work_dir) +
                                        "/qav_mnt_fwpackage.zip"));
    EXPECT_EQ("", work_file("qav_mnt_fwpackage.zip"));
    EXPECT_EQ("dlstart\ndlfinish 1\n", service_log());
}

TEST_F(protocol_error_test, body_data_after_verification_ends_the_run_with_status_1)
{
    const auto files = sample_files(3000, 300);
    ASSERT_EQ(0, start_program());
    EXPECT_EQ(upload_ok,
              upload(make_package(files, "1.0", "DEVICE_FIRMWARE"), upload_options{}));
    EXPECT_EQ(finished_ok_2, status(1));
    // A second upload whose body shares the header's transfer: the body
    // arrives while the program waits for the confirmation.
    std::string packet = encode_header(norvane_tools::upload_request(1, 0, 3, 4)) + "DATA";
    ASSERT_EQ(0, session().send_raw(packet));
    EXPECT_EQ(1, wait_program());

    EXPECT_EQ("dlstart\ndlfinish 1\n", service_log());
    EXPECT_FALSE(record_exists("FIRMWARE_VERSION_DEVICE"));
    const std::string log = program_log();
    EXPECT_NE(std::string::npos,
              log.find("[ERR] act_notify_recv_body(): recv unknown data. now state[WAIT_CHECKING_RESULT]\n"));
    EXPECT_NE(std::string::npos, log.find(finish_line(1)));
}

}  // namespace
}  // namespace norvane_test
