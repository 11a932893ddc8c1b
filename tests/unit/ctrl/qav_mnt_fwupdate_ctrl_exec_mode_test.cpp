// The exec-mode controller, driven through the real link endpoint on the fake
// platform. The test's own thread plays the phone: it waits until the
// controller sits idle on its queue, then hands transfers to the link's
// receive function, as the accessory library's thread does. Packages are real
// zips made with `zip`, extracted by the real unzip tool and verified by the
// real pipeline in the fixed working folder.
#include "qav_mnt_fwupdate_ctrl_exec_mode.h"
#include "qav_mnt_fwupdate_lib_stream_buffer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstring>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <future>
#include <set>
#include <sstream>
#include <thread>

#include "bsd_sum.h"
#include "controller_run.h"
#include "fake_platform.h"
#include "temp_dir.h"
#include "test_package.h"
#include "wire_header.h"

using namespace norvane;
using norvane_fake::fake_aoa;
using norvane_fake::fake_os_wrapper;
using norvane_fake::fake_platform;
using norvane_fake::fake_upd;

namespace {

const std::string WORK_DIR = "/tmp/fwupdate/update";
const std::string PACKAGE_PATH = WORK_DIR + "/qav_mnt_fwpackage.zip";
// A chunk this large goes past the package stream's buffer: the stream
// writes it at once, so on /dev/full the write itself is refused. A smaller
// chunk waits in the buffer and fails only when the file is closed.
const uint32_t LARGER_THAN_STREAM_BUFFER =
    static_cast<uint32_t>(qav_mnt_fwupdate_lib_stream_buffer::STREAM_BUFFER_SIZE + 10000);
const int WAIT_MS = 20000;

// Headers as the phone writes them and as the controller's replies leave,
// version 1, reserved 0 unless a test says otherwise.
std::string header_(uint16_t version, uint16_t reserved, uint16_t request_id,
                    uint16_t result_code, uint16_t command, uint16_t option_code,
                    uint32_t data_size)
{
    return norvane_test::wire_header(version, reserved, request_id, result_code, command,
                                     option_code, data_size);
}

using norvane_test::upload_header;
using norvane_test::status_query;
using norvane_test::upload_reply;
using norvane_test::status_reply;

// Two files, one of 3000 bytes that do not compress, so the package spans
// several chunks.
std::vector<norvane_test::package_file> sample_files_()
{
    return {norvane_test::sample_files(3000, 0)[0], {"notes.txt", "firmware notes\n"}};
}

// The sample files with a truthful description of the package type; an empty
// type_name leaves the package_type element out.
std::string sample_package_(const std::string& type_name)
{
    return norvane_test::zip_package(sample_files_(), "1.2.3", type_name);
}

// A package whose description declares a wrong checksum for notes.txt.
std::string package_with_wrong_checksum_()
{
    std::vector<norvane_test::package_file> files = sample_files_();
    std::vector<norvane_test::declared_file> declared = norvane_test::truthful_declarations(files);
    declared[1].checksum = declared[1].checksum == "00001" ? "00002" : "00001";
    return norvane_test::zip_package(files,
                                     norvane_test::package_description(declared, "1.2.3",
                                                                       "DEVICE_FIRMWARE"));
}

bool idle_()
{
    return fake_os_wrapper::wait_receiver_idle(WAIT_MS);
}

void deliver_(const std::string& transfer)
{
    EXPECT_TRUE(fake_aoa::inject(transfer));
}

// The whole upload in one transfer. The link hands the body on with the
// transfer's length, so the stored file is the body and 16 bytes of slack.
void upload_in_one_transfer_(uint16_t request_id, const std::string& body)
{
    deliver_(upload_header(request_id, static_cast<uint32_t>(body.size())) + body);
}

// A header-only transfer (stored as 16 bytes of slack) and, once the
// controller has handled it, the body in pieces of piece_size bytes.
void upload_in_pieces_(uint16_t request_id, const std::string& body, size_t piece_size)
{
    deliver_(upload_header(request_id, static_cast<uint32_t>(body.size())));
    EXPECT_TRUE(idle_());
    for (size_t at = 0; at < body.size(); at += piece_size) {
        deliver_(body.substr(at, piece_size));
    }
}

// The normal run after a verified upload: query option 1 (finished, OK), then
// option 2, which ends the run.
void confirm_(uint16_t first_request_id)
{
    ASSERT_TRUE(idle_());
    deliver_(status_query(first_request_id, 1));
    ASSERT_TRUE(idle_());
    deliver_(status_query(static_cast<uint16_t>(first_request_id + 1), 2));
}

const std::set<std::string> CONTROLLER_OPERATIONS = {
    "execute", "act_notify_recv_header", "act_notify_recv_body", "initialize_", "process_",
    "finalize_", "start_downloading_", "download_fw_package_", "verify_fw_files_",
    "check_fwupdate_state_", "finish_downloading_", "send_download_result_", "send_que_",
    "wait_que_", "change_exec_state_", "set_process_err_", "write_fw_package_"};

std::vector<std::string> split_lines_(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream in(text);
    std::string line;
    while (std::getline(in, line)) {
        lines.push_back(line);
    }
    return lines;
}

// The lines that the controller's own operations printed, in order.
std::vector<std::string> controller_lines_(const std::string& log)
{
    std::vector<std::string> lines;
    for (const std::string& line : split_lines_(log)) {
        size_t open = line.find("] ");
        size_t close = line.find("(): ");
        if (line.size() < 6 || line[0] != '[' || open == std::string::npos ||
            close == std::string::npos || close < open) {
            continue;
        }
        if (CONTROLLER_OPERATIONS.count(line.substr(open + 2, close - open - 2)) != 0) {
            lines.push_back(line);
        }
    }
    return lines;
}

bool contains_line_(const std::string& log, const std::string& wanted)
{
    for (const std::string& line : split_lines_(log)) {
        if (line == wanted) {
            return true;
        }
    }
    return false;
}

std::string change_(const std::string& from, const std::string& to)
{
    return "[INF] change_exec_state_(): Change exec state. [" + from + "] -> [" + to + "] ";
}

std::string error_(const std::string& type)
{
    return "[INF] set_process_err_(): set_process_err_. ErrorCode[" + type + "]";
}

std::string dlfinish_(int os_ret, int result, int state)
{
    return "[IMP] finalize_(): osl_mdev_upd_fwup_dlfinish os_ret[" + std::to_string(os_ret) +
           "] result[" + std::to_string(result) + "] exec_state[" + std::to_string(state) + "]";
}

const std::string INIT_START = "[INF] initialize_(): initialize_ Start";
const std::string INIT_OK = "[INF] initialize_(): initialize_ Finish [0]";
const std::string INIT_NG = "[INF] initialize_(): initialize_ Finish [1]";
const std::string UNKNOWN_MSG_5 = "[ERR] process_(): process error. unknown msg_id  [5]";

std::vector<std::string> initialized_()
{
    return {INIT_START, change_("INITIAL", "CONNECT"), INIT_OK};
}

// The lines of a started run followed by more.
std::vector<std::string> after_init_(const std::vector<std::string>& more)
{
    std::vector<std::string> lines = initialized_();
    lines.insert(lines.end(), more.begin(), more.end());
    return lines;
}

std::vector<std::string> operator+(std::vector<std::string> lines,
                                   const std::vector<std::string>& more)
{
    lines.insert(lines.end(), more.begin(), more.end());
    return lines;
}

class ctrl_exec_mode_test : public ::testing::Test {
protected:
    void SetUp() override
    {
        fake_platform::reset();
        std::filesystem::remove_all(WORK_DIR);
        std::filesystem::create_directories(WORK_DIR);
        testing::internal::CaptureStderr();
        capturing_ = true;
    }

    void TearDown() override
    {
        if (capturing_) {
            testing::internal::GetCapturedStderr();
        }
    }

    // Runs the controller on a thread of its own while phone plays the
    // other side on this one; a failing phone does not leave it waiting.
    int run_(qav_mnt_fwupdate_ctrl_exec_mode& ctrl, const std::function<void()>& phone)
    {
        norvane_test::controller_run run(ctrl);
        phone();
        return run.finish(WAIT_MS);
    }

    int run_(const std::function<void()>& phone)
    {
        qav_mnt_fwupdate_ctrl_exec_mode ctrl;
        return run_(ctrl, phone);
    }

    // A package of the type, uploaded in one transfer and confirmed.
    int upload_and_confirm_(const std::string& type_name, uint16_t request_id)
    {
        std::string body = sample_package_(type_name);
        return run_([&body, request_id] {
            ASSERT_TRUE(idle_());
            upload_in_one_transfer_(request_id, body);
            confirm_(static_cast<uint16_t>(request_id + 1));
        });
    }

