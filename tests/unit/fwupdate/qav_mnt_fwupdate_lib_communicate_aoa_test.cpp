// The link endpoint: reassembly of transfers into header and body
// notifications (driven through recv_impl and recv directly), and connecting
// and sending through the host accessory library to a real socket peer.
#include "qav_mnt_fwupdate_lib_communicate_aoa.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "blocking_call.h"
#include "phone_peer.h"
#include "temp_dir.h"
#include "wire_header.h"

namespace {

using norvane::QAV_MNT_FWUPDATE_PACKATE_HEADER_;
using norvane::qav_mnt_fwupdate_lib_communicate_aoa;
using norvane::qav_mnt_fwupdate_lib_receiver_aoa;
using bytes = std::vector<unsigned char>;

// One notification as the receiver saw it, with the link's counters at the
// time of the call.
struct notification {
    bool is_header;
    QAV_MNT_FWUPDATE_PACKATE_HEADER_ header;
    unsigned int size;
    int is_recv_end;
    bytes body;
    uint32_t rcv_total_size;
    uint32_t rcved_size;
};

// Records every notification. The link may call it from the accessory
// library's thread, so the record is guarded and can be waited for.
class recording_receiver : public qav_mnt_fwupdate_lib_receiver_aoa {
public:
    explicit recording_receiver(int result = 0) : result_(result) {}

    int act_notify_recv_header(const QAV_MNT_FWUPDATE_PACKATE_HEADER_& header) override
    {
        notification entry = {};
        entry.is_header = true;
        entry.header = header;
        return record_(entry);
    }

    int act_notify_recv_body(unsigned int size, const char* data, int isRecvEnd) override
    {
        notification entry = {};
        entry.is_header = false;
        entry.size = size;
        entry.is_recv_end = isRecvEnd;
        entry.body.assign(data, data + size);
        return record_(entry);
    }

    std::vector<notification> notifications() const
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return notifications_;
    }

    // Waits until at least count notifications arrived; false on time-out.
    bool wait_for(size_t count) const
    {
        std::unique_lock<std::mutex> lock(mutex_);
        return arrived_.wait_for(lock, std::chrono::seconds(5),
                                 [&] { return notifications_.size() >= count; });
    }

private:
    // Publishing the record is the last touch of this object: a waiting test
    // may let the receiver go as soon as the record is there.
    int record_(notification& entry)
    {
        const int result = result_;
        qav_mnt_fwupdate_lib_communicate_aoa* link =
            qav_mnt_fwupdate_lib_communicate_aoa::get_instance();
        entry.rcv_total_size = link->rcv_total_size();
        entry.rcved_size = link->rcved_size();
        {
            std::lock_guard<std::mutex> lock(mutex_);
            notifications_.push_back(entry);
            arrived_.notify_all();
        }
        return result;
    }

    int result_;
    mutable std::mutex mutex_;
    mutable std::condition_variable arrived_;
    std::vector<notification> notifications_;
};

// A receiver whose header notification waits, inside the callback, until
// the test opens the gate. done is set as the notification's last step.
class gated_receiver : public qav_mnt_fwupdate_lib_receiver_aoa {
public:
    int act_notify_recv_header(const QAV_MNT_FWUPDATE_PACKATE_HEADER_& /*header*/) override
    {
        std::unique_lock<std::mutex> lock(mutex_);
        entered_ = true;
        changed_.notify_all();
        changed_.wait(lock, [this] { return open_; });
        done = true;
        return 0;
    }

    int act_notify_recv_body(unsigned int /*size*/, const char* /*data*/, int /*isRecvEnd*/) override
    {
        return 0;
    }

    bool wait_entered()
    {
        std::unique_lock<std::mutex> lock(mutex_);
        return changed_.wait_for(lock, std::chrono::seconds(20), [this] { return entered_; });
    }

    void open_gate()
    {
        std::lock_guard<std::mutex> lock(mutex_);
        open_ = true;
        changed_.notify_all();
    }

    std::atomic<bool> done{false};

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    bool entered_ = false;
    bool open_ = false;
};

// A header as the mobile device writes it: every field big-endian.
bytes wire_header(uint16_t version, uint16_t reserved, uint16_t request_id, uint16_t result_code,
                  uint16_t command, uint16_t option_code, uint32_t data_size)
{
    return norvane_test::as_bytes(norvane_test::wire_header(version, reserved, request_id,
                                                            result_code, command, option_code,
                                                            data_size));
}

