// The readiness handshake with the real program: the phone sends a status
// query with option 1 in the same instant the link comes up, before the
// program has finished its start-up, and uploads only after the reply (option
// 1, result 0). The program's log is read only to check what happened.
#include "e2e_fixture.h"

#include "delivery_replies.h"
#include "mobile_packet.h"

#include <iostream>
#include <string>

namespace norvane_test {
namespace {

using norvane_tools::upload_options;

// What the program logs when a header arrives, field by field.
std::string received_header_dump(const std::string& request_id, const std::string& command,
                                 const std::string& option_code)
{
    return "[IMP] recv_impl(): header.version:[0x00000001]\n"
           "[IMP] recv_impl(): header.reserved:[0x00000000]\n"
           "[IMP] recv_impl(): header.request_id:[" + request_id + "]\n"
           "[IMP] recv_impl(): header.result_code:[0x00000000]\n"
           "[IMP] recv_impl(): header.command:[" + command + "]\n"
           "[IMP] recv_impl(): header.option_code:[" + option_code + "]\n"
           "[IMP] recv_impl(): header.data_size:[0x00000000]\n";
}

const std::string connect_line = "[INF] change_exec_state_(): Change exec state. [INITIAL] -> [CONNECT] \n";

class readiness_handshake_test : public e2e_fixture {
protected:
    // A package of one small file: a whole delivery takes a few transfers.
    std::string tiny_package()
    {
        return make_package({{"tiny_firmware.bin", "tiny firmware image\n"}}, "1.0",
                            "DEVICE_FIRMWARE");
    }

    // Upload, one query and the confirmation, all answered OK; exit 0.
    void deliver_after_the_handshake(const std::string& package)
    {
        ASSERT_EQ(upload_ok, upload(package, upload_options{}));
        ASSERT_EQ(finished_ok_2, status(1));
        ASSERT_EQ(finished_ok_3, status(2));
        ASSERT_EQ(0, wait_program());
    }
};

TEST_F(readiness_handshake_test, query_sent_as_the_link_comes_up_is_answered_still_ongoing_result_0)
{
    const std::string package = tiny_package();
    ASSERT_EQ(0, start_program_without_handshake());
    norvane_tools::header reply = {};
    ASSERT_EQ(0, session().handshake(reply)) << session().error();
    EXPECT_EQ(handshake_ok, norvane_tools::to_hex(norvane_tools::encode_header(reply)));
    deliver_after_the_handshake(package);

    // The program saw the query 00 01 00 00 00 00 00 00 00 13 00 01 00 00 00 00
    // (its dump is the link thread's first) and answered it only once it was
    // in CONNECT.
    const std::string log = program_log();
    EXPECT_EQ(0u, split_by_thread(log).link.find(
                      received_header_dump("0x00000000", "0x00000013", "0x00000001")));
    const size_t answer = log.find("[IMP] send(): header_temp.version:[0x00000100]\n");
    ASSERT_NE(std::string::npos, answer);
    EXPECT_LT(log.find(connect_line), answer);
    EXPECT_EQ("dlstart\ndlfinish 0\n", service_log());
}

TEST_F(readiness_handshake_test, two_hundred_deliveries_that_query_as_the_link_comes_up_all_succeed)
{
    const std::string package = tiny_package();
    int query_before_connect = 0;
    for (int run = 1; run <= 200; ++run) {
        SCOPED_TRACE("delivery " + std::to_string(run));
        ASSERT_EQ(0, norvane_tools::program_runner::empty_work_dir());
        replies_.clear();
        ASSERT_EQ(0, start_program());
        deliver_after_the_handshake(package);
        if (HasFatalFailure()) {
            return;
        }
        // The query's dump is the link thread's first, and the main thread's
        // lines may fall between its lines: its first line tells when it came.
        const std::string log = program_log();
        if (log.find("[IMP] recv_impl(): header.version:[0x00000001]\n") < log.find(connect_line)) {
            ++query_before_connect;
        }
        phone_.close_connection();
    }
    // How often the query was there before the program could take data: the
    // race the handshake makes harmless. It varies from run to run.
    RecordProperty("query_before_connect", query_before_connect);
    std::cout << "the handshake query arrived before CONNECT in " << query_before_connect
              << " of 200 deliveries\n";
    EXPECT_EQ(std::string("1.0", 4), record("FIRMWARE_VERSION_DEVICE"));
}

}  // namespace
}  // namespace norvane_test
