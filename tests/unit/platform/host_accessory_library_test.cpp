// The host accessory library against a real listening SOCK_SEQPACKET socket
// in a temporary folder: the test kit's phone peer stands in for the mobile side.
#include "osl_mdev_aoa.h"

#include "phone_peer.h"
#include "temp_dir.h"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>
#include <vector>

namespace {

// One call of the receive function, as it was seen during the call.
struct recv_call {
    int event;
    bool null_data;
    int len;
    std::string bytes;  // the transfer
    std::string slack;  // the 16 bytes after it
};

// Everything the receive function saw, shared with the library's threads.
struct recv_record {
    std::mutex lock;
    std::condition_variable changed;
    std::vector<recv_call> calls;
    int closed = 0;
};

recv_record& record_()
{
    static recv_record* record = new recv_record;
    return *record;
}

void record_recv(int event, unsigned char* data, int len)
{
    recv_call call{event, data == nullptr, len, "", ""};
    if (data != nullptr && len > 0) {
        call.bytes.assign(reinterpret_cast<char*>(data), static_cast<size_t>(len));
        call.slack.assign(reinterpret_cast<char*>(data) + len, OSL_MDEV_AOA_SLACK);
        // Scribble over the slack: the library must zero it again for the next transfer.
        std::memset(data + len, 0xEE, OSL_MDEV_AOA_SLACK);
    }
    std::lock_guard<std::mutex> guard(record_().lock);
    record_().calls.push_back(call);
    record_().closed += (event == OSL_MDEV_AOA_EVENT_CLOSED) ? 1 : 0;
    record_().changed.notify_all();
}

class host_accessory_library_test : public testing::Test {
protected:
    void SetUp() override
    {
        ::setenv("FWUPDATE_STATE_DIR", dir_.file("state").c_str(), 1);
        ::unsetenv("FWUPDATE_FAULTS");
        std::lock_guard<std::mutex> guard(record_().lock);
        record_().calls.clear();
        record_().closed = 0;
    }

    void TearDown() override
    {
        // Close the phone's side and wait until every receive thread of this
        // test has reported the close, so none reports into the next test.
        phone_.close_link();
        wait_for_closed(connected_);
        ::unsetenv("FWUPDATE_FAULTS");
        ::unsetenv("FWUPDATE_STATE_DIR");
    }

    // Connects the library and accepts on the phone's side; false on failure.
    bool connect_link(norvane_test::phone_peer& phone)
    {
        if (osl_mdev_aoa_connect(record_recv) != 0) {
            return false;
        }
        ++connected_;
        return phone.accept_link(1000);
    }
    bool connect_link() { return connect_link(phone_); }

    // Waits until calls holds count entries; returns a copy of them.
    std::vector<recv_call> wait_for_calls(size_t count)
    {
        std::unique_lock<std::mutex> guard(record_().lock);
        record_().changed.wait_for(guard, std::chrono::seconds(5),
                                   [count] { return record_().calls.size() >= count; });
        return record_().calls;
    }
    bool wait_for_closed(int count)
    {
        std::unique_lock<std::mutex> guard(record_().lock);
        return record_().changed.wait_for(guard, std::chrono::seconds(5),
                                          [count] { return record_().closed >= count; });
    }
    std::string log_text() const { return norvane_test::read_file_bytes(dir_.file("state/update-service.log")); }