bytes upload_header(uint32_t data_size)
{
    return norvane_test::as_bytes(norvane_test::upload_header(7, data_size));
}

// n body bytes that differ from transfer to transfer.
bytes pattern(size_t n, unsigned char seed)
{
    bytes out(n);
    for (size_t i = 0; i < n; ++i) {
        out[i] = static_cast<unsigned char>(seed + i * 7);
    }
    return out;
}

bytes concat(const bytes& first, const bytes& second)
{
    bytes out = first;
    out.insert(out.end(), second.begin(), second.end());
    return out;
}

const bytes SLACK(16, 0);

// One body notification with its size, end flag, bytes and the counters the
// link held when it made the call.
void expect_body(const notification& seen, unsigned int size, int is_recv_end, const bytes& body,
                 uint32_t rcv_total_size, uint32_t rcved_size)
{
    EXPECT_FALSE(seen.is_header);
    EXPECT_EQ(size, seen.size);
    EXPECT_EQ(is_recv_end, seen.is_recv_end);
    EXPECT_EQ(body, seen.body);
    EXPECT_EQ(rcv_total_size, seen.rcv_total_size);
    EXPECT_EQ(rcved_size, seen.rcved_size);
}

class communicate_aoa_test : public testing::Test {
protected:
    void SetUp() override
    {
        link_ = qav_mnt_fwupdate_lib_communicate_aoa::get_instance();
        unsetenv("FWUPDATE_FAULTS");
        setenv("FWUPDATE_STATE_DIR", dir_.file("state").c_str(), 1);
        ASSERT_EQ(0u, link_->rcv_total_size());
        ASSERT_EQ(0u, link_->rcved_size());
    }

    void TearDown() override
    {
        unsetenv("FWUPDATE_FAULTS");
        unsetenv("FWUPDATE_STATE_DIR");
    }

    // Registers a receiver through a connect that finds nobody listening:
    // the receiver stays stored although connecting fails.
    void attach_(qav_mnt_fwupdate_lib_receiver_aoa* receiver)
    {
        setenv("FWUPDATE_AOA_SOCKET", dir_.file("nobody.sock").c_str(), 1);
        testing::internal::CaptureStderr();
        int ret = link_->connect(receiver);
        testing::internal::GetCapturedStderr();
        unsetenv("FWUPDATE_AOA_SOCKET");
        ASSERT_EQ(1, ret);
    }

    // Hands one transfer to the endpoint the way the accessory library does:
    // the bytes followed by 16 zero bytes of slack. Returns what was logged.
    std::string deliver_(const bytes& transfer, int event = 0)
    {
        bytes buffer = concat(transfer, SLACK);
        testing::internal::CaptureStderr();
        link_->recv_impl(event, buffer.data(), static_cast<int>(transfer.size()));
        return testing::internal::GetCapturedStderr();
    }

    void expect_counters_(uint32_t total, uint32_t received)
    {
        EXPECT_EQ(total, link_->rcv_total_size());
        EXPECT_EQ(received, link_->rcved_size());
    }

    qav_mnt_fwupdate_lib_communicate_aoa* link_ = nullptr;
    norvane_test::temp_dir dir_;
};

std::string receipt_dump(const char* version, const char* reserved, const char* request_id,
                         const char* result_code, const char* command, const char* option_code,
                         const char* data_size)
{
    return std::string("[IMP] recv_impl(): header.version:[") + version + "]\n" +
           "[IMP] recv_impl(): header.reserved:[" + reserved + "]\n" +
           "[IMP] recv_impl(): header.request_id:[" + request_id + "]\n" +
           "[IMP] recv_impl(): header.result_code:[" + result_code + "]\n" +
           "[IMP] recv_impl(): header.command:[" + command + "]\n" +
           "[IMP] recv_impl(): header.option_code:[" + option_code + "]\n" +
           "[IMP] recv_impl(): header.data_size:[" + data_size + "]\n";
}

