// Each failing call of the host platform, named in FWUPDATE_FAULTS, with the
// real program.
#include "e2e_fixture.h"

#include "delivery_replies.h"
#include "mobile_packet.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

namespace norvane_test {
namespace {

using norvane_tools::upload_options;

const std::string previous_version("5.4.2", 6);

class platform_fault_test : public e2e_fixture {
protected:
    // The version record of an earlier delivery.
    void write_previous_record()
    {
        std::filesystem::create_directories(state_dir_ + "/nv");
        write_file_bytes(state_dir_ + "/nv/FIRMWARE_VERSION_DEVICE", previous_version);
    }

    // The names in the record folder: the records and any file left beside them.
    std::vector<std::string> nv_entries() const
    {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(state_dir_ + "/nv")) {
            names.push_back(entry.path().filename().string());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    // The package file cannot take any byte: a full extraction folder.
    void expect_full_folder_fails_in_download(size_t transfer_size);

    void fill_extraction_folder()
    {
        const std::string folder = norvane_tools::fwupdate_work_dir;
        std::filesystem::create_directories(folder);
        std::filesystem::create_symlink("/dev/full", folder + "/qav_mnt_fwpackage.zip");
    }

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

TEST_F(platform_fault_test, record_that_cannot_be_written_keeps_the_previous_version)
{
    write_previous_record();
    deliver("flwrite");
    EXPECT_EQ(0, wait_program());
    EXPECT_EQ("dlstart\nflwrite fault\ndlfinish 0\n", service_log());
    EXPECT_EQ(previous_version, record("FIRMWARE_VERSION_DEVICE"));
    EXPECT_EQ(std::vector<std::string>{"FIRMWARE_VERSION_DEVICE"}, nv_entries());
    const std::string log = program_log();
    EXPECT_NE(std::string::npos,
              log.find("[ERR] write_non_volatile_area(): Failed to write. write_ret=[0x00000001]\n"
                       "[ERR] write_non_volatile_area(): Failed to close. close_ret=[0x00000001]\n"));
    EXPECT_NE(std::string::npos, log.find(finish_line(0)));
}

TEST_F(platform_fault_test, record_that_cannot_be_closed_keeps_the_previous_version)
{
    write_previous_record();
    deliver("flclose");
    EXPECT_EQ(0, wait_program());
    EXPECT_EQ("dlstart\nflclose fault\ndlfinish 0\n", service_log());
    EXPECT_EQ(previous_version, record("FIRMWARE_VERSION_DEVICE"));
    EXPECT_NE(std::string::npos,
              program_log().find("[ERR] write_non_volatile_area(): Failed to close. close_ret=[0x00000001]\n"));
    EXPECT_NE(std::string::npos, program_log().find(finish_line(0)));
}

// The package file is /dev/full, as a full extraction folder would be. How
// the upload reply reads depends on where the file stream's buffer (256 KiB)
// meets the failure, but the run always fails.

// A package smaller than the buffer never leaves it before the close, whose
// flush fails. No error type is recorded for a failed close: the upload
// reply says 0, and the run ends at once without verification, as a run
// without a package type.
TEST_F(platform_fault_test, full_extraction_folder_under_a_small_package_replies_0_and_ends)
{
    const auto files = sample_files(1000, 100);
    const std::string package = make_package(files, "5.4.3", "DEVICE_FIRMWARE");
    ASSERT_LT(package.size(), 4000u);
    ASSERT_EQ(0, start_program());
    fill_extraction_folder();
    EXPECT_EQ(upload_ok, upload(package, upload_options{}));
    EXPECT_EQ(1, wait_program());
    // The program has gone: the query is not answered.
    const std::string unanswered = status(1);
    EXPECT_TRUE(unanswered.find("no reply") == 0 || unanswered.find("query not sent") == 0)
        << unanswered;

    EXPECT_EQ(std::vector<std::string>{upload_ok}, replies());
    EXPECT_EQ("dlstart\ndlfinish 1\n", service_log());
    const std::string log = program_log();
    EXPECT_NE(std::string::npos, log.find("[ERR] close_file(): Failed to close the file. pfile=[0x"));
    EXPECT_NE(std::string::npos, log.find("[ERR] finalize_(): Unknown Package version. type[0] ver[]\n"));
    EXPECT_EQ(std::string::npos, log.find("Start Verify process"));
    EXPECT_NE(std::string::npos, log.find(finish_line(1)));
}

// A package larger than the buffer: once the buffer's flush has failed, a
// piece of which nothing could be taken is a failed write, whatever the size
// of the pieces (a transfer, at most 64 KiB, is always smaller than the
// buffer). The upload reply says 20, the later pieces are discarded, and
// what was stored fails verification.
void platform_fault_test::expect_full_folder_fails_in_download(size_t transfer_size)
{
    const auto files = sample_files(600000, 400);
    const std::string package = make_package(files, "5.4.3", "DEVICE_FIRMWARE");
    ASSERT_GT(package.size(), 2u * 256u * 1024u);
    ASSERT_EQ(0, start_program());
    fill_extraction_folder();
    upload_options pieces;
    pieces.transfer_size = transfer_size;
    EXPECT_EQ(upload_error_in_download, upload(package, pieces));
    EXPECT_EQ(finished_fw_error_2, status(1));
    EXPECT_EQ(0, wait_program());

    EXPECT_EQ("dlstart\ndlfinish 1\n", service_log());
    EXPECT_FALSE(record_exists("FIRMWARE_VERSION_DEVICE"));
    const std::string log = program_log();
    EXPECT_NE(std::string::npos, log.find("[ERR] write_binary_file(): Failed to write the file. pfile:[0x"));
    EXPECT_NE(std::string::npos, log.find("[INF] set_process_err_(): set_process_err_. ErrorCode[DOWNLOAD]\n"));
    EXPECT_NE(std::string::npos, log.find("[IMP] verify(): ##### Faild Verify process.\n"));
    EXPECT_NE(std::string::npos, log.find(finish_line(0)));
}

TEST_F(platform_fault_test, full_extraction_folder_under_small_pieces_replies_20)
{
    expect_full_folder_fails_in_download(1024);
}

TEST_F(platform_fault_test, full_extraction_folder_under_the_largest_pieces_replies_20)
{
    expect_full_folder_fails_in_download(65536);
}

// A system without /dev/null: the program cannot make it its standard input
// and does not start a run at all. The program runs in a mount namespace of
// its own whose /dev is an empty folder.
TEST_F(platform_fault_test, program_without_dev_null_does_not_run)
{
    norvane_tools::program_environment environment = environment_with({});
    if (!environment.launcher.empty()) {
        GTEST_SKIP() << "the launcher itself needs /dev";
    }
    if (std::system("unshare -m true 2>/dev/null") != 0) {
        GTEST_SKIP() << "no mount namespace can be made here (unshare -m needs CAP_SYS_ADMIN)";
    }
    environment.launcher = {"unshare", "-m", "sh", "-c",
                            "mount -t tmpfs none /dev && exec \"$0\""};
    ASSERT_EQ(0, program_.start(program_binary(), environment));
    EXPECT_EQ(1, wait_program());

    EXPECT_EQ("", service_log());
    EXPECT_NE(0, phone_.accept_program(0));
    EXPECT_EQ("[IMP] main(): QAV_MNT FWUPDATE Start\n"
              "[ERR] main(): Failed to open /dev/null as standard input.\n" +
                  finish_line(1),
              program_log());
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
