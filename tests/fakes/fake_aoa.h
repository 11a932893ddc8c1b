// Test double of the accessory library. connect records the receive function
// (and can be made to fail); the test plays the phone by handing transfers to
// that function, each in a buffer with 16 zero bytes of slack behind it, as
// the library does. send records every buffer and can be made to fail.
#ifndef NORVANE_TESTS_FAKE_AOA_H
#define NORVANE_TESTS_FAKE_AOA_H

#include <string>
#include <vector>

#include "osl_mdev_aoa.h"

namespace norvane_fake {

class fake_aoa {
public:
    static void reset();

    // Result of every later connect (0: success, the function is recorded).
    static void set_connect_result(int result);
    static int connect_calls();
    static osl_mdev_aoa_recv_func recv_function();
    // Transfers that the phone sends in the instant the link comes up: a
    // successful connect hands them to the receive function before it
    // returns, as the library's thread may do before its caller goes on.
    static void send_on_connect(const std::vector<std::string>& transfers);

    // Calls the recorded receive function with the transfer's bytes followed
    // by 16 zero bytes; false when nothing is connected.
    static bool inject(const std::string& transfer);
    // Calls it with event, a null buffer and length 0.
    static bool inject_event(int event);

    // Result of every later send, and of the next send only.
    static void set_send_result(int result);
    static void fail_next_send(int result);
    // Every buffer handed to send, in order (failed sends included).
    static std::vector<std::string> sent();
    // Waits until at least count buffers were sent; false on time-out.
    static bool wait_sent(size_t count, int timeout_ms);
};

}  // namespace norvane_fake

#endif