std::string send_dump(const char* version, const char* reserved, const char* request_id,
                      const char* result_code, const char* command, const char* option_code,
                      const char* data_size)
{
    return std::string("[IMP] send(): header_temp.version:[") + version + "]\n" +
           "[IMP] send(): header_temp.reserved:[" + reserved + "]\n" +
           "[IMP] send(): header_temp.request_id:[" + request_id + "]\n" +
           "[IMP] send(): header_temp.request_id:[" + result_code + "]\n" +
           "[IMP] send(): header_temp.command:[" + command + "]\n" +
           "[IMP] send(): header_temp.option_code:[" + option_code + "]\n" +
           "[IMP] send(): header_temp.data_size:[" + data_size + "]\n";
}

TEST_F(communicate_aoa_test, get_instance_returns_one_object_that_starts_idle)
{
    qav_mnt_fwupdate_lib_communicate_aoa* again = qav_mnt_fwupdate_lib_communicate_aoa::get_instance();
    EXPECT_NE(nullptr, link_);
    EXPECT_EQ(link_, again);
    expect_counters_(0, 0);
}

TEST_F(communicate_aoa_test, header_only_transfer_with_data_size_0_gives_one_header_and_no_body)
{
    recording_receiver receiver;
    attach_(&receiver);

    deliver_(wire_header(0x0102, 0x0304, 0x0506, 0, 19, 2, 0));

    std::vector<notification> seen = receiver.notifications();
    ASSERT_EQ(1u, seen.size());
    EXPECT_TRUE(seen[0].is_header);
    EXPECT_EQ(0x0102, seen[0].header.version);
    EXPECT_EQ(0x0304, seen[0].header.reserved);
    EXPECT_EQ(0x0506, seen[0].header.request_id);
    EXPECT_EQ(0, seen[0].header.result_code);
    EXPECT_EQ(19, seen[0].header.command);
    EXPECT_EQ(2, seen[0].header.option_code);
    EXPECT_EQ(0u, seen[0].header.data_size);
    expect_counters_(0, 0);
}

TEST_F(communicate_aoa_test, whole_packet_in_one_transfer_gives_one_body_of_transfer_length_ending_it)
{
    recording_receiver receiver;
    attach_(&receiver);
    const bytes body = pattern(5, 0x41);

    deliver_(concat(upload_header(5), body));

    std::vector<notification> seen = receiver.notifications();
    ASSERT_EQ(2u, seen.size());
    EXPECT_TRUE(seen[0].is_header);
    EXPECT_EQ(5u, seen[0].header.data_size);
    // The piece starts behind the header and runs 16 bytes past the
    // transfer's end, into the slack the accessory library keeps.
    expect_body(seen[1], 21, 1, concat(body, SLACK), 0, 0);
    expect_counters_(0, 0);
}

TEST_F(communicate_aoa_test, body_over_three_transfers_gives_pieces_16_600_400_and_counts_them)
{
    recording_receiver receiver;
    attach_(&receiver);
    const bytes middle = pattern(600, 3);
    const bytes last = pattern(400, 9);

    deliver_(upload_header(1000));
    expect_counters_(1016, 16);
    EXPECT_EQ("", deliver_(middle));
    expect_counters_(1016, 616);
    EXPECT_EQ("", deliver_(last));
    expect_counters_(0, 0);

    std::vector<notification> seen = receiver.notifications();
    ASSERT_EQ(4u, seen.size());
    EXPECT_TRUE(seen[0].is_header);
    EXPECT_EQ(1000u, seen[0].header.data_size);
    EXPECT_EQ(0u, seen[0].rcv_total_size);
    EXPECT_EQ(0u, seen[0].rcved_size);

    expect_body(seen[1], 16, 0, SLACK, 1016, 16);
    expect_body(seen[2], 600, 0, middle, 1016, 616);
    expect_body(seen[3], 400, 1, last, 0, 0);
}

TEST_F(communicate_aoa_test, overshooting_final_transfer_ends_the_packet_and_passes_the_surplus_on)
{
    recording_receiver receiver;
    attach_(&receiver);
    const bytes first_body = pattern(40, 1);
    const bytes overshoot = pattern(80, 2);  // 60 bytes complete the packet, 20 more

    deliver_(concat(upload_header(100), first_body));
    expect_counters_(116, 56);
    deliver_(overshoot);
    expect_counters_(0, 0);

    std::vector<notification> seen = receiver.notifications();
    ASSERT_EQ(3u, seen.size());
    expect_body(seen[1], 56, 0, concat(first_body, SLACK), 116, 56);
    expect_body(seen[2], 80, 1, overshoot, 0, 0);

    // The endpoint is idle again: the next transfer starts a new packet.
    deliver_(wire_header(1, 0, 8, 0, 19, 1, 0));
    seen = receiver.notifications();
    ASSERT_EQ(4u, seen.size());
    EXPECT_TRUE(seen[3].is_header);
    EXPECT_EQ(8, seen[3].header.request_id);
}