    norvane_test::temp_dir dir_;
    norvane_test::phone_peer phone_{dir_.file("aoa.sock")};
    int connected_ = 0;
};

const std::string NO_SLACK(OSL_MDEV_AOA_SLACK, '\0');

TEST_F(host_accessory_library_test, three_messages_arrive_as_three_event_0_calls_then_close_gives_event_1)
{
    ASSERT_TRUE(phone_.listening());
    ASSERT_TRUE(connect_link());
    const std::string first(300, '\xFF');
    const std::string second("\x00\x01\x02\x03\x04\x05\x06\x07\x08\x09", 10);
    const std::string third("abc");
    ASSERT_TRUE(phone_.send(first));
    ASSERT_TRUE(phone_.send(second));
    ASSERT_TRUE(phone_.send(third));
    std::vector<recv_call> calls = wait_for_calls(3);
    ASSERT_EQ(3u, calls.size());
    EXPECT_EQ(0, calls[0].event);
    EXPECT_EQ(300, calls[0].len);
    EXPECT_EQ(first, calls[0].bytes);
    EXPECT_EQ(NO_SLACK, calls[0].slack);
    EXPECT_EQ(0, calls[1].event);
    EXPECT_EQ(10, calls[1].len);
    EXPECT_EQ(second, calls[1].bytes);
    EXPECT_EQ(NO_SLACK, calls[1].slack);  // zeros although the longer first message was there
    EXPECT_EQ(0, calls[2].event);
    EXPECT_EQ(3, calls[2].len);
    EXPECT_EQ(third, calls[2].bytes);
    EXPECT_EQ(NO_SLACK, calls[2].slack);

    phone_.close_link();
    calls = wait_for_calls(4);
    ASSERT_EQ(4u, calls.size());
    EXPECT_EQ(1, calls[3].event);
    EXPECT_TRUE(calls[3].null_data);
    EXPECT_EQ(0, calls[3].len);
}

TEST_F(host_accessory_library_test, largest_transfer_arrives_whole)
{
    ASSERT_TRUE(phone_.listening());
    ASSERT_TRUE(connect_link());
    std::string largest(OSL_MDEV_AOA_MAX_TRANSFER, '\0');
    for (size_t i = 0; i < largest.size(); ++i) {
        largest[i] = static_cast<char>(i * 7 + 1);
    }
    ASSERT_TRUE(phone_.send(largest));
    std::vector<recv_call> calls = wait_for_calls(1);
    ASSERT_EQ(1u, calls.size());
    EXPECT_EQ(0, calls[0].event);
    EXPECT_EQ(65536, calls[0].len);
    EXPECT_EQ(largest, calls[0].bytes);
    EXPECT_EQ(NO_SLACK, calls[0].slack);
}

TEST_F(host_accessory_library_test, oversize_message_ends_the_link_with_event_1)
{
    ASSERT_TRUE(phone_.listening());
    ASSERT_TRUE(connect_link());
    ASSERT_TRUE(phone_.send("ok"));
    ASSERT_TRUE(phone_.send(std::string(OSL_MDEV_AOA_MAX_TRANSFER + 1, 'x')));
    std::vector<recv_call> calls = wait_for_calls(2);
    ASSERT_EQ(2u, calls.size());
    EXPECT_EQ(0, calls[0].event);
    EXPECT_EQ("ok", calls[0].bytes);
    EXPECT_EQ(1, calls[1].event);
    EXPECT_TRUE(calls[1].null_data);
    EXPECT_EQ(0, calls[1].len);
}

TEST_F(host_accessory_library_test, send_arrives_as_exactly_one_message_with_same_bytes)
{
    ASSERT_TRUE(phone_.listening());
    ASSERT_TRUE(connect_link());
    unsigned char header[16] = {0x00, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x07,
                                0x80, 0x12, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00};
    EXPECT_EQ(0, osl_mdev_aoa_send(header, 16));
    EXPECT_EQ(std::string(reinterpret_cast<char*>(header), 16), phone_.receive());
    EXPECT_EQ("", phone_.receive(100));
}

TEST_F(host_accessory_library_test, send_of_largest_transfer_arrives_as_one_message)
{
    ASSERT_TRUE(phone_.listening());
    ASSERT_TRUE(connect_link());
    std::string bytes(OSL_MDEV_AOA_MAX_TRANSFER, 'q');
    EXPECT_EQ(0, osl_mdev_aoa_send(reinterpret_cast<unsigned char*>(&bytes[0]), 65536));
    EXPECT_EQ(bytes, phone_.receive());
}

TEST_F(host_accessory_library_test, send_refuses_empty_null_and_oversize_buffers)
{
    ASSERT_TRUE(phone_.listening());
    ASSERT_TRUE(connect_link());
    std::string bytes(OSL_MDEV_AOA_MAX_TRANSFER + 1, 'q');
    unsigned char* data = reinterpret_cast<unsigned char*>(&bytes[0]);
    EXPECT_NE(0, osl_mdev_aoa_send(data, 0));
    EXPECT_NE(0, osl_mdev_aoa_send(data, -1));
    EXPECT_NE(0, osl_mdev_aoa_send(nullptr, 16));
    EXPECT_NE(0, osl_mdev_aoa_send(data, 65537));
    EXPECT_EQ("", phone_.receive(100));
}

TEST_F(host_accessory_library_test, connect_fails_when_nobody_listens)
{
    ::setenv("FWUPDATE_AOA_SOCKET", dir_.file("nobody.sock").c_str(), 1);
    EXPECT_NE(0, osl_mdev_aoa_connect(record_recv));
    unsigned char data[4] = {1, 2, 3, 4};
    EXPECT_NE(0, osl_mdev_aoa_send(data, 4));  // no connection to send on
    EXPECT_TRUE(wait_for_calls(0).empty());
}

TEST_F(host_accessory_library_test, connect_fails_on_a_file_that_is_no_socket)
{
    ::setenv("FWUPDATE_AOA_SOCKET", dir_.write_file("plain", "x").c_str(), 1);
    EXPECT_NE(0, osl_mdev_aoa_connect(record_recv));
}

TEST_F(host_accessory_library_test, connect_fails_on_a_path_too_long_for_a_socket_address)
{
    ::setenv("FWUPDATE_AOA_SOCKET", ("/tmp/" + std::string(200, 'p') + ".sock").c_str(), 1);
    EXPECT_NE(0, osl_mdev_aoa_connect(record_recv));
}

TEST_F(host_accessory_library_test, connect_refuses_null_function)
{
    ASSERT_TRUE(phone_.listening());
    EXPECT_NE(0, osl_mdev_aoa_connect(nullptr));
    EXPECT_FALSE(phone_.accept_link(100));
}

TEST_F(host_accessory_library_test, send_after_peer_closed_fails)
{
    ASSERT_TRUE(phone_.listening());
    ASSERT_TRUE(connect_link());
    phone_.close_link();
    ASSERT_TRUE(wait_for_closed(1));
    unsigned char data[4] = {1, 2, 3, 4};
    EXPECT_NE(0, osl_mdev_aoa_send(data, 4));
}

TEST_F(host_accessory_library_test, latest_connection_is_the_one_send_uses)
{
    ASSERT_TRUE(phone_.listening());
    ASSERT_TRUE(connect_link());
    // A second phone takes over the socket's path and gets the next link.
    norvane_test::phone_peer second_phone(dir_.file("aoa.sock"));
    ASSERT_TRUE(second_phone.listening());
    ASSERT_TRUE(connect_link(second_phone));
    unsigned char data[3] = {'n', 'e', 'w'};
    EXPECT_EQ(0, osl_mdev_aoa_send(data, 3));
    EXPECT_EQ("new", second_phone.receive());
    EXPECT_EQ("", phone_.receive(100));
    // Both connections still deliver what their phone sends.
    ASSERT_TRUE(phone_.send("one"));
    ASSERT_TRUE(second_phone.send("two"));
    std::vector<recv_call> calls = wait_for_calls(2);
    ASSERT_EQ(2u, calls.size());
    EXPECT_TRUE((calls[0].bytes == "one" && calls[1].bytes == "two") ||
                (calls[0].bytes == "two" && calls[1].bytes == "one"));
    second_phone.close_link();
}

TEST_F(host_accessory_library_test, aoa_connect_fault_connects_nothing)
{
    ASSERT_TRUE(phone_.listening());
    ::setenv("FWUPDATE_FAULTS", "aoa_connect", 1);
    EXPECT_EQ(1, osl_mdev_aoa_connect(record_recv));
    EXPECT_FALSE(phone_.accept_link(100));
    EXPECT_EQ("aoa_connect fault\n", log_text());
}

TEST_F(host_accessory_library_test, aoa_send_fault_sends_nothing)
{
    ASSERT_TRUE(phone_.listening());
    ASSERT_TRUE(connect_link());
    ::setenv("FWUPDATE_FAULTS", "aoa_send", 1);
    unsigned char data[4] = {1, 2, 3, 4};
    EXPECT_EQ(1, osl_mdev_aoa_send(data, 4));
    EXPECT_EQ("", phone_.receive(100));
    EXPECT_EQ("aoa_send fault\n", log_text());
    ::unsetenv("FWUPDATE_FAULTS");
    EXPECT_EQ(0, osl_mdev_aoa_send(data, 4));
    EXPECT_EQ(std::string("\x01\x02\x03\x04", 4), phone_.receive());
}

}  // namespace
