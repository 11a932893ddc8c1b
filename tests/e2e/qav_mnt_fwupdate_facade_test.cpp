// The entry point and the facade, through the real program on the host
// platform, started by the end-to-end fixture: its standard error in a file,
// the update library's state in a test folder and, for a whole run, the
// phone played by the test.
#include "e2e_fixture.h"

#include "delivery_replies.h"

#include <string>

namespace norvane_test {
namespace {

const std::string FAILED_START_LOG =
    "[IMP] main(): QAV_MNT FWUPDATE Start\n"
    "[INF] initialize_(): initialize_ Start\n"
    "[ERR] initialize_(): osl_mdev_upd_fwup_dlstart return is NG. os_ret[1]\n"
    "[INF] change_exec_state_(): Change exec state. [INITIAL] -> [FINISHED] \n"
    "[INF] set_process_err_(): set_process_err_. ErrorCode[COMMUNICATE_MOBILE]\n"
    "[INF] initialize_(): initialize_ Finish [1]\n"
    "[IMP] finalize_(): osl_mdev_upd_fwup_dlfinish os_ret[0] result[1] exec_state[5]\n"
    "[IMP] main(): QAV_MNT FWUPDATE Finish 1\n";

bool ends_with(const std::string& text, const std::string& end)
{
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

class qav_mnt_fwupdate_facade_test : public e2e_fixture {
};

TEST_F(qav_mnt_fwupdate_facade_test, refused_start_logs_start_and_finish_and_exits_1)
{
    ASSERT_EQ(0, launch_program({"dlstart", {}, {}}));
    EXPECT_EQ(1, wait_program());
    EXPECT_EQ(FAILED_START_LOG, program_log());
    EXPECT_EQ("dlstart fault\ndlfinish 1\n", service_log());
}

TEST_F(qav_mnt_fwupdate_facade_test, arguments_are_ignored)
{
    ASSERT_EQ(0, launch_program({"dlstart", {}, {"--help", "-v", "/tmp/some.zip"}}));
    EXPECT_EQ(1, wait_program());
    EXPECT_EQ(FAILED_START_LOG, program_log());
}

TEST_F(qav_mnt_fwupdate_facade_test, unreachable_phone_exits_1_as_the_finish_line_says)
{
    ASSERT_EQ(0, launch_program({"", {{"FWUPDATE_AOA_SOCKET", dir_.file("nobody.sock")}}, {}}));
    EXPECT_EQ(1, wait_program());
    const std::string log = program_log();
    EXPECT_EQ(0u, log.find("[IMP] main(): QAV_MNT FWUPDATE Start\n"));
    EXPECT_TRUE(ends_with(log, finish_line(1))) << log;
    EXPECT_NE(std::string::npos, log.find("[INF] initialize_(): initialize_ Finish [1]\n"));
    EXPECT_EQ("dlstart\ndlfinish 1\n", service_log());
}

TEST_F(qav_mnt_fwupdate_facade_test, delivered_and_confirmed_package_exits_0)
{
    const std::vector<package_file> files{{"image.bin", "device firmware image\n"}};
    const std::string package = make_package(files, "4.5.6", "DEVICE_FIRMWARE");
    ASSERT_EQ(0, start_program(program_options{"", {}, {"extra"}}));
    EXPECT_EQ(upload_ok, upload(package, norvane_tools::upload_options{}));
    EXPECT_EQ(finished_ok_2, status(1));
    EXPECT_EQ(finished_ok_3, status(2));
    EXPECT_EQ(0, wait_program());

    const std::string log = program_log();
    EXPECT_EQ(0u, log.find("[IMP] main(): QAV_MNT FWUPDATE Start\n"));
    EXPECT_TRUE(ends_with(log, finish_line(0))) << log;
    EXPECT_EQ("dlstart\ndlfinish 0\n", service_log());
    EXPECT_EQ(std::string("4.5.6\0", 6), record("FIRMWARE_VERSION_DEVICE"));
}

}  // namespace
}  // namespace norvane_test