TEST_F(communicate_aoa_test, continuation_that_exactly_completes_the_packet_ends_it)
{
    recording_receiver receiver;
    attach_(&receiver);

    deliver_(upload_header(10));
    deliver_(pattern(10, 5));

    std::vector<notification> seen = receiver.notifications();
    ASSERT_EQ(3u, seen.size());
    EXPECT_EQ(10u, seen[2].size);
    EXPECT_EQ(1, seen[2].is_recv_end);
    expect_counters_(0, 0);
}

TEST_F(communicate_aoa_test, non_zero_event_is_ignored_silently_and_leaves_the_counters)
{
    recording_receiver receiver;
    attach_(&receiver);

    EXPECT_EQ("", deliver_(upload_header(32), 1));
    EXPECT_TRUE(receiver.notifications().empty());
    expect_counters_(0, 0);

    deliver_(upload_header(32));
    ASSERT_EQ(2u, receiver.notifications().size());
    expect_counters_(48, 16);

    EXPECT_EQ("", deliver_(pattern(32, 4), 1));
    testing::internal::CaptureStderr();
    link_->recv_impl(1, nullptr, 0);
    qav_mnt_fwupdate_lib_communicate_aoa::recv(2, nullptr, 0);
    EXPECT_EQ("", testing::internal::GetCapturedStderr());
    EXPECT_EQ(2u, receiver.notifications().size());
    expect_counters_(48, 16);

    // The packet in progress still completes with the next data transfer.
    deliver_(pattern(32, 4));
    std::vector<notification> seen = receiver.notifications();
    ASSERT_EQ(3u, seen.size());
    EXPECT_EQ(1, seen[2].is_recv_end);
    expect_counters_(0, 0);
}

TEST_F(communicate_aoa_test, receipt_dumps_the_seven_header_fields_in_host_order)
{
    recording_receiver receiver;
    attach_(&receiver);

    std::string log = deliver_(wire_header(0x0102, 0xA0B0, 0x1234, 0x0015, 0x0012, 0x0002, 0x00000000));

    EXPECT_EQ(receipt_dump("0x00000102", "0x0000A0B0", "0x00001234", "0x00000015", "0x00000012",
                           "0x00000002", "0x00000000"),
              log);
}

TEST_F(communicate_aoa_test, receipt_dump_shows_data_size_in_host_order)
{
    recording_receiver receiver;
    attach_(&receiver);

    std::string log = deliver_(concat(upload_header(0x00000100), pattern(0x100, 6)));

    EXPECT_EQ(receipt_dump("0x00000001", "0x00000000", "0x00000007", "0x00000000", "0x00000012",
                           "0x00000000", "0x00000100"),
              log);
    expect_counters_(0, 0);
}

TEST_F(communicate_aoa_test, receiver_results_are_ignored)
{
    recording_receiver receiver(1);
    attach_(&receiver);

    deliver_(upload_header(20));
    expect_counters_(36, 16);
    deliver_(pattern(20, 8));
    expect_counters_(0, 0);

    std::vector<notification> seen = receiver.notifications();
    ASSERT_EQ(3u, seen.size());
    EXPECT_EQ(1, seen[2].is_recv_end);
}

TEST_F(communicate_aoa_test, recv_passes_the_transfer_to_the_instance)
{
    recording_receiver receiver;
    attach_(&receiver);
    bytes buffer = concat(wire_header(3, 0, 9, 0, 19, 1, 0), SLACK);

    testing::internal::CaptureStderr();
    qav_mnt_fwupdate_lib_communicate_aoa::recv(0, buffer.data(), 16);
    std::string log = testing::internal::GetCapturedStderr();

    std::vector<notification> seen = receiver.notifications();
    ASSERT_EQ(1u, seen.size());
    EXPECT_EQ(9, seen[0].header.request_id);
    EXPECT_EQ(receipt_dump("0x00000003", "0x00000000", "0x00000009", "0x00000000", "0x00000013",
                           "0x00000001", "0x00000000"),
              log);
}