    // The upload in one transfer and a status query (option 1) that reaches
    // the queue before the verification message; after its reply, the
    // confirmation (option 2).
    int upload_with_an_overtaking_query_(const std::string& body)
    {
        return run_([&body] {
            ASSERT_TRUE(idle_());
            fake_os_wrapper::hold_receive(true);
            upload_in_one_transfer_(1, body);
            deliver_(status_query(2, 1));
            fake_os_wrapper::hold_receive(false);
            ASSERT_TRUE(fake_aoa::wait_sent(2, WAIT_MS));
            deliver_(status_query(3, 2));
        });
    }

    std::string log_()
    {
        capturing_ = false;
        return testing::internal::GetCapturedStderr();
    }

    bool capturing_ = false;
};

TEST(qav_mnt_fwupdate_ctrl_exec_mode_names, exec_states_have_their_log_names)
{
    EXPECT_STREQ("INITIAL", qav_mnt_fwupdate_exec_state_name(QAV_MNT_FWUPDATE_EXEC_STATE_INITIAL));
    EXPECT_STREQ("CONNECT", qav_mnt_fwupdate_exec_state_name(QAV_MNT_FWUPDATE_EXEC_STATE_CONNECT));
    EXPECT_STREQ("DOWNLOAD",
                 qav_mnt_fwupdate_exec_state_name(QAV_MNT_FWUPDATE_EXEC_STATE_DOWNLOAD));
    EXPECT_STREQ("VERIFY", qav_mnt_fwupdate_exec_state_name(QAV_MNT_FWUPDATE_EXEC_STATE_VERIFY));
    EXPECT_STREQ("WAIT_CHECKING_RESULT",
                 qav_mnt_fwupdate_exec_state_name(QAV_MNT_FWUPDATE_EXEC_STATE_WAIT_CHECKING_RESULT));
    EXPECT_STREQ("FINISHED",
                 qav_mnt_fwupdate_exec_state_name(QAV_MNT_FWUPDATE_EXEC_STATE_FINISHED));
}

TEST(qav_mnt_fwupdate_ctrl_exec_mode_names, a_state_outside_the_table_is_logged_as_six_bytes)
{
    const std::string unknown("\x2D\x2D\xA1\xA9\x2D\x2D");
    EXPECT_EQ(6u, unknown.size());
    EXPECT_EQ(unknown, qav_mnt_fwupdate_exec_state_name(static_cast<QAV_MNT_FWUPDATE_EXEC_STATE>(6)));
    EXPECT_EQ(unknown,
              qav_mnt_fwupdate_exec_state_name(static_cast<QAV_MNT_FWUPDATE_EXEC_STATE>(-1)));
    EXPECT_EQ(unknown,
              qav_mnt_fwupdate_exec_state_name(static_cast<QAV_MNT_FWUPDATE_EXEC_STATE>(1000)));
}

TEST(qav_mnt_fwupdate_ctrl_exec_mode_names, error_types_have_their_log_names)
{
    EXPECT_STREQ("COMMUNICATE_MOBILE", qav_mnt_fwupdate_process_error_type_name(
                                           QAV_MNT_FWUPDATE_PROCESS_ERROR_TYPE_COMMUNICATE_MOBILE));
    EXPECT_STREQ("DOWNLOAD", qav_mnt_fwupdate_process_error_type_name(
                                 QAV_MNT_FWUPDATE_PROCESS_ERROR_TYPE_DOWNLOAD));
    EXPECT_STREQ("EXTRACT", qav_mnt_fwupdate_process_error_type_name(
                                QAV_MNT_FWUPDATE_PROCESS_ERROR_TYPE_EXTRACT));
    EXPECT_STREQ("VERIFY", qav_mnt_fwupdate_process_error_type_name(
                               QAV_MNT_FWUPDATE_PROCESS_ERROR_TYPE_VERIFY));
    EXPECT_EQ(std::string("--\xA1\xA9--"), qav_mnt_fwupdate_process_error_type_name(
                                                static_cast<QAV_MNT_FWUPDATE_PROCESS_ERROR_TYPE>(5)));
    EXPECT_EQ(std::string("--\xA1\xA9--"), qav_mnt_fwupdate_process_error_type_name(
                                                static_cast<QAV_MNT_FWUPDATE_PROCESS_ERROR_TYPE>(-3)));
}

TEST(qav_mnt_fwupdate_ctrl_exec_mode_construction, owns_a_queue_of_100_message_blocks)
{
    fake_platform::reset();
    {
        qav_mnt_fwupdate_ctrl_exec_mode ctrl;
        EXPECT_EQ(1, fake_os_wrapper::queues_alive());
        EXPECT_EQ(100u, fake_os_wrapper::last_msg_count());
        EXPECT_EQ(sizeof(_QAV_MNT_FWUPDATE_MSG_BLK_), fake_os_wrapper::last_msg_size());
        EXPECT_EQ(0u, fake_os_wrapper::last_flags());
        EXPECT_EQ(0, fake_aoa::connect_calls());
        EXPECT_TRUE(fake_upd::calls().empty());
    }
    EXPECT_EQ(0, fake_os_wrapper::queues_alive());
    EXPECT_EQ(1, fake_os_wrapper::queues_created());
}

TEST_F(ctrl_exec_mode_test, header_callback_queues_uploads_and_queries_in_any_state)
{
    qav_mnt_fwupdate_ctrl_exec_mode ctrl;
    QAV_MNT_FWUPDATE_PACKATE_HEADER_ header = {};
    header.command = 18;
    EXPECT_EQ(0, ctrl.act_notify_recv_header(header));
    header.command = 19;
    EXPECT_EQ(0, ctrl.act_notify_recv_header(header));
    EXPECT_EQ(2, fake_os_wrapper::sends());
    EXPECT_EQ((std::vector<unsigned int>{0xFFFFFFFFu, 0xFFFFFFFFu}),
              fake_os_wrapper::send_timeouts());
    EXPECT_TRUE(controller_lines_(log_()).empty());
}

TEST_F(ctrl_exec_mode_test, header_callback_queues_an_unknown_command_and_returns_1)
{
    qav_mnt_fwupdate_ctrl_exec_mode ctrl;
    QAV_MNT_FWUPDATE_PACKATE_HEADER_ header = {};
    header.command = 0x1200;
    EXPECT_EQ(1, ctrl.act_notify_recv_header(header));
    EXPECT_EQ(1, fake_os_wrapper::sends());
    EXPECT_EQ(std::vector<std::string>{"[ERR] act_notify_recv_header(): recv unknown command. "
                                       "cmd[0x1200]"},
              controller_lines_(log_()));
}

TEST_F(ctrl_exec_mode_test, header_callback_reports_a_failing_queue_send)
{
    qav_mnt_fwupdate_ctrl_exec_mode ctrl;
    QAV_MNT_FWUPDATE_PACKATE_HEADER_ header = {};
    header.command = 19;
    fake_os_wrapper::fail_next_send(34);
    EXPECT_EQ(1, ctrl.act_notify_recv_header(header));
    EXPECT_EQ(0, fake_os_wrapper::sends());
    EXPECT_EQ(std::vector<std::string>{"[ERR] send_que_(): OSW_Message_Queue::send(). zulret[34] "
                                       "msgid[4]"},
              controller_lines_(log_()));
}

TEST_F(ctrl_exec_mode_test, body_callback_in_initial_queues_an_unknown_message)
{
    qav_mnt_fwupdate_ctrl_exec_mode ctrl;
    EXPECT_EQ(1, ctrl.act_notify_recv_body(4, "abcd", 1));
    EXPECT_EQ(1, fake_os_wrapper::sends());
    EXPECT_EQ(0, fake_os_wrapper::allocations());
    EXPECT_EQ(std::vector<std::string>{"[ERR] act_notify_recv_body(): recv unknown data. now "
                                       "state[INITIAL]"},
              controller_lines_(log_()));
}

TEST_F(ctrl_exec_mode_test, refused_dlstart_finishes_at_once_with_1)
{
    fake_upd::set_result("dlstart", 7);
    qav_mnt_fwupdate_ctrl_exec_mode ctrl;
    EXPECT_EQ(1, ctrl.execute());
    EXPECT_EQ(0, fake_aoa::connect_calls());
    EXPECT_EQ((std::vector<std::string>{"dlstart", "dlfinish 1"}), fake_upd::calls());
    EXPECT_EQ((std::vector<std::string>{
                  INIT_START,
                  "[ERR] initialize_(): osl_mdev_upd_fwup_dlstart return is NG. os_ret[7]",
                  change_("INITIAL", "FINISHED"), error_("COMMUNICATE_MOBILE"), INIT_NG,
                  dlfinish_(0, 1, 5)}),
              controller_lines_(log_()));
}

TEST_F(ctrl_exec_mode_test, failed_connect_finishes_at_once_with_1)
{
    fake_aoa::set_connect_result(3);
    qav_mnt_fwupdate_ctrl_exec_mode ctrl;
    EXPECT_EQ(1, ctrl.execute());
    EXPECT_EQ(1, fake_aoa::connect_calls());
    EXPECT_EQ((std::vector<std::string>{"dlstart", "dlfinish 1"}), fake_upd::calls());
    std::string log = log_();
    EXPECT_TRUE(contains_line_(log, "[ERR] connect(): osl_mdev_aoa_connect mdev_ret:[0x00000003]"));
    EXPECT_EQ((std::vector<std::string>{INIT_START, change_("INITIAL", "FINISHED"),
                                        error_("COMMUNICATE_MOBILE"), INIT_NG, dlfinish_(0, 1, 5)}),
              controller_lines_(log));
    EXPECT_TRUE(fake_os_wrapper::receive_timeouts().empty());
}

TEST_F(ctrl_exec_mode_test, failing_dlfinish_after_a_failed_start_still_gives_1)
{
    fake_upd::set_result("dlstart", 1);
    fake_upd::set_result("dlfinish", 2);
    qav_mnt_fwupdate_ctrl_exec_mode ctrl;
    EXPECT_EQ(1, ctrl.execute());
    std::vector<std::string> lines = controller_lines_(log_());
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(dlfinish_(2, 1, 5), lines.back());
}

TEST_F(ctrl_exec_mode_test, failing_queue_receive_ends_the_run_with_1)
{
    fake_os_wrapper::fail_next_receive(0x10);
    qav_mnt_fwupdate_ctrl_exec_mode ctrl;
    EXPECT_EQ(1, ctrl.execute());
    EXPECT_EQ((std::vector<unsigned int>{0xFFFFFFFFu}), fake_os_wrapper::receive_timeouts());
    EXPECT_EQ((std::vector<std::string>{"dlstart", "dlfinish 1"}), fake_upd::calls());
    EXPECT_EQ(after_init_({
                      "[ERR] wait_que_(): OSW_Message_Queue::receive(). zulret:[0x00000010]",
                      "[INF] process_(): process error. wait_que_ error [1]", dlfinish_(0, 1, 1)}),
              controller_lines_(log_()));
}

TEST_F(ctrl_exec_mode_test, a_message_lost_by_a_failing_queue_send_is_never_answered)
{
    int ret = run_([] {
        ASSERT_TRUE(idle_());
        fake_os_wrapper::fail_next_send(34);
        deliver_(status_query(5, 1));
        ASSERT_TRUE(idle_());
        deliver_(header_(1, 0, 6, 0, 0x1200, 0, 0));
    });
    EXPECT_EQ(1, ret);
    EXPECT_TRUE(fake_aoa::sent().empty());
    EXPECT_EQ(after_init_({
                      "[ERR] send_que_(): OSW_Message_Queue::send(). zulret[34] msgid[4]",
                      "[ERR] act_notify_recv_header(): recv unknown command. cmd[0x1200]",
                      UNKNOWN_MSG_5, change_("CONNECT", "FINISHED"), error_("COMMUNICATE_MOBILE"),
                      dlfinish_(0, 1, 5)}),
              controller_lines_(log_()));
}

TEST_F(ctrl_exec_mode_test, failing_to_queue_the_verification_finishes_without_an_error_type)
{
    std::string body = sample_package_("DEVICE_FIRMWARE");
    int ret = run_([&body] {
        ASSERT_TRUE(idle_());
        fake_os_wrapper::hold_receive(true);
        upload_in_one_transfer_(0x21, body);
        fake_os_wrapper::fail_next_send(9);
        fake_os_wrapper::hold_receive(false);
    });
    EXPECT_EQ(1, ret);
    EXPECT_EQ(std::vector<std::string>{upload_reply(0x21, 0)}, fake_aoa::sent());
    EXPECT_EQ((std::vector<std::string>{"dlstart", "dlfinish 1"}), fake_upd::calls());
    EXPECT_EQ(after_init_({
                      change_("CONNECT", "DOWNLOAD"),
                      "[ERR] send_que_(): OSW_Message_Queue::send(). zulret[9] msgid[3]",
                      change_("DOWNLOAD", "FINISHED"),
                      "[ERR] finalize_(): Unknown Package version. type[0] ver[]",
                      dlfinish_(0, 1, 5)}),
              controller_lines_(log_()));
    EXPECT_EQ(body + std::string(16, '\0'), norvane_test::read_file_bytes(PACKAGE_PATH));
}

class ctrl_exec_mode_msg_id_test : public ctrl_exec_mode_test,
                                   public ::testing::WithParamInterface<int> {};

TEST_P(ctrl_exec_mode_msg_id_test, message_outside_the_handlers_ends_the_run_with_1)
{
    int msg_id = GetParam();
    int ret = run_([msg_id] {
        ASSERT_TRUE(idle_());
        _QAV_MNT_FWUPDATE_MSG_BLK_ msg_blk;
        std::memset(&msg_blk, 0, sizeof(msg_blk));
        msg_blk.msg_id = static_cast<_QAV_MNT_FWUPDATE_MSG_ID_>(msg_id);
        EXPECT_EQ(0, fake_os_wrapper::send_to_newest_queue(&msg_blk, sizeof(msg_blk)));
    });
    EXPECT_EQ(1, ret);
    EXPECT_TRUE(fake_aoa::sent().empty());
    EXPECT_EQ(after_init_({"[ERR] process_(): process error. unknown msg_id  [" +
                               std::to_string(msg_id) + "]",
                           change_("CONNECT", "FINISHED"), error_("COMMUNICATE_MOBILE"),
                           dlfinish_(0, 1, 5)}),
              controller_lines_(log_()));
}

INSTANTIATE_TEST_SUITE_P(msg_ids, ctrl_exec_mode_msg_id_test, ::testing::Values(0, 5, 6, 1000));

TEST_F(ctrl_exec_mode_test, query_before_any_upload_is_ongoing_and_stays_connect)
{
    int ret = run_([] {
        ASSERT_TRUE(idle_());
        deliver_(header_(0x0304, 0x0506, 0x1234, 0, 19, 1, 0));
        ASSERT_TRUE(idle_());
        deliver_(header_(0x0304, 0x0506, 0x1235, 0, 19, 2, 0));
        ASSERT_TRUE(idle_());
        deliver_(header_(1, 0, 7, 0, 0x1200, 0, 0));
    });
    EXPECT_EQ(1, ret);
    std::vector<std::string> sent = fake_aoa::sent();
    ASSERT_EQ(2u, sent.size());
    EXPECT_EQ(header_(0x0304, 0x0506, 0x1234, 0, 0x8013, 1, 0), sent[0]);
    EXPECT_EQ(std::string("\x03\x04\x05\x06\x12\x34\x00\x00\x80\x13\x00\x01\x00\x00\x00\x00", 16),
              sent[0]);
    EXPECT_EQ(header_(0x0304, 0x0506, 0x1235, 0, 0x8013, 1, 0), sent[1]);
    EXPECT_EQ(after_init_({
                      "[ERR] act_notify_recv_header(): recv unknown command. cmd[0x1200]",
                      UNKNOWN_MSG_5, change_("CONNECT", "FINISHED"), error_("COMMUNICATE_MOBILE"),
                      dlfinish_(0, 1, 5)}),
              controller_lines_(log_()));
}

TEST_F(ctrl_exec_mode_test, query_with_option_7_gets_option_2_result_21_and_ends_with_0)
{
    int ret = run_([] {
        ASSERT_TRUE(idle_());
        deliver_(status_query(0x77, 7));
    });
    EXPECT_EQ(0, ret);
    EXPECT_EQ(std::vector<std::string>{status_reply(0x77, 2, 21)}, fake_aoa::sent());
    EXPECT_EQ((std::vector<std::string>{"dlstart", "dlfinish 1"}), fake_upd::calls());
    EXPECT_EQ(after_init_({
                      "[ERR] check_fwupdate_state_(): Unknown option code. [0x0007]",
                      error_("COMMUNICATE_MOBILE"),
                      "[ERR] check_fwupdate_state_(): Communicatin Error Occured. download result "
                      "[1]",
                      change_("CONNECT", "FINISHED"), dlfinish_(0, 1, 5)}),
              controller_lines_(log_()));
}

TEST_F(ctrl_exec_mode_test, failing_status_reply_ends_the_run_as_a_link_error)
{
    int ret = run_([] {
        ASSERT_TRUE(idle_());
        fake_aoa::fail_next_send(4);
        deliver_(status_query(0x31, 1));
    });
    EXPECT_EQ(0, ret);
    EXPECT_EQ(std::vector<std::string>{status_reply(0x31, 1, 0)}, fake_aoa::sent());
    std::string log = log_();
    EXPECT_TRUE(contains_line_(log, "[ERR] send(): osl_mdev_aoa_send mdev_ret:[0x00000004]"));
    EXPECT_EQ(after_init_({
                      error_("COMMUNICATE_MOBILE"),
                      "[ERR] check_fwupdate_state_(): Communicatin Error Occured. download result "
                      "[1]",
                      change_("CONNECT", "FINISHED"), dlfinish_(0, 1, 5)}),
              controller_lines_(log));
}

TEST_F(ctrl_exec_mode_test, unknown_command_ends_the_run_with_1)
{
    int ret = run_([] {
        ASSERT_TRUE(idle_());
        // Command bytes 12 00 on the wire are command 0x1200, not an upload.
        deliver_(header_(1, 0, 1, 0, 0x1200, 0, 0));
    });
    EXPECT_EQ(1, ret);
    EXPECT_TRUE(fake_aoa::sent().empty());
    EXPECT_EQ((std::vector<std::string>{"dlstart", "dlfinish 1"}), fake_upd::calls());
    EXPECT_EQ(after_init_({
                      "[ERR] act_notify_recv_header(): recv unknown command. cmd[0x1200]",
                      UNKNOWN_MSG_5, change_("CONNECT", "FINISHED"), error_("COMMUNICATE_MOBILE"),
                      dlfinish_(0, 1, 5)}),
              controller_lines_(log_()));
}

TEST_F(ctrl_exec_mode_test, body_after_the_run_finished_is_queued_as_unknown)
{
    qav_mnt_fwupdate_ctrl_exec_mode ctrl;
    int ret = run_(ctrl, [] {
        ASSERT_TRUE(idle_());
        deliver_(status_query(1, 9));
    });
    EXPECT_EQ(0, ret);
    EXPECT_EQ(1, ctrl.act_notify_recv_body(3, "xyz", 1));
    std::vector<std::string> lines = controller_lines_(log_());
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ("[ERR] act_notify_recv_body(): recv unknown data. now state[FINISHED]", lines.back());
}

TEST_F(ctrl_exec_mode_test, upload_without_body_opens_the_file_and_sends_no_reply)
{
    int ret = run_([] {
        ASSERT_TRUE(idle_());
        deliver_(upload_header(0x41, 0));
        ASSERT_TRUE(idle_());
        deliver_(status_query(0x42, 1));
        ASSERT_TRUE(idle_());
        deliver_(header_(1, 0, 0x43, 0, 0x0001, 0, 0));
    });
    EXPECT_EQ(1, ret);
    EXPECT_EQ(std::vector<std::string>{status_reply(0x42, 1, 0)}, fake_aoa::sent());
    EXPECT_TRUE(std::filesystem::is_regular_file(PACKAGE_PATH));
    EXPECT_EQ(0u, std::filesystem::file_size(PACKAGE_PATH));
    EXPECT_EQ(0, fake_os_wrapper::allocations());
    EXPECT_EQ(after_init_({
                      change_("CONNECT", "DOWNLOAD"),
                      "[ERR] act_notify_recv_header(): recv unknown command. cmd[0x0001]",
                      UNKNOWN_MSG_5, change_("DOWNLOAD", "FINISHED"), error_("COMMUNICATE_MOBILE"),
                      dlfinish_(0, 1, 5)}),
              controller_lines_(log_()));
}

TEST_F(ctrl_exec_mode_test, a_second_upload_request_keeps_the_state_silently_and_the_new_header)
{
    std::string body = "0123456789";
    int ret = run_([&body] {
        ASSERT_TRUE(idle_());
        deliver_(upload_header(0x51, 0));
        ASSERT_TRUE(idle_());
        deliver_(upload_header(0x52, static_cast<uint32_t>(body.size())));
        deliver_(body);
        ASSERT_TRUE(idle_());
        deliver_(status_query(0x53, 2));
    });
    EXPECT_EQ(0, ret);
    std::vector<std::string> sent = fake_aoa::sent();
    ASSERT_EQ(2u, sent.size());
    EXPECT_EQ(upload_reply(0x52, 0), sent[0]);
    EXPECT_EQ(status_reply(0x53, 2, 21), sent[1]);
    std::vector<std::string> lines = controller_lines_(log_());
    EXPECT_EQ(1, std::count(lines.begin(), lines.end(), change_("CONNECT", "DOWNLOAD")));
    EXPECT_EQ(after_init_({change_("CONNECT", "DOWNLOAD"),
                                                         change_("DOWNLOAD", "VERIFY")}),
              std::vector<std::string>(lines.begin(), lines.begin() + 5));
    EXPECT_EQ(std::string(16, '\0') + body, norvane_test::read_file_bytes(PACKAGE_PATH));
}

TEST_F(ctrl_exec_mode_test, an_upload_request_after_the_upload_reopens_and_truncates_the_file)
{
    std::string body = "not a zip at all";
    int ret = run_([&body] {
        ASSERT_TRUE(idle_());
        upload_in_one_transfer_(0x61, body);
        ASSERT_TRUE(idle_());
        EXPECT_EQ(body.size() + 16, std::filesystem::file_size(PACKAGE_PATH));
        deliver_(upload_header(0x62, 0));
        ASSERT_TRUE(idle_());
        deliver_(header_(1, 0, 0x63, 0, 0x0020, 0, 0));
    });
    EXPECT_EQ(1, ret);
    EXPECT_EQ(std::vector<std::string>{upload_reply(0x61, 0)}, fake_aoa::sent());
    EXPECT_EQ(0u, std::filesystem::file_size(PACKAGE_PATH));
    std::vector<std::string> lines = controller_lines_(log_());
    EXPECT_EQ(after_init_({
                      change_("CONNECT", "DOWNLOAD"), change_("DOWNLOAD", "VERIFY"),
                      error_("VERIFY"), change_("VERIFY", "DOWNLOAD"),
                      "[ERR] act_notify_recv_header(): recv unknown command. cmd[0x0020]",
                      UNKNOWN_MSG_5, change_("DOWNLOAD", "FINISHED"), error_("COMMUNICATE_MOBILE"),
                      dlfinish_(0, 1, 5)}),
              lines);
}

TEST_F(ctrl_exec_mode_test, unopenable_package_file_finishes_without_a_reply)
{
    std::filesystem::create_directories(PACKAGE_PATH);
    int ret = run_([] {
        ASSERT_TRUE(idle_());
        deliver_(upload_header(0x71, 0));
    });
    EXPECT_EQ(0, ret);
    EXPECT_TRUE(fake_aoa::sent().empty());
    EXPECT_EQ((std::vector<std::string>{"dlstart", "dlfinish 1"}), fake_upd::calls());
    std::string log = log_();
    EXPECT_TRUE(contains_line_(
        log, "[ERR] open_binary_file(): Failed to open the file. file_path:[" + PACKAGE_PATH + "]"));
    EXPECT_EQ(after_init_({
                      "[IMP] start_downloading_(): FOpen Error. Storage of FW Package. [" +
                          PACKAGE_PATH + "]",
                      change_("CONNECT", "FINISHED"), error_("DOWNLOAD"), dlfinish_(0, 1, 5)}),
              controller_lines_(log));
}

TEST_F(ctrl_exec_mode_test, body_of_a_query_before_any_upload_has_no_file_and_ends_the_run)
{
    int ret = run_([] {
        ASSERT_TRUE(idle_());
        fake_os_wrapper::hold_receive(true);
        deliver_(header_(2, 3, 0x81, 0, 19, 1, 4) + "WXYZ");
        fake_os_wrapper::hold_receive(false);
    });
    EXPECT_EQ(1, ret);
    std::vector<std::string> sent = fake_aoa::sent();
    ASSERT_EQ(2u, sent.size());
    EXPECT_EQ(header_(2, 3, 0x81, 0, 0x8013, 1, 0), sent[0]);
    // The upload reply echoes the (still zero) upload header.
    EXPECT_EQ(header_(0, 0, 0, 0, 0x8012, 0, 0), sent[1]);
    EXPECT_EQ(0, fake_os_wrapper::blocks_outstanding());
    EXPECT_EQ(after_init_({
                      "[IMP] download_fw_package_(): Data recv error. data is null",
                      change_("CONNECT", "FINISHED"),
                      "[ERR] finalize_(): Unknown Package version. type[0] ver[]",
                      dlfinish_(0, 1, 5)}),
              controller_lines_(log_()));
}

TEST_F(ctrl_exec_mode_test, failed_allocation_of_the_last_chunk_replies_0_and_ends_with_1)
{
    std::string body(1000, 'b');
    int ret = run_([&body] {
        ASSERT_TRUE(idle_());
        fake_os_wrapper::fail_allocation_of_size(1000);
        upload_in_pieces_(0x91, body, 1000);
    });
    EXPECT_EQ(1, ret);
    EXPECT_EQ(std::vector<std::string>{upload_reply(0x91, 0)}, fake_aoa::sent());
    EXPECT_EQ((std::vector<std::string>{"dlstart", "dlfinish 1"}), fake_upd::calls());
    EXPECT_EQ((std::vector<int>{16, 1000}), fake_os_wrapper::allocation_sizes());
    EXPECT_EQ(0, fake_os_wrapper::blocks_outstanding());
    EXPECT_EQ(std::string(16, '\0'), norvane_test::read_file_bytes(PACKAGE_PATH));
    EXPECT_EQ(after_init_({
                      change_("CONNECT", "DOWNLOAD"),
                      "[ERR] act_notify_recv_body(): failed to malloc for fw package. size[1000]",
                      "[IMP] download_fw_package_(): Data recv error. data is null",
                      change_("DOWNLOAD", "FINISHED"),
                      "[ERR] finalize_(): Unknown Package version. type[0] ver[]",
                      dlfinish_(0, 1, 5)}),
              controller_lines_(log_()));
}

TEST_F(ctrl_exec_mode_test, failed_allocation_of_a_middle_chunk_loses_it_without_an_error)
{
    std::string body = std::string(300, 'a') + std::string(300, 'b') + std::string(300, 'c');
    int ret = run_([&body] {
        ASSERT_TRUE(idle_());
        fake_os_wrapper::fail_allocation_number(3);
        upload_in_pieces_(0xA1, body, 300);
        ASSERT_TRUE(idle_());
        deliver_(status_query(0xA2, 1));
    });
    EXPECT_EQ(0, ret);
    std::vector<std::string> sent = fake_aoa::sent();
    ASSERT_EQ(2u, sent.size());
    EXPECT_EQ(upload_reply(0xA1, 0), sent[0]);
    EXPECT_EQ(status_reply(0xA2, 2, 21), sent[1]);
    EXPECT_EQ(std::string(16, '\0') + std::string(300, 'a') + std::string(300, 'c'),
              norvane_test::read_file_bytes(PACKAGE_PATH));
    std::vector<std::string> lines = controller_lines_(log_());
    EXPECT_EQ(after_init_({
                      change_("CONNECT", "DOWNLOAD"),
                      "[ERR] act_notify_recv_body(): failed to malloc for fw package. size[300]",
                      "[IMP] download_fw_package_(): Data recv error. data is null",
                      change_("DOWNLOAD", "VERIFY"), error_("VERIFY"),
                      change_("VERIFY", "FINISHED"), dlfinish_(0, 1, 5)}),
              lines);
}

TEST_F(ctrl_exec_mode_test, failed_write_of_an_earlier_chunk_replies_20_and_still_verifies)
{
    std::filesystem::create_symlink("/dev/full", PACKAGE_PATH);
    int ret = run_([] {
        ASSERT_TRUE(idle_());
        deliver_(upload_header(0xB1, 2 * LARGER_THAN_STREAM_BUFFER) +
                 std::string(LARGER_THAN_STREAM_BUFFER, 'w'));
        deliver_(std::string(LARGER_THAN_STREAM_BUFFER, 'x'));
        ASSERT_TRUE(idle_());
        deliver_(status_query(0xB2, 1));
    });
    EXPECT_EQ(0, ret);
    EXPECT_EQ((std::vector<std::string>{upload_reply(0xB1, 20), status_reply(0xB2, 2, 21)}),
              fake_aoa::sent());
    EXPECT_EQ(0, fake_os_wrapper::blocks_outstanding());
    std::string log = log_();
    EXPECT_TRUE(contains_line_(log, "[IMP] verify(): ##### Faild Verify process."));
    EXPECT_EQ(after_init_({change_("CONNECT", "DOWNLOAD"), error_("DOWNLOAD"),
                                           change_("DOWNLOAD", "VERIFY"), error_("VERIFY"),
                                           change_("VERIFY", "FINISHED"), dlfinish_(0, 1, 5)}),
              controller_lines_(log));
}

TEST_F(ctrl_exec_mode_test, query_while_a_download_error_is_set_answers_result_0_and_ends)
{
    std::filesystem::create_symlink("/dev/full", PACKAGE_PATH);
    int ret = run_([] {
        ASSERT_TRUE(idle_());
        fake_os_wrapper::hold_receive(true);
        deliver_(upload_header(0xC1, 2 * LARGER_THAN_STREAM_BUFFER) +
                 std::string(LARGER_THAN_STREAM_BUFFER, 'w'));
        deliver_(std::string(LARGER_THAN_STREAM_BUFFER, 'x'));
        deliver_(status_query(0xC2, 1));
        fake_os_wrapper::hold_receive(false);
    });
    EXPECT_EQ(0, ret);
    EXPECT_EQ((std::vector<std::string>{upload_reply(0xC1, 20), status_reply(0xC2, 2, 0)}),
              fake_aoa::sent());
    EXPECT_EQ(after_init_({change_("CONNECT", "DOWNLOAD"), error_("DOWNLOAD"),
                                           change_("DOWNLOAD", "VERIFY"),
                                           change_("VERIFY", "FINISHED"), dlfinish_(0, 1, 5)}),
              controller_lines_(log_()));
}

TEST_F(ctrl_exec_mode_test, failed_write_of_the_last_chunk_replies_20_and_finishes)
{
    std::filesystem::create_symlink("/dev/full", PACKAGE_PATH);
    int ret = run_([] {
        ASSERT_TRUE(idle_());
        deliver_(upload_header(0xD1, LARGER_THAN_STREAM_BUFFER) +
                 std::string(LARGER_THAN_STREAM_BUFFER, 'w'));
    });
    EXPECT_EQ(0, ret);
    EXPECT_EQ(std::vector<std::string>{upload_reply(0xD1, 20)}, fake_aoa::sent());
    EXPECT_EQ((std::vector<std::string>{"dlstart", "dlfinish 1"}), fake_upd::calls());
    std::string log = log_();
    EXPECT_NE(std::string::npos,
              log.find("[ERR] write_binary_file(): Failed to write the file. pfile:[0x"));
    EXPECT_EQ(after_init_({change_("CONNECT", "DOWNLOAD"), error_("DOWNLOAD"),
                                           change_("DOWNLOAD", "FINISHED"), dlfinish_(0, 1, 5)}),
              controller_lines_(log));
}

TEST_F(ctrl_exec_mode_test, failed_close_replies_0_and_finishes_with_unknown_type)
{
    // A small write stays in the stream's buffer; flushing it on close fails.
    std::filesystem::create_symlink("/dev/full", PACKAGE_PATH);
    int ret = run_([] {
        ASSERT_TRUE(idle_());
        deliver_(upload_header(0xE1, 100) + std::string(100, 'c'));
    });
    EXPECT_EQ(1, ret);
    EXPECT_EQ(std::vector<std::string>{upload_reply(0xE1, 0)}, fake_aoa::sent());
    EXPECT_EQ((std::vector<std::string>{"dlstart", "dlfinish 1"}), fake_upd::calls());
    std::string log = log_();
    EXPECT_NE(std::string::npos, log.find("[ERR] close_file(): Failed to close the file. pfile=[0x"));
    EXPECT_EQ(after_init_({
                      change_("CONNECT", "DOWNLOAD"), change_("DOWNLOAD", "FINISHED"),
                      "[ERR] finalize_(): Unknown Package version. type[0] ver[]",
                      dlfinish_(0, 1, 5)}),
              controller_lines_(log));
}

TEST_F(ctrl_exec_mode_test, failed_upload_reply_finishes_as_a_link_error)
{
    int ret = run_([] {
        ASSERT_TRUE(idle_());
        fake_aoa::fail_next_send(4);
        deliver_(upload_header(0xF1, 5) + "hello");
    });
    EXPECT_EQ(0, ret);
    EXPECT_EQ(std::vector<std::string>{upload_reply(0xF1, 0)}, fake_aoa::sent());
    EXPECT_EQ((std::vector<std::string>{"dlstart", "dlfinish 1"}), fake_upd::calls());
    EXPECT_EQ(std::string("hello") + std::string(16, '\0'),
              norvane_test::read_file_bytes(PACKAGE_PATH));
    EXPECT_EQ(after_init_({
                      change_("CONNECT", "DOWNLOAD"), error_("COMMUNICATE_MOBILE"),
                      "[ERR] send_download_result_(): Communicatin Error Occured. download result "
                      "[1]",
                      change_("DOWNLOAD", "FINISHED"), dlfinish_(0, 1, 5)}),
              controller_lines_(log_()));
}

std::vector<std::string> verified_run_lines_()
{
    return after_init_({change_("CONNECT", "DOWNLOAD"),
                                                     change_("DOWNLOAD", "VERIFY"),
                                                     change_("VERIFY", "WAIT_CHECKING_RESULT"),
                                                     change_("WAIT_CHECKING_RESULT", "FINISHED")});
}

TEST_F(ctrl_exec_mode_test, verified_package_in_pieces_records_the_device_version_and_succeeds)
{
    std::string body = sample_package_("DEVICE_FIRMWARE");
    int ret = run_([&body] {
        ASSERT_TRUE(idle_());
        upload_in_pieces_(0x0101, body, 333);
        confirm_(0x0102);
    });
    EXPECT_EQ(0, ret);
    EXPECT_EQ((std::vector<std::string>{upload_reply(0x0101, 0), status_reply(0x0102, 2, 0),
                                        status_reply(0x0103, 2, 0)}),
              fake_aoa::sent());
    EXPECT_EQ((std::vector<std::string>{"dlstart", "flopen FIRMWARE_VERSION_DEVICE 1",
                                        "flwrite 0 6", "flclose 0", "dlfinish 0"}),
              fake_upd::calls());
    EXPECT_EQ(std::string("1.2.3\0", 6), fake_upd::records()["FIRMWARE_VERSION_DEVICE"]);
    EXPECT_FALSE(std::filesystem::exists(PACKAGE_PATH));
    std::vector<norvane_test::package_file> files = sample_files_();
    EXPECT_EQ(files[0].bytes, norvane_test::read_file_bytes(WORK_DIR + "/main_firmware.bin"));
    EXPECT_EQ(files[1].bytes, norvane_test::read_file_bytes(WORK_DIR + "/notes.txt"));
    EXPECT_TRUE(std::filesystem::exists(WORK_DIR + "/FW_package.xml"));
    EXPECT_EQ(0, fake_os_wrapper::blocks_outstanding());
    EXPECT_EQ(0, fake_os_wrapper::frees_with_pool());
    EXPECT_EQ(0, fake_os_wrapper::foreign_frees());
    // The link's callbacks wait for room without limit; the main thread
    // queues the verification without waiting, since it alone empties the
    // queue.
    std::vector<unsigned int> send_timeouts = fake_os_wrapper::send_timeouts();
    EXPECT_EQ(1, std::count(send_timeouts.begin(), send_timeouts.end(), 0u));
    EXPECT_EQ(static_cast<long>(send_timeouts.size()) - 1,
              std::count(send_timeouts.begin(), send_timeouts.end(), 0xFFFFFFFFu));
    // The run waits without limit; its end takes what is left without waiting,
    // once before and once after detaching from the link.
    std::vector<unsigned int> receive_timeouts = fake_os_wrapper::receive_timeouts();
    ASSERT_GE(receive_timeouts.size(), 2u);
    EXPECT_EQ((std::vector<unsigned int>{0u, 0u}),
              std::vector<unsigned int>(receive_timeouts.end() - 2, receive_timeouts.end()));
    receive_timeouts.resize(receive_timeouts.size() - 2);
    for (unsigned int timeout : receive_timeouts) {
        EXPECT_EQ(0xFFFFFFFFu, timeout);
    }
    std::string log = log_();
    EXPECT_TRUE(contains_line_(log, "[IMP] verify(): ##### Success End Verify process."));
    EXPECT_EQ(verified_run_lines_() + std::vector<std::string>{dlfinish_(0, 0, 5)},
              controller_lines_(log));
}

TEST_F(ctrl_exec_mode_test, the_same_package_is_stored_alike_at_every_transfer_size)
{
    // The wrong checksum fails the verification, so the stored file stays.
    std::string body = package_with_wrong_checksum_();
    for (size_t piece_size : {size_t{1}, size_t{16}, size_t{1000}, body.size()}) {
        fake_platform::reset();
        std::filesystem::remove_all(WORK_DIR);
        int ret = run_([&body, piece_size] {
            ASSERT_TRUE(idle_());
            upload_in_pieces_(0x0111, body, piece_size);
            ASSERT_TRUE(idle_());
            deliver_(status_query(0x0112, 2));
        });
        EXPECT_EQ(0, ret);
        EXPECT_EQ(std::string(16, '\0') + body, norvane_test::read_file_bytes(PACKAGE_PATH))
            << "piece size " << piece_size;
        EXPECT_EQ((std::vector<std::string>{upload_reply(0x0111, 0), status_reply(0x0112, 2, 21)}),
                  fake_aoa::sent());
        EXPECT_EQ(0, fake_os_wrapper::blocks_outstanding());
    }
}

TEST_F(ctrl_exec_mode_test, verified_enhancement_package_records_the_enhancement_version)
{
    int ret = upload_and_confirm_("DEVICE_ENHANCEMENT", 0x0201);
    EXPECT_EQ(0, ret);
    EXPECT_EQ((std::vector<std::string>{"dlstart", "flopen FIRMWARE_VERSION_ENHANCEMENT 1",
                                        "flwrite 0 6", "flclose 0", "dlfinish 0"}),
              fake_upd::calls());
    EXPECT_EQ(std::string("1.2.3\0", 6), fake_upd::records()["FIRMWARE_VERSION_ENHANCEMENT"]);
    EXPECT_EQ(verified_run_lines_() + std::vector<std::string>{dlfinish_(0, 0, 5)},
              controller_lines_(log_()));
}

class ctrl_exec_mode_type_test : public ctrl_exec_mode_test,
                                 public ::testing::WithParamInterface<const char*> {};

TEST_P(ctrl_exec_mode_type_test, verified_package_of_types_3_to_5_succeeds_without_a_record)
{
    int ret = upload_and_confirm_(GetParam(), 0x0301);
    EXPECT_EQ(0, ret);
    EXPECT_EQ((std::vector<std::string>{"dlstart", "dlfinish 0"}), fake_upd::calls());
    EXPECT_TRUE(fake_upd::records().empty());
    EXPECT_EQ(verified_run_lines_() + std::vector<std::string>{dlfinish_(0, 0, 5)},
              controller_lines_(log_()));
}

INSTANTIATE_TEST_SUITE_P(package_types, ctrl_exec_mode_type_test,
                         ::testing::Values("DEVICE_OPT_LANGUAGE", "GATEWAY_FIRMWARE",
                                           "MOBILE_AGENT"));

TEST_F(ctrl_exec_mode_test, verified_package_without_a_type_is_unknown_and_ends_with_1)
{
    int ret = upload_and_confirm_("", 0x0401);
    EXPECT_EQ(1, ret);
    EXPECT_EQ((std::vector<std::string>{"dlstart", "dlfinish 1"}), fake_upd::calls());
    EXPECT_EQ((verified_run_lines_() +
               std::vector<std::string>{
                   "[ERR] finalize_(): Unknown Package version. type[0] ver[1.2.3]",
                   dlfinish_(0, 1, 5)}),
              controller_lines_(log_()));
}

TEST_F(ctrl_exec_mode_test, failing_dlfinish_after_a_verified_run_gives_1)
{
    fake_upd::set_result("dlfinish", 6);
    int ret = upload_and_confirm_("DEVICE_FIRMWARE", 0x0501);
    EXPECT_EQ(1, ret);
    EXPECT_EQ(verified_run_lines_() + std::vector<std::string>{dlfinish_(6, 0, 5)},
              controller_lines_(log_()));
}

TEST_F(ctrl_exec_mode_test, failing_version_record_does_not_change_the_outcome)
{
    fake_upd::set_result("flopen", 1);
    int ret = upload_and_confirm_("DEVICE_FIRMWARE", 0x0601);
    EXPECT_EQ(0, ret);
    EXPECT_EQ((std::vector<std::string>{"dlstart", "flopen FIRMWARE_VERSION_DEVICE 1",
                                        "dlfinish 0"}),
              fake_upd::calls());
    std::string log = log_();
    EXPECT_TRUE(contains_line_(
        log, "[ERR] write_non_volatile_area(): Failed to open. open_ret=[0x00000001]"));
    EXPECT_EQ(verified_run_lines_() + std::vector<std::string>{dlfinish_(0, 0, 5)},
              controller_lines_(log));
}

TEST_F(ctrl_exec_mode_test, failed_verification_is_answered_21_and_ends_with_0)
{
    std::string body = package_with_wrong_checksum_();
    int ret = run_([&body] {
        ASSERT_TRUE(idle_());
        upload_in_one_transfer_(0x0701, body);
        ASSERT_TRUE(idle_());
        deliver_(status_query(0x0702, 1));
    });
    EXPECT_EQ(0, ret);
    EXPECT_EQ((std::vector<std::string>{upload_reply(0x0701, 0), status_reply(0x0702, 2, 21)}),
              fake_aoa::sent());
    EXPECT_EQ((std::vector<std::string>{"dlstart", "dlfinish 1"}), fake_upd::calls());
    EXPECT_TRUE(std::filesystem::exists(PACKAGE_PATH));
    std::string log = log_();
    EXPECT_TRUE(contains_line_(log, "[IMP] verify(): ##### Faild Verify process."));
    EXPECT_EQ(after_init_({change_("CONNECT", "DOWNLOAD"),
                                           change_("DOWNLOAD", "VERIFY"), error_("VERIFY"),
                                           change_("VERIFY", "FINISHED"), dlfinish_(0, 1, 5)}),
              controller_lines_(log));
}

TEST_F(ctrl_exec_mode_test, query_behind_the_last_chunk_is_answered_before_verification)
{
    std::string body = package_with_wrong_checksum_();
    int ret = run_([&body] {
        ASSERT_TRUE(idle_());
        fake_os_wrapper::hold_receive(true);
        upload_in_one_transfer_(0x0801, body);
        deliver_(status_query(0x0802, 2));
        fake_os_wrapper::hold_receive(false);
        ASSERT_TRUE(idle_());
        // Now verified (and failed): option 2 in VERIFY ends the run with 21.
        deliver_(status_query(0x0803, 2));
    });
    EXPECT_EQ(0, ret);
    EXPECT_EQ((std::vector<std::string>{upload_reply(0x0801, 0), status_reply(0x0802, 2, 0),
                                        status_reply(0x0803, 2, 21)}),
              fake_aoa::sent());
    EXPECT_EQ((std::vector<std::string>{"dlstart", "dlfinish 1"}), fake_upd::calls());
    EXPECT_EQ(after_init_({change_("CONNECT", "DOWNLOAD"),
                                           change_("DOWNLOAD", "VERIFY"), error_("VERIFY"),
                                           change_("VERIFY", "FINISHED"), dlfinish_(0, 1, 5)}),
              controller_lines_(log_()));
}

TEST_F(ctrl_exec_mode_test, queries_in_verify_without_error_are_finished_and_keep_the_run_going)
{
    std::string body = sample_package_("DEVICE_FIRMWARE");
    int ret = run_([&body] {
        ASSERT_TRUE(idle_());
        fake_os_wrapper::hold_receive(true);
        upload_in_one_transfer_(0x0901, body);
        deliver_(status_query(0x0902, 1));
        deliver_(status_query(0x0903, 2));
        fake_os_wrapper::hold_receive(false);
        ASSERT_TRUE(idle_());
        deliver_(status_query(0x0904, 2));
    });
    EXPECT_EQ(0, ret);
    EXPECT_EQ((std::vector<std::string>{upload_reply(0x0901, 0), status_reply(0x0902, 2, 0),
                                        status_reply(0x0903, 2, 0), status_reply(0x0904, 2, 0)}),
              fake_aoa::sent());
    EXPECT_EQ(after_init_({change_("CONNECT", "DOWNLOAD"),
                                           change_("DOWNLOAD", "VERIFY"),
                                           change_("VERIFY", "WAIT_CHECKING_RESULT"),
                                           change_("WAIT_CHECKING_RESULT", "FINISHED"),
                                           dlfinish_(0, 0, 5)}),
              controller_lines_(log_()));
}

TEST_F(ctrl_exec_mode_test, body_in_wait_checking_result_ends_the_run_with_1)
{
    std::string body = sample_package_("DEVICE_FIRMWARE");
    int ret = run_([&body] {
        ASSERT_TRUE(idle_());
        upload_in_one_transfer_(0x0A01, body);
        ASSERT_TRUE(idle_());
        fake_os_wrapper::hold_receive(true);
        deliver_(header_(1, 0, 0x0A02, 0, 19, 1, 4) + "data");
        fake_os_wrapper::hold_receive(false);
    });
    EXPECT_EQ(1, ret);
    EXPECT_EQ((std::vector<std::string>{upload_reply(0x0A01, 0), status_reply(0x0A02, 2, 0)}),
              fake_aoa::sent());
    EXPECT_EQ((std::vector<std::string>{"dlstart", "dlfinish 1"}), fake_upd::calls());
    EXPECT_EQ(after_init_({
                      change_("CONNECT", "DOWNLOAD"), change_("DOWNLOAD", "VERIFY"),
                      change_("VERIFY", "WAIT_CHECKING_RESULT"),
                      "[ERR] act_notify_recv_body(): recv unknown data. now "
                      "state[WAIT_CHECKING_RESULT]",
                      UNKNOWN_MSG_5, change_("WAIT_CHECKING_RESULT", "FINISHED"),
                      error_("COMMUNICATE_MOBILE"), dlfinish_(0, 1, 5)}),
              controller_lines_(log_()));
}

TEST_F(ctrl_exec_mode_test, body_in_verify_after_a_failed_extraction_is_refused)
{
    // With SIGCHLD ignored the shell's status is lost and system() gives -1:
    // the unzip tool cannot be run.
    std::string body = sample_package_("DEVICE_FIRMWARE");
    void (*previous)(int) = std::signal(SIGCHLD, SIG_IGN);
    int ret = run_([&body] {
        ASSERT_TRUE(idle_());
        upload_in_one_transfer_(0x0B01, body);
        ASSERT_TRUE(idle_());
        fake_os_wrapper::hold_receive(true);
        deliver_(header_(1, 0, 0x0B02, 0, 19, 1, 2) + "zz");
        fake_os_wrapper::hold_receive(false);
    });
    std::signal(SIGCHLD, previous);
    EXPECT_EQ(0, ret);
    EXPECT_EQ((std::vector<std::string>{upload_reply(0x0B01, 0), status_reply(0x0B02, 2, 22)}),
              fake_aoa::sent());
    EXPECT_EQ((std::vector<std::string>{"dlstart", "dlfinish 1"}), fake_upd::calls());
    std::string log = log_();
    EXPECT_TRUE(contains_line_(log, "[ERR] unzip(): Failed to unzip. unzip_ret:[0xFFFFFFFF] "
                                    "zip_file_path:[" + PACKAGE_PATH +
                                        "] unzip_folder_path:[" + WORK_DIR + "]"));
    EXPECT_EQ(after_init_({
                      change_("CONNECT", "DOWNLOAD"), change_("DOWNLOAD", "VERIFY"),
                      "[ERR] verify_fw_files_(): Faild unzip operation.", error_("EXTRACT"),
                      "[ERR] act_notify_recv_body(): recv unknown data. now state[VERIFY]",
                      change_("VERIFY", "FINISHED"), dlfinish_(0, 1, 5)}),
              controller_lines_(log));
}

TEST_F(ctrl_exec_mode_test, undeletable_package_file_is_a_verification_error)
{
    // A busybox stand-in first in PATH sums like the host front, and turns the
    // package file into a non-empty folder once it has been summed.
    norvane_test::temp_dir bin;
    std::string front = std::string(FWUPDATE_HOST_BIN_DIR) + "/busybox";
    bin.write_file("busybox",
                   "#!/bin/sh\n"
                   "out=$(\"" + front + "\" \"$@\")\n"
                   "status=$?\n"
                   "if [ \"$1\" = sum ] && [ \"$2\" = \"" + PACKAGE_PATH + "\" ]; then\n"
                   "  rm -f \"$2\" && mkdir -p \"$2/keep\"\n"
                   "fi\n"
                   "echo \"$out\"\n"
                   "exit $status\n");
    std::filesystem::permissions(bin.file("busybox"), std::filesystem::perms::owner_all);
    std::string old_path = std::getenv("PATH") == nullptr ? "" : std::getenv("PATH");
    setenv("PATH", (bin.path() + ":" + old_path).c_str(), 1);
    std::string body = sample_package_("DEVICE_FIRMWARE");
    int ret = run_([&body] {
        ASSERT_TRUE(idle_());
        upload_in_one_transfer_(0x0C01, body);
        ASSERT_TRUE(idle_());
        deliver_(status_query(0x0C02, 2));
    });
    setenv("PATH", old_path.c_str(), 1);
    EXPECT_EQ(0, ret);
    EXPECT_EQ((std::vector<std::string>{upload_reply(0x0C01, 0), status_reply(0x0C02, 2, 21)}),
              fake_aoa::sent());
    EXPECT_EQ((std::vector<std::string>{"dlstart", "dlfinish 1"}), fake_upd::calls());
    std::string log = log_();
    EXPECT_TRUE(contains_line_(log, "[IMP] verify(): ##### Success End Verify process."));
    EXPECT_TRUE(contains_line_(
        log, "[ERR] remove_file(): Failed to delete the file. file_path:[" + PACKAGE_PATH + "]"));
    EXPECT_EQ(after_init_({
                      change_("CONNECT", "DOWNLOAD"), change_("DOWNLOAD", "VERIFY"),
                      "[ERR] verify_fw_files_(): Failed to delete the zip file. zip_file_path:[" +
                          PACKAGE_PATH + "]",
                      error_("VERIFY"), change_("VERIFY", "FINISHED"), dlfinish_(0, 1, 5)}),
              controller_lines_(log));
}

// The readiness handshake: a status query that arrives in the instant the
// link comes up, before the controller is in CONNECT, is queued and answered
// once the main loop runs, in CONNECT: option 1, result 0. After that reply
// the phone's upload is taken.
TEST_F(ctrl_exec_mode_test, handshake_sent_as_the_link_comes_up_is_answered_ongoing_once_connected)
{
    std::string body = sample_package_("DEVICE_FIRMWARE");
    fake_aoa::send_on_connect({status_query(0, 1)});
    int ret = run_([&body] {
        ASSERT_TRUE(fake_aoa::wait_sent(1, WAIT_MS));
        ASSERT_TRUE(idle_());
        upload_in_one_transfer_(1, body);
        confirm_(2);
    });
    EXPECT_EQ(0, ret);
    EXPECT_EQ((std::vector<std::string>{status_reply(0, 1, 0), upload_reply(1, 0),
                                        status_reply(2, 2, 0), status_reply(3, 2, 0)}),
              fake_aoa::sent());
    EXPECT_EQ("dlfinish 0", fake_upd::calls().back());
    EXPECT_EQ(verified_run_lines_() + std::vector<std::string>{dlfinish_(0, 0, 5)},
              controller_lines_(log_()));
}

// Without the handshake a phone that uploads as the link comes up races the
// controller's start-up: the header is queued in any state, but body data
// that arrives before CONNECT is refused, the run ends without a reply and
// execute returns 1.
TEST_F(ctrl_exec_mode_test, upload_sent_as_the_link_comes_up_is_refused_and_ends_the_run_with_1)
{
    std::string body = sample_package_("DEVICE_FIRMWARE");
    fake_aoa::send_on_connect({upload_header(1, static_cast<uint32_t>(body.size())) + body});
    qav_mnt_fwupdate_ctrl_exec_mode ctrl;
    EXPECT_EQ(1, ctrl.execute());
    EXPECT_TRUE(fake_aoa::sent().empty());
    EXPECT_EQ((std::vector<std::string>{"dlstart", "dlfinish 1"}), fake_upd::calls());
    EXPECT_EQ(0, fake_os_wrapper::blocks_outstanding());
    EXPECT_EQ((std::vector<std::string>{
                  INIT_START,
                  "[ERR] act_notify_recv_body(): recv unknown data. now state[INITIAL]",
                  change_("INITIAL", "CONNECT"), INIT_OK, change_("CONNECT", "DOWNLOAD"),
                  UNKNOWN_MSG_5, change_("DOWNLOAD", "FINISHED"), error_("COMMUNICATE_MOBILE"),
                  dlfinish_(0, 1, 5)}),
              controller_lines_(log_()));
}

// A status query the phone sends at once after the upload reply can reach the
// queue before the verification message: it is answered "finished, result 0"
// although nothing is verified yet. The confirmation (option 2) that the
// phone sends after that reply comes behind the verification, so it carries
// the verdict: here the failure, 21, which ends the run.
TEST_F(ctrl_exec_mode_test, query_that_overtakes_the_verification_says_finished_0_and_the_confirmation_says_21)
{
    std::string body = package_with_wrong_checksum_();
    int ret = upload_with_an_overtaking_query_(body);
    EXPECT_EQ(0, ret);
    EXPECT_EQ((std::vector<std::string>{upload_reply(1, 0), status_reply(2, 2, 0),
                                        status_reply(3, 2, 21)}),
              fake_aoa::sent());
    EXPECT_EQ((std::vector<std::string>{"dlstart", "dlfinish 1"}), fake_upd::calls());
    EXPECT_TRUE(contains_line_(log_(), "[IMP] verify(): ##### Faild Verify process."));
}

// The same with a good package: the early query says finished, result 0, and
// the confirmation, answered after the verification, says so too and ends the
// run with the version recorded.
TEST_F(ctrl_exec_mode_test, query_that_overtakes_the_verification_says_finished_0_and_the_confirmation_says_0)
{
    std::string body = sample_package_("DEVICE_FIRMWARE");
    int ret = upload_with_an_overtaking_query_(body);
    EXPECT_EQ(0, ret);
    EXPECT_EQ((std::vector<std::string>{upload_reply(1, 0), status_reply(2, 2, 0),
                                        status_reply(3, 2, 0)}),
              fake_aoa::sent());
    EXPECT_EQ("dlfinish 0", fake_upd::calls().back());
    EXPECT_EQ(std::string("1.2.3\0", 6), fake_upd::records()["FIRMWARE_VERSION_DEVICE"]);
}

// Runs work on a thread of its own. ended_in_time_ then waits for it at most
// WAIT_MS, so that work that never ends fails the test instead of hanging
// it; its thread is left to the end of the process.
std::future<void> start_(std::function<void()> work)
{
    std::packaged_task<void()> task(std::move(work));
    std::future<void> done = task.get_future();
    std::thread(std::move(task)).detach();
    return done;
}

bool ended_in_time_(std::future<void>& done)
{
    return done.wait_for(std::chrono::milliseconds(WAIT_MS)) == std::future_status::ready;
}

bool destroyed_in_time_(qav_mnt_fwupdate_ctrl_exec_mode* ctrl)
{
    std::future<void> destroyed = start_([ctrl] { delete ctrl; });
    return ended_in_time_(destroyed);
}

TEST_F(ctrl_exec_mode_test, end_of_the_run_releases_a_callback_blocked_on_the_full_queue_and_frees_every_chunk)
{
    qav_mnt_fwupdate_ctrl_exec_mode* ctrl = new qav_mnt_fwupdate_ctrl_exec_mode;
    std::future<void> blocked_link;
    const int ret = run_(*ctrl, [&blocked_link] {
        ASSERT_TRUE(idle_());
        fake_os_wrapper::hold_receive(true);
        // 100 messages fill the queue: the upload, its first piece, 98 more.
        deliver_(upload_header(0x31, 1000000) + std::string(100, 'a'));
        for (int piece = 0; piece < 98; ++piece) {
            deliver_(std::string(100, 'b'));
        }
        blocked_link = start_([] { deliver_(std::string(100, 'c')); });
        EXPECT_TRUE(fake_os_wrapper::wait_sender_blocked(WAIT_MS));
        // The run ends with the queue full and the link's callback blocked.
        fake_os_wrapper::fail_next_receive(0x10);
    });
    fake_os_wrapper::hold_receive(false);
    EXPECT_EQ(1, ret);
    EXPECT_TRUE(fake_os_wrapper::wait_sender_blocked(0));
    EXPECT_EQ(100, fake_os_wrapper::blocks_outstanding());

    EXPECT_TRUE(destroyed_in_time_(ctrl));
    EXPECT_TRUE(ended_in_time_(blocked_link));
    EXPECT_EQ(0, fake_os_wrapper::blocks_outstanding());
    EXPECT_EQ(0, fake_os_wrapper::foreign_frees());
    EXPECT_EQ(0, fake_os_wrapper::queues_alive());
    EXPECT_EQ((std::vector<std::string>{"dlstart", "dlfinish 1"}), fake_upd::calls());
    // The link no longer reaches the controller.
    deliver_(status_query(0x32, 1));
    std::string log = log_();
    EXPECT_TRUE(fake_aoa::sent().empty());
    EXPECT_EQ("[ERR] recv(): receiver is NULL", split_lines_(log).back());
}

TEST_F(ctrl_exec_mode_test, callback_released_at_the_end_of_the_run_drops_the_rest_of_its_transfer)
{
    qav_mnt_fwupdate_ctrl_exec_mode* ctrl = new qav_mnt_fwupdate_ctrl_exec_mode;
    std::future<void> blocked_link;
    EXPECT_EQ(1, run_(*ctrl, [&blocked_link] {
        ASSERT_TRUE(idle_());
        fake_os_wrapper::hold_receive(true);
        for (uint16_t query = 0; query < 100; ++query) {
            deliver_(status_query(query, 1));
        }
        // Its header waits for room; its body comes after the run ended.
        blocked_link = start_([] { deliver_(upload_header(0x33, 50) + std::string(50, 'd')); });
        EXPECT_TRUE(fake_os_wrapper::wait_sender_blocked(WAIT_MS));
        fake_os_wrapper::fail_next_receive(0x10);
    }));
    fake_os_wrapper::hold_receive(false);

    EXPECT_TRUE(destroyed_in_time_(ctrl));
    EXPECT_TRUE(ended_in_time_(blocked_link));
    EXPECT_EQ(0, fake_os_wrapper::blocks_outstanding());
    EXPECT_EQ(0, fake_os_wrapper::queues_alive());
    EXPECT_EQ(0, fake_os_wrapper::allocations());
    EXPECT_TRUE(fake_aoa::sent().empty());
    EXPECT_EQ("[ERR] act_notify_recv_body(): the run has ended. data dropped. size[66]",
              controller_lines_(log_()).back());
}

// The phone keeps sending while the run ends and the controller goes away,
// so that transfers race each step of the ending. Under ThreadSanitizer and
// AddressSanitizer a transfer that reaches the destroyed controller or its
// queue is reported; here, a chunk that is never freed is.
TEST_F(ctrl_exec_mode_test, transfers_racing_the_end_of_the_run_never_reach_the_ended_controller)
{
    for (int round = 0; round < 60; ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        fake_platform::reset();
        qav_mnt_fwupdate_ctrl_exec_mode* ctrl = new qav_mnt_fwupdate_ctrl_exec_mode;
        std::atomic<bool> destroyed(false);
        std::thread phone([round, &destroyed] {
            if (!idle_()) {
                fake_os_wrapper::fail_next_receive(0x10);
                return;
            }
            deliver_(upload_header(0x41, 100000000) + std::string(200, 'a'));
            // The run ends after a few pieces (none in the first rounds);
            // the pieces keep coming until, and just after, the controller
            // is gone.
            const int pieces_before_end = round % 8;
            for (int piece = 0; !destroyed.load(); ++piece) {
                if (piece == pieces_before_end) {
                    fake_os_wrapper::fail_next_receive(0x10);
                }
                deliver_(std::string(200, 'b'));
            }
            deliver_(std::string(200, 'c'));
        });
        EXPECT_EQ(1, ctrl->execute());
        EXPECT_TRUE(destroyed_in_time_(ctrl));
        destroyed = true;
        phone.join();
        EXPECT_EQ(0, fake_os_wrapper::blocks_outstanding());
        EXPECT_EQ(0, fake_os_wrapper::queues_alive());
        EXPECT_EQ((std::vector<std::string>{"dlstart", "dlfinish 1"}), fake_upd::calls());
    }
}

}  // namespace
