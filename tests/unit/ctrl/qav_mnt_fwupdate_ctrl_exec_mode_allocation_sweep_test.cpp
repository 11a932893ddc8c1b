// Allocation-failure sweep of a whole delivery through the exec-mode
// controller on the fake platform: the package chunks that the callback
// copies, the checksum commands and the description parsing all take platform
// blocks. A clean delivery counts them; then, for every i, allocation i
// fails, and the run must end with one of the outcomes the controller is
// designed to reach for it, without a crash and with every block returned.
// Every run either verifies every declared file or fails:
// - the chunk of the header-only transfer lost: it holds only the link's
//   16 bytes of slack, so the delivery succeeds, both files verified;
// - a checksum of the diagnostic folder dump lost: only the dump is cut
//   short, the delivery succeeds, both files verified;
// - a later chunk lost or a failed step of the verification (a record or
//   list node of the description included): the upload reply says 0, the
//   first status query gets "finished, error in firmware file" (21),
//   dlfinish(1), execute returns 0;
// - the last chunk lost: the upload reply still says 0, the run ends with
//   "Unknown Package version", dlfinish(1), execute returns 1.
#include "qav_mnt_fwupdate_ctrl_exec_mode.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "bsd_sum.h"
#include "fake_platform.h"
#include "temp_dir.h"
#include "utl_lib_xml_vexa_firmware_upgrade_service.h"

using namespace norvane;
using norvane_fake::fake_aoa;
using norvane_fake::fake_os_wrapper;
using norvane_fake::fake_platform;
using norvane_fake::fake_upd;

namespace {

const std::string WORK_DIR = "/tmp/fwupdate/update";
const size_t PIECE_SIZE = 1000;

std::string be16_(uint16_t value)
{
    return std::string{static_cast<char>(value >> 8), static_cast<char>(value & 0xFF)};
}

std::string header_(uint16_t request_id, uint16_t result_code, uint16_t command,
                    uint16_t option_code, uint32_t data_size)
{
    return be16_(1) + be16_(0) + be16_(request_id) + be16_(result_code) + be16_(command) +
           be16_(option_code) + be16_(static_cast<uint16_t>(data_size >> 16)) +
           be16_(static_cast<uint16_t>(data_size & 0xFFFF));
}

const std::string UPLOAD_OK = header_(1, 0, 0x8012, 0, 0);
const std::string FINISHED_OK_2 = header_(2, 0, 0x8013, 2, 0);
const std::string FINISHED_OK_3 = header_(3, 0, 0x8013, 2, 0);
const std::string FINISHED_FW_ERROR_2 = header_(2, 21, 0x8013, 2, 0);

// The two files of the package, as the verification lists them.
struct package_file {
    std::string name;
    std::string bytes;
};

// The files of the sample package: bytes that do not compress, so that the
// package spans several chunks, and a short text.
std::vector<package_file> sample_files_()
{
    std::string main_bin;
    uint32_t state = 20261122;
    for (int i = 0; i < 3000; ++i) {
        state = state * 1103515245u + 12345u;
        main_bin += static_cast<char>((state >> 16) & 0xFF);
    }
    return {{"main.bin", main_bin}, {"notes.txt", "firmware notes\n"}};
}

// A real zip of the files and their truthful description.
std::string sample_package_()
{
    std::string xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<firmware_package>\n"
                      "  <package_version>1.2.3</package_version>\n"
                      "  <download_information>\n    <type>MAIN</type>\n";
    norvane_test::temp_dir dir;
    for (const package_file& file : sample_files_()) {
        xml += "    <data_information>\n      <filename>" + file.name +
               "</filename>\n      <checksum>" + norvane_test::bsd_sum_text(file.bytes) +
               "</checksum>\n      <size>" + std::to_string(file.bytes.size()) +
               "</size>\n    </data_information>\n";
        dir.write_file(file.name, file.bytes);
    }
    xml += "  </download_information>\n"
           "  <package_type>DEVICE_FIRMWARE</package_type>\n</firmware_package>\n";
    dir.write_file("FW_package.xml", xml);
    const std::string command =
        "cd " + dir.path() + " && zip -q -X package.zip FW_package.xml main.bin notes.txt";
    EXPECT_EQ(0, std::system(command.c_str()));
    return norvane_test::read_file_bytes(dir.file("package.zip"));
}

// How often the log lists the file with its true size and checksum among the
// lists it compared: twice (declared and found) when the file was verified.
int times_listed_(const std::string& log, const package_file& file)
{
    const std::string line = "[INF] dsp_verify_list(): verify_xml_list file_name:[" + file.name +
                             "] file_size:[" + std::to_string(file.bytes.size()) +
                             "] check_sum:[" + norvane_test::bsd_sum_text(file.bytes) + "]\n";
    int count = 0;
    for (size_t at = log.find(line); at != std::string::npos; at = log.find(line, at + 1)) {
        ++count;
    }
    return count;
}

// What one delivery produced.
struct delivery {
    int execute_ret = -1;
    std::vector<std::string> replies;
    std::vector<std::string> update_calls;
    std::string log;
};

// The phone: each step waits until the controller sits idle on its queue,
// and gives up once the controller has returned.
class sweep_phone {
public:
    explicit sweep_phone(const std::atomic<bool>& done) : done_(done) {}