TEST_F(communicate_aoa_test, recv_without_receiver_logs_and_drops_the_transfer)
{
    attach_(nullptr);
    bytes buffer = concat(upload_header(100), SLACK);

    testing::internal::CaptureStderr();
    qav_mnt_fwupdate_lib_communicate_aoa::recv(0, buffer.data(), 16);
    std::string log = testing::internal::GetCapturedStderr();

    EXPECT_EQ("[ERR] recv(): receiver is NULL\n", log);
    expect_counters_(0, 0);
}

TEST_F(communicate_aoa_test, recv_without_receiver_reports_even_a_close_event)
{
    attach_(nullptr);

    testing::internal::CaptureStderr();
    qav_mnt_fwupdate_lib_communicate_aoa::recv(1, nullptr, 0);
    std::string log = testing::internal::GetCapturedStderr();

    EXPECT_EQ("[ERR] recv(): receiver is NULL\n", log);
    expect_counters_(0, 0);
}

TEST_F(communicate_aoa_test, disconnect_drops_every_later_transfer_as_without_receiver)
{
    recording_receiver receiver;
    attach_(&receiver);
    EXPECT_EQ(0, link_->disconnect());
    bytes buffer = concat(upload_header(100), SLACK);

    testing::internal::CaptureStderr();
    qav_mnt_fwupdate_lib_communicate_aoa::recv(0, buffer.data(), 16);
    std::string log = testing::internal::GetCapturedStderr();

    EXPECT_EQ("[ERR] recv(): receiver is NULL\n", log);
    EXPECT_TRUE(receiver.notifications().empty());
    expect_counters_(0, 0);
}

TEST_F(communicate_aoa_test, disconnect_forgets_the_packet_in_progress)
{
    recording_receiver receiver;
    attach_(&receiver);
    deliver_(upload_header(1000));
    expect_counters_(1016, 16);

    link_->disconnect();

    expect_counters_(0, 0);
}

TEST_F(communicate_aoa_test, disconnect_returns_only_after_the_callback_in_progress_ended)
{
    gated_receiver receiver;
    attach_(&receiver);
    bytes buffer = concat(wire_header(1, 0, 2, 0, 19, 1, 0), SLACK);
    testing::internal::CaptureStderr();
    std::thread link_thread([&buffer] {
        qav_mnt_fwupdate_lib_communicate_aoa::recv(0, buffer.data(), 16);
    });
    ASSERT_TRUE(receiver.wait_entered());

    std::atomic<int> callback_done_at_return(-1);
    norvane_test::blocking_call detacher([this, &receiver, &callback_done_at_return] {
        const int result = link_->disconnect();
        callback_done_at_return = receiver.done.load() ? 1 : 0;
        return result;
    });
    // The detacher waits inside disconnect while the callback is held.
    const bool detacher_blocked = detacher.wait_until_asleep(20000);
    const int before_gate = callback_done_at_return.load();
    receiver.open_gate();
    int detach_result = -1;
    const bool detacher_returned = detacher.wait_returned(20000, detach_result);
    link_thread.join();
    testing::internal::GetCapturedStderr();

    EXPECT_TRUE(detacher_blocked);
    EXPECT_EQ(-1, before_gate);
    EXPECT_TRUE(detacher_returned);
    EXPECT_EQ(0, detach_result);
    EXPECT_EQ(1, callback_done_at_return.load());
    testing::internal::CaptureStderr();
    qav_mnt_fwupdate_lib_communicate_aoa::recv(0, buffer.data(), 16);
    EXPECT_EQ("[ERR] recv(): receiver is NULL\n", testing::internal::GetCapturedStderr());
}

TEST_F(communicate_aoa_test, connect_after_disconnect_registers_the_new_receiver)
{
    recording_receiver first;
    recording_receiver second;
    attach_(&first);
    link_->disconnect();
    attach_(&second);
    bytes buffer = concat(wire_header(1, 0, 2, 0, 19, 1, 0), SLACK);

    testing::internal::CaptureStderr();
    qav_mnt_fwupdate_lib_communicate_aoa::recv(0, buffer.data(), 16);
    testing::internal::GetCapturedStderr();

    EXPECT_TRUE(first.notifications().empty());
    EXPECT_EQ(1u, second.notifications().size());
}

