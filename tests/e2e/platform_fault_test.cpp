// Each failing call of the host platform, named in FWUPDATE_FAULTS, with the
// real program.
#include "e2e_fixture.h"

#include "delivery_replies.h"
#include "mobile_packet.h"

#include <filesystem>

namespace norvane_test {
namespace {

using norvane_tools::upload_options;

class platform_fault_test : public e2e_fixture {
protected:
    void deliver(const std::string& faults)
    {
        const auto files = sample_files(4000, 400);
        const std::string package = make_package(files, "5.4.3", "DEVICE_FIRMWARE");
        ASSERT_EQ(0, start_program(faults));
        EXPECT_EQ(upload_ok, upload(package, upload_options{}));
        EXPECT_EQ(finished_ok_2, status(1));
        EXPECT_EQ(finished_ok_3, status(2));
    }
};

TEST_F(platform_fault_test, refused_download_start_ends_before_connecting)
{
    ASSERT_EQ(0, launch_program({"dlstart", {}, {}}));
    EXPECT_EQ(1, wait_program());
    EXPECT_NE(0, phone_.accept_program(0));

    EXPECT_EQ("dlstart fault\ndlfinish 1\n", service_log());
    const std::string log = program_log();
    EXPECT_NE(std::string::npos,
              log.find("[ERR] initialize_(): osl_mdev_upd_fwup_dlstart return is NG. os_ret[1]\n"));
    EXPECT_NE(std::string::npos, log.find(finish_line(1)));
}

TEST_F(platform_fault_test, link_that_cannot_connect_ends_the_run_with_status_1)
{
    ASSERT_EQ(0, launch_program({"aoa_connect", {}, {}}));
    EXPECT_EQ(1, wait_program());

    EXPECT_EQ("dlstart\naoa_connect fault\ndlfinish 1\n", service_log());
    const std::string log = program_log();
    EXPECT_NE(std::string::npos, log.find("[ERR] connect(): osl_mdev_aoa_connect mdev_ret:[0x00000001]\n"));
    EXPECT_NE(std::string::npos, log.find(finish_line(1)));
}

TEST_F(platform_fault_test, failing_download_finish_makes_the_exit_status_1)
{
    deliver("dlfinish");
    EXPECT_EQ(1, wait_program());
    EXPECT_EQ("dlstart\ndlfinish fault\n", service_log());
    EXPECT_EQ(std::string("5.4.3", 6), record("FIRMWARE_VERSION_DEVICE"));
    EXPECT_NE(std::string::npos, program_log().find(finish_line(1)));
}

TEST_F(platform_fault_test, record_that_cannot_be_opened_is_not_written_and_the_run_succeeds)
{
    deliver("flopen");
    EXPECT_EQ(0, wait_program());
    EXPECT_EQ("dlstart\nflopen fault\ndlfinish 0\n", service_log());
    EXPECT_FALSE(record_exists("FIRMWARE_VERSION_DEVICE"));
    const std::string log = program_log();
    EXPECT_NE(std::string::npos,
              log.find("[ERR] write_non_volatile_area(): Failed to open. open_ret=[0x00000001]\n"));
    EXPECT_NE(std::string::npos, log.find(finish_line(0)));
}

TEST_F(platform_fault_test, record_that_cannot_be_written_is_still_closed)
{
    deliver("flwrite");
    EXPECT_EQ(0, wait_program());
    EXPECT_EQ("dlstart\nflwrite fault\ndlfinish 0\n", service_log());
    EXPECT_EQ("", record("FIRMWARE_VERSION_DEVICE"));
    EXPECT_NE(std::string::npos,
              program_log().find("[ERR] write_non_volatile_area(): Failed to write. write_ret=[0x00000001]\n"));
}

TEST_F(platform_fault_test, record_that_cannot_be_closed_is_reported_and_the_run_succeeds)
{
    deliver("flclose");
    EXPECT_EQ(0, wait_program());
    EXPECT_EQ("dlstart\nflclose fault\ndlfinish 0\n", service_log());
    EXPECT_NE(std::string::npos,
              program_log().find("[ERR] write_non_volatile_area(): Failed to close. close_ret=[0x00000001]\n"));
    EXPECT_NE(std::string::npos, program_log().find(finish_line(0)));
}

TEST_F(platform_fault_test, upload_reply_that_cannot_be_sent_ends_the_run_as_a_failure)
{
    const auto files = sample_files(4000, 400);
    // No reply can reach the phone, not even the handshake's; the test reads
    // in the log when the program takes package data instead.
    ASSERT_EQ(0, start_program_without_handshake({"aoa_send", {}, {}}));
    ASSERT_TRUE(wait_for_log("Change exec state. [INITIAL] -> [CONNECT] \n"));
    ASSERT_EQ(0, session().send_upload(make_package(files, "1.0", "DEVICE_FIRMWARE"), upload_options{}, nullptr));
    EXPECT_EQ(0, wait_program());

    EXPECT_TRUE(replies().empty());
    EXPECT_EQ("dlstart\naoa_send fault\ndlfinish 1\n", service_log());
    const std::string log = program_log();
    EXPECT_NE(std::string::npos, log.find("[ERR] send(): osl_mdev_aoa_send mdev_ret:[0x00000001]\n"));
    EXPECT_NE(std::string::npos,
              log.find("[ERR] send_download_result_(): Communicatin Error Occured. download result [1]\n"));
    EXPECT_NE(std::string::npos, log.find(finish_line(0)));
}

}  // namespace
}  // namespace norvane_test
