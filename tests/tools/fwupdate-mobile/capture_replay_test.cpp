// Replaying a capture against a device whose side is scripted here: what is
// sent, in which order, and the first difference it reports.
#include "capture_replay.h"

#include "phone_socket.h"
#include "mobile_packet.h"
#include "temp_dir.h"

#include <gtest/gtest.h>

#include <cstring>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace norvane_test {
namespace {

using norvane_tools::from_hex;
using norvane_tools::capture_replay;
using norvane_tools::pcapng_packet;
using norvane_tools::phone_socket;
using norvane_tools::replay_options;
namespace pcapng = norvane_tools::pcapng;

const std::string upload = from_hex("00 01 00 00 00 01 00 00 00 12 00 00 00 00 00 04");
const std::string body = "BODY";
const std::string upload_reply = from_hex("00 01 00 00 00 01 00 00 80 12 00 00 00 00 00 00");
const std::string query = from_hex("00 01 00 00 00 02 00 00 00 13 00 01 00 00 00 00");
const std::string finished = from_hex("00 01 00 00 00 02 00 00 80 13 00 02 00 00 00 00");
const std::string failed = from_hex("00 01 00 00 00 02 00 15 80 13 00 02 00 00 00 00");

pcapng_packet phone(const std::string& bytes)
{
    pcapng_packet packet;
    packet.link_type = pcapng::link_type_user0;
    packet.direction = pcapng::direction_outbound;
    packet.original_size = static_cast<uint32_t>(bytes.size());
    packet.bytes = bytes;
    return packet;
}

pcapng_packet device(const std::string& bytes)
{
    pcapng_packet packet = phone(bytes);
    packet.direction = pcapng::direction_inbound;
    return packet;
}

const std::vector<pcapng_packet> delivery = {phone(upload), phone(body), device(upload_reply),
                                             phone(query), device(finished)};

// The device's end of the link: connects to the phone's socket and plays a
// script on its own thread: "" receives one transfer, anything else is sent.
// The link closes when the script ends.
class scripted_device {
public:
    scripted_device(const std::string& path, std::vector<std::string> script)
    {
        fd_ = ::socket(AF_UNIX, SOCK_SEQPACKET, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, path.c_str(), sizeof(address.sun_path) - 1);
        connected_ = ::connect(fd_, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
        thread_ = std::thread([this, script]() { play_(script); });
    }
    ~scripted_device() { finish(); }

    bool connected() const { return connected_; }
    // Waits until the script has ended and the link is closed.
    void finish()
    {
        if (thread_.joinable()) {
            thread_.join();
        }
    }
    // What the device received, one entry per transfer (after finish()).
    const std::vector<std::string>& received() const { return received_; }

private:
    void play_(const std::vector<std::string>& script)
    {
        for (const std::string& step : script) {
            if (!step.empty()) {
                ::send(fd_, step.data(), step.size(), MSG_NOSIGNAL);
                continue;
            }
            pollfd waiting{fd_, POLLIN, 0};
            std::string buffer(65536, '\0');
            if (::poll(&waiting, 1, 10000) != 1) {
                break;
            }
            const ssize_t got = ::recv(fd_, &buffer[0], buffer.size(), 0);
            if (got <= 0) {
                break;
            }
            received_.push_back(buffer.substr(0, static_cast<size_t>(got)));
        }
        ::close(fd_);
    }

    int fd_ = -1;
    bool connected_ = false;
    std::vector<std::string> received_;
    std::thread thread_;
};

class capture_replay_test : public testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(0, phone_.listen_at(dir_.file("aoa.sock"))); }

    // Connects the scripted device and accepts it.
    void connect(const std::vector<std::string>& script)
    {
        device_ = std::make_unique<scripted_device>(dir_.file("aoa.sock"), script);
        ASSERT_TRUE(device_->connected());
        ASSERT_EQ(0, phone_.accept_program(5000)) << phone_.last_error();
    }

    replay_options quick() const
    {
        replay_options options;
        options.reply_timeout_ms = 5000;
        options.end_wait_ms = 5000;
        return options;
    }

    temp_dir dir_;
    phone_socket phone_;
    std::unique_ptr<scripted_device> device_;
    capture_replay replay_;
};

TEST_F(capture_replay_test, replies_as_recorded_pass_and_the_device_gets_the_same_transfers)
{
    ASSERT_EQ(0, replay_.load(delivery)) << replay_.error();
    EXPECT_EQ(3u, replay_.phone_transfers());
    EXPECT_EQ(2u, replay_.replies());
    connect({"", "", upload_reply, "", finished});
    EXPECT_EQ(0, replay_.play(phone_, quick())) << replay_.error();
    device_->finish();
    EXPECT_EQ((std::vector<std::string>{upload, body, query}), device_->received());
}

TEST_F(capture_replay_test, a_different_reply_is_reported_with_both_forms)
{
    ASSERT_EQ(0, replay_.load(delivery));
    connect({"", "", upload_reply, "", failed});
    EXPECT_EQ(1, replay_.play(phone_, quick()));
    EXPECT_EQ("reply 2 (packet 5) differs: recorded 00 01 00 00 00 02 00 00 80 13 00 02 00 00 00 00"
              " (status: finished, result 0 OK), got 00 01 00 00 00 02 00 15 80 13 00 02 00 00 00 00"
              " (status: finished, result 21 error in firmware file)",
              replay_.error());
}