TEST_F(communicate_aoa_test, connect_without_listener_fails_and_keeps_the_receiver)
{
    recording_receiver receiver;
    setenv("FWUPDATE_AOA_SOCKET", dir_.file("nobody.sock").c_str(), 1);

    testing::internal::CaptureStderr();
    int ret = link_->connect(&receiver);
    std::string log = testing::internal::GetCapturedStderr();
    unsetenv("FWUPDATE_AOA_SOCKET");

    EXPECT_EQ(1, ret);
    EXPECT_EQ("[ERR] connect(): osl_mdev_aoa_connect mdev_ret:[0x00000001]\n", log);
    deliver_(wire_header(1, 0, 2, 0, 19, 1, 0));
    EXPECT_EQ(1u, receiver.notifications().size());
}

TEST_F(communicate_aoa_test, connect_fails_when_the_accessory_library_fails)
{
    recording_receiver receiver;
    norvane_test::phone_peer peer(dir_.file("aoa.sock"));
    ASSERT_TRUE(peer.listening());
    setenv("FWUPDATE_FAULTS", "aoa_connect", 1);

    testing::internal::CaptureStderr();
    int ret = link_->connect(&receiver);
    std::string log = testing::internal::GetCapturedStderr();

    EXPECT_EQ(1, ret);
    EXPECT_EQ("[ERR] connect(): osl_mdev_aoa_connect mdev_ret:[0x00000001]\n", log);
}

TEST_F(communicate_aoa_test, send_without_connection_fails_and_reports_the_result)
{
    recording_receiver receiver;
    attach_(&receiver);
    QAV_MNT_FWUPDATE_PACKATE_HEADER_ header = {};
    header.request_id = 0x0001;
    header.command = 0x8012;

    testing::internal::CaptureStderr();
    int ret = link_->send(header, 0, nullptr);
    std::string log = testing::internal::GetCapturedStderr();

    EXPECT_EQ(1, ret);
    EXPECT_EQ(send_dump("0x00000000", "0x00000000", "0x00000100", "0x00000000", "0x00001280",
                        "0x00000000", "0x00000000") +
                  "[ERR] send(): osl_mdev_aoa_send mdev_ret:[0x00000001]\n",
              log);
}

// Connects the endpoint to a listening peer and accepts the connection.
class communicate_aoa_connected_test : public communicate_aoa_test {
protected:
    void SetUp() override
    {
        communicate_aoa_test::SetUp();
        peer_.reset(new norvane_test::phone_peer(dir_.file("aoa.sock")));
        ASSERT_TRUE(peer_->listening());
        testing::internal::CaptureStderr();
        int ret = link_->connect(&receiver_);
        std::string log = testing::internal::GetCapturedStderr();
        ASSERT_EQ(0, ret);
        ASSERT_EQ("", log);
        ASSERT_TRUE(peer_->accept_link());
    }

    void TearDown() override
    {
        peer_.reset();
        communicate_aoa_test::TearDown();
    }

    // Sends and returns what was logged.
    std::string send_(const QAV_MNT_FWUPDATE_PACKATE_HEADER_& header, unsigned int body_size,
                      char* body_data, int& ret)
    {
        testing::internal::CaptureStderr();
        ret = link_->send(header, body_size, body_data);
        return testing::internal::GetCapturedStderr();
    }

    recording_receiver receiver_;
    std::unique_ptr<norvane_test::phone_peer> peer_;
};

QAV_MNT_FWUPDATE_PACKATE_HEADER_ status_reply()
{
    QAV_MNT_FWUPDATE_PACKATE_HEADER_ header = {};
    header.version = 0x0102;
    header.reserved = 0x0304;
    header.request_id = 0x1234;
    header.result_code = 0x0015;
    header.command = 0x8013;
    header.option_code = 0x0002;
    header.data_size = 0;
    return header;
}

const bytes STATUS_REPLY_WIRE = {0x01, 0x02, 0x03, 0x04, 0x12, 0x34, 0x00, 0x15,
                                 0x80, 0x13, 0x00, 0x02, 0x00, 0x00, 0x00, 0x00};