    bool idle() const
    {
        while (!done_.load()) {
            if (fake_os_wrapper::wait_receiver_idle(100)) {
                return true;
            }
        }
        return false;
    }

    // Header-only upload, then the body in pieces, then query 1 and 2.
    void deliver(const std::string& package) const
    {
        if (!idle()) {
            return;
        }
        fake_aoa::inject(header_(1, 0, 18, 0, static_cast<uint32_t>(package.size())));
        for (size_t at = 0; at < package.size(); at += PIECE_SIZE) {
            if (!idle()) {
                return;
            }
            fake_aoa::inject(package.substr(at, PIECE_SIZE));
        }
        for (uint16_t option = 1; option <= 2; ++option) {
            if (!idle()) {
                return;
            }
            fake_aoa::inject(header_(static_cast<uint16_t>(option + 1), 0, 19, option, 0));
        }
    }

private:
    const std::atomic<bool>& done_;
};

delivery deliver_(const std::string& package)
{
    std::filesystem::remove_all(WORK_DIR);
    std::filesystem::create_directories(WORK_DIR);
    delivery out;
    testing::internal::CaptureStderr();
    {
        std::atomic<bool> done(false);
        qav_mnt_fwupdate_ctrl_exec_mode ctrl;
        std::thread phone_thread([&done, &package] { sweep_phone(done).deliver(package); });
        out.execute_ret = ctrl.execute();
        done = true;
        phone_thread.join();
    }
    out.log = testing::internal::GetCapturedStderr();
    out.replies = fake_aoa::sent();
    out.update_calls = fake_upd::calls();
    return out;
}

bool contains_(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

// The allocations that constructing the message object makes (its own
// records). Their failing is a known defect (see
// package_description_allocation_sweep_test), so the controller sweep finds
// where that run of allocations sits in a delivery and leaves it out.
std::vector<int> construction_sizes_()
{
    fake_platform::reset();
    {
        utl_lib_xml_vexa_firmware_upgrade_service fw;
    }
    std::vector<int> sizes = fake_os_wrapper::allocation_sizes();
    fake_platform::reset();
    return sizes;
}

// Allocation numbers (from 1) of the first run of the construction's sizes.
std::vector<bool> construction_numbers_(const std::vector<int>& sizes,
                                        const std::vector<int>& construction)
{
    std::vector<bool> skip(sizes.size() + 1, false);
    for (size_t at = 0; at + construction.size() <= sizes.size(); ++at) {
        if (std::equal(construction.begin(), construction.end(), sizes.begin() + at)) {
            for (size_t k = 0; k < construction.size(); ++k) {
                skip[at + k + 1] = true;
            }
            break;
        }
    }
    return skip;
}

class ctrl_exec_mode_allocation_sweep_test : public testing::Test {
protected:
    void SetUp() override
    {
        fake_platform::reset();
        package_ = sample_package_();
    }

    void TearDown() override { fake_platform::reset(); }

    std::string package_;
};

TEST_F(ctrl_exec_mode_allocation_sweep_test, clean_delivery_succeeds_and_returns_every_block)
{
    const delivery clean = deliver_(package_);

    EXPECT_EQ(0, clean.execute_ret);
    EXPECT_EQ((std::vector<std::string>{UPLOAD_OK, FINISHED_OK_2, FINISHED_OK_3}), clean.replies);
    EXPECT_TRUE(contains_(clean.log, "[IMP] finalize_(): osl_mdev_upd_fwup_dlfinish os_ret[0] "
                                     "result[0] exec_state[5]\n"));
    for (const package_file& file : sample_files_()) {
        EXPECT_EQ(2, times_listed_(clean.log, file)) << file.name;
    }
    EXPECT_GT(fake_os_wrapper::allocations(), 0);
    EXPECT_EQ(0, fake_os_wrapper::blocks_outstanding());
    EXPECT_EQ(0, fake_os_wrapper::foreign_frees());
    EXPECT_EQ(0, fake_os_wrapper::frees_with_pool());
}

TEST_F(ctrl_exec_mode_allocation_sweep_test, every_failed_allocation_verifies_every_file_or_fails)
{
    const std::vector<int> construction = construction_sizes_();
    ASSERT_FALSE(construction.empty());
    deliver_(package_);
    const int total = fake_os_wrapper::allocations();
    const std::vector<int> sizes = fake_os_wrapper::allocation_sizes();
    ASSERT_EQ(static_cast<size_t>(total), sizes.size());
    const std::vector<bool> skip = construction_numbers_(sizes, construction);
    const int chunks = static_cast<int>((package_.size() + PIECE_SIZE - 1) / PIECE_SIZE) + 1;

    int swept = 0;
    for (int i = 1; i <= total; ++i) {
        if (skip[static_cast<size_t>(i)]) {
            continue;
        }
        ++swept;
        SCOPED_TRACE("allocation " + std::to_string(i) + " of " + std::to_string(total) +
                     " fails (" + std::to_string(sizes[static_cast<size_t>(i - 1)]) + " bytes)");
        fake_platform::reset();
        fake_os_wrapper::fail_allocation_number(i);
        const delivery run = deliver_(package_);

        EXPECT_EQ(0, fake_os_wrapper::blocks_outstanding());
        EXPECT_EQ(0, fake_os_wrapper::foreign_frees());
        EXPECT_EQ(0, fake_os_wrapper::frees_with_pool());
        ASSERT_FALSE(run.replies.empty());
        EXPECT_EQ(UPLOAD_OK, run.replies[0]);
        if (i == 1) {
            // The header-only transfer's chunk holds only the link's 16 bytes
            // of slack: without them the stored zip is clean.
            EXPECT_EQ(0, run.execute_ret);
            EXPECT_EQ((std::vector<std::string>{UPLOAD_OK, FINISHED_OK_2, FINISHED_OK_3}),
                      run.replies);
            EXPECT_TRUE(contains_(run.log, "[ERR] act_notify_recv_body(): failed to malloc for fw "
                                           "package. size[16]\n"));
        } else if (i == chunks) {
            // The last chunk: the upload is answered, then the run ends.
            EXPECT_EQ(1, run.execute_ret);
            EXPECT_EQ(1u, run.replies.size());
            EXPECT_TRUE(contains_(run.log, "[ERR] act_notify_recv_body(): failed to malloc for fw "
                                           "package. size[" + std::to_string(
                                               package_.size() - (chunks - 2) * PIECE_SIZE) +
                                           "]\n"));
            EXPECT_TRUE(contains_(run.log, "[ERR] finalize_(): Unknown Package version. type[0] "
                                           "ver[]\n"));
        } else if (i < chunks) {
            // An earlier chunk is lost: the stored zip is broken.
            EXPECT_EQ(0, run.execute_ret);
            EXPECT_EQ((std::vector<std::string>{UPLOAD_OK, FINISHED_FW_ERROR_2}), run.replies);
            EXPECT_TRUE(contains_(run.log, "[IMP] download_fw_package_(): Data recv error. data "
                                           "is null\n"));
        } else if (run.replies.size() == 2) {
            // A step of the verification failed.
            EXPECT_EQ(0, run.execute_ret);
            EXPECT_EQ(FINISHED_FW_ERROR_2, run.replies[1]);
            EXPECT_TRUE(contains_(run.log, "[IMP] verify(): ##### Faild Verify process.\n"));
        }
        if (run.replies.size() == 3) {
            // The allocation did not matter: the slack chunk or a checksum of
            // the diagnostic dump. Both files were still verified.
            EXPECT_TRUE(i == 1 || i > chunks);
            ASSERT_FALSE(run.update_calls.empty());
            EXPECT_EQ("dlfinish 0", run.update_calls.back());
            for (const package_file& file : sample_files_()) {
                EXPECT_EQ(2, times_listed_(run.log, file)) << file.name;
            }
        } else {
            EXPECT_EQ((std::vector<std::string>{"dlstart", "dlfinish 1"}), run.update_calls);
        }
    }
    EXPECT_EQ(total - static_cast<int>(construction.size()), swept);
}

}  // namespace