TEST_F(capture_replay_test, a_link_closed_before_a_recorded_reply_is_a_difference)
{
    ASSERT_EQ(0, replay_.load(delivery));
    connect({"", "", upload_reply, ""});
    EXPECT_EQ(1, replay_.play(phone_, quick()));
    EXPECT_EQ("reply 2 (packet 5): recorded 00 01 00 00 00 02 00 00 80 13 00 02 00 00 00 00"
              " (status: finished, result 0 OK), but the program closed the link",
              replay_.error());
}

TEST_F(capture_replay_test, a_reply_that_does_not_come_in_time_is_a_difference)
{
    ASSERT_EQ(0, replay_.load({phone(query), device(finished)}));
    connect({"", ""});   // takes the query, then waits for a transfer that never comes
    replay_options options = quick();
    options.reply_timeout_ms = 200;
    EXPECT_EQ(1, replay_.play(phone_, options));
    EXPECT_EQ("reply 1 (packet 2): recorded 00 01 00 00 00 02 00 00 80 13 00 02 00 00 00 00"
              " (status: finished, result 0 OK), but none came within 200 ms",
              replay_.error());
    phone_.close_connection();
}

TEST_F(capture_replay_test, a_reply_after_the_last_recorded_transfer_is_a_difference)
{
    ASSERT_EQ(0, replay_.load({phone(query), device(finished)}));
    connect({"", finished, failed});
    EXPECT_EQ(1, replay_.play(phone_, quick()));
    EXPECT_EQ("after the last recorded transfer the program sent 00 01 00 00 00 02 00 15 80 13 00 02"
              " 00 00 00 00 (status: finished, result 21 error in firmware file)",
              replay_.error());
}

TEST_F(capture_replay_test, the_step_after_the_upload_reply_waits_for_the_callers_go)
{
    ASSERT_EQ(0, replay_.load(delivery));
    connect({"", "", upload_reply, "", finished});
    std::vector<std::string> order;
    replay_options options = quick();
    options.after_upload_reply = [&order]() {
        order.push_back("go");
        return 0;
    };
    options.report = [&order](const std::string& line) { order.push_back(line.substr(0, 5)); };
    EXPECT_EQ(0, replay_.play(phone_, options)) << replay_.error();
    EXPECT_EQ((std::vector<std::string>{"sent ", "sent ", "reply", "go", "sent ", "reply"}), order);
}

TEST_F(capture_replay_test, a_caller_that_says_stop_after_the_upload_reply_ends_the_replay)
{
    ASSERT_EQ(0, replay_.load(delivery));
    connect({"", "", upload_reply});
    replay_options options = quick();
    options.after_upload_reply = []() { return 1; };
    EXPECT_EQ(1, replay_.play(phone_, options));
    EXPECT_EQ("the program did not go on after its upload reply", replay_.error());
}

TEST_F(capture_replay_test, a_step_the_closed_link_cannot_take_is_a_difference)
{
    ASSERT_EQ(0, replay_.load(delivery));
    connect({"", "", upload_reply});
    replay_options options = quick();
    // The device has closed the link before the query goes out.
    options.after_upload_reply = [this]() {
        device_->finish();
        return 0;
    };
    EXPECT_EQ(1, replay_.play(phone_, options));
    EXPECT_EQ("packet 4, the phone's 00 01 00 00 00 02 00 00 00 13 00 01 00 00 00 00 (status query,"
              " option 1), could not be sent: send: Broken pipe",
              replay_.error());
}

TEST_F(capture_replay_test, a_capture_of_another_link_type_is_refused)
{
    pcapng_packet usb = phone(query);
    usb.link_type = pcapng::link_type_usb_linux_mmapped;
    EXPECT_EQ(1, replay_.load({usb}));
    EXPECT_EQ("packet 1 is not a transfer of the accessory link (link type 220)", replay_.error());
}

TEST_F(capture_replay_test, a_packet_without_a_direction_is_refused)
{
    pcapng_packet unknown = phone(query);
    unknown.direction = pcapng::direction_unknown;
    EXPECT_EQ(1, replay_.load({phone(upload), unknown}));
    EXPECT_EQ("packet 2 has no direction", replay_.error());
}

TEST_F(capture_replay_test, a_packet_captured_cut_short_is_refused)
{
    pcapng_packet cut = phone(upload);
    cut.original_size = 100;
    EXPECT_EQ(1, replay_.load({cut}));
    EXPECT_EQ("packet 1 was captured cut short (16 of 100 bytes)", replay_.error());
}

TEST_F(capture_replay_test, a_capture_without_a_phone_transfer_is_refused)
{
    EXPECT_EQ(1, replay_.load({device(finished)}));
    EXPECT_EQ("the capture holds no transfer of the phone", replay_.error());
    EXPECT_EQ(1, replay_.load({}));
}

}  // namespace
}  // namespace norvane_test