TEST_F(communicate_aoa_connected_test, send_with_body_size_0_sends_exactly_the_16_header_bytes)
{
    char body[] = "ignored";
    int ret = -1;
    send_(status_reply(), 0, body, ret);

    EXPECT_EQ(0, ret);
    const bytes message = peer_->receive_bytes();
    ASSERT_FALSE(message.empty());
    EXPECT_EQ(STATUS_REPLY_WIRE, message);
    EXPECT_TRUE(peer_->receive(0).empty());
}

TEST_F(communicate_aoa_connected_test, send_with_null_body_sends_exactly_the_16_header_bytes)
{
    int ret = -1;
    send_(status_reply(), 40, nullptr, ret);

    EXPECT_EQ(0, ret);
    const bytes message = peer_->receive_bytes();
    ASSERT_FALSE(message.empty());
    EXPECT_EQ(STATUS_REPLY_WIRE, message);
    EXPECT_TRUE(peer_->receive(0).empty());
}

TEST_F(communicate_aoa_connected_test, send_with_body_sends_header_and_body_in_one_message)
{
    QAV_MNT_FWUPDATE_PACKATE_HEADER_ header = status_reply();
    header.data_size = 5;
    char body[] = {'a', 'b', 'c', 'd', 'e'};
    int ret = -1;
    send_(header, 5, body, ret);

    EXPECT_EQ(0, ret);
    bytes expected = STATUS_REPLY_WIRE;
    expected[15] = 5;
    expected.insert(expected.end(), {'a', 'b', 'c', 'd', 'e'});
    const bytes message = peer_->receive_bytes();
    ASSERT_FALSE(message.empty());
    EXPECT_EQ(expected, message);
    EXPECT_TRUE(peer_->receive(0).empty());
}

TEST_F(communicate_aoa_connected_test, send_leaves_data_size_as_the_caller_set_it)
{
    char body[] = {1, 2, 3};
    int ret = -1;
    send_(status_reply(), 3, body, ret);

    EXPECT_EQ(0, ret);
    bytes expected = concat(STATUS_REPLY_WIRE, bytes{1, 2, 3});
    const bytes message = peer_->receive_bytes();
    ASSERT_FALSE(message.empty());
    EXPECT_EQ(expected, message);
}

TEST_F(communicate_aoa_connected_test, send_dumps_the_swapped_fields_with_result_under_request_id)
{
    QAV_MNT_FWUPDATE_PACKATE_HEADER_ header = status_reply();
    header.data_size = 0x00000100;
    int ret = -1;
    std::string log = send_(header, 0, nullptr, ret);

    EXPECT_EQ(0, ret);
    EXPECT_EQ(send_dump("0x00000201", "0x00000403", "0x00003412", "0x00001500", "0x00001380",
                        "0x00000200", "0x00010000"),
              log);
    const bytes message = peer_->receive_bytes();
    ASSERT_FALSE(message.empty());
    EXPECT_EQ(16u, message.size());
}

TEST_F(communicate_aoa_connected_test, send_failure_in_the_accessory_library_is_reported)
{
    setenv("FWUPDATE_FAULTS", "aoa_send", 1);
    int ret = -1;
    std::string log = send_(status_reply(), 0, nullptr, ret);

    EXPECT_EQ(1, ret);
    EXPECT_EQ(send_dump("0x00000201", "0x00000403", "0x00003412", "0x00001500", "0x00001380",
                        "0x00000200", "0x00000000") +
                  "[ERR] send(): osl_mdev_aoa_send mdev_ret:[0x00000001]\n",
              log);
    EXPECT_TRUE(peer_->receive(0).empty());
}

TEST_F(communicate_aoa_connected_test, connected_link_delivers_incoming_transfers_to_the_receiver)
{
    const bytes first = pattern(30, 11);
    const bytes second = pattern(50, 12);
    testing::internal::CaptureStderr();
    ASSERT_TRUE(peer_->send(concat(upload_header(80), first)));
    ASSERT_TRUE(peer_->send(second));
    bool arrived = receiver_.wait_for(3);
    testing::internal::GetCapturedStderr();
    ASSERT_TRUE(arrived);

    std::vector<notification> seen = receiver_.notifications();
    ASSERT_EQ(3u, seen.size());
    EXPECT_TRUE(seen[0].is_header);
    EXPECT_EQ(80u, seen[0].header.data_size);
    expect_body(seen[1], 46, 0, concat(first, SLACK), 96, 46);
    expect_body(seen[2], 50, 1, second, 0, 0);
}

}  // namespace
