// The fake accessory library: no thread of its own; the test calls the
// recorded receive function from whichever thread plays the phone.
#include "fake_aoa.h"

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace {

struct aoa_control {
    std::mutex lock;
    std::condition_variable sent_more;
    int connect_result = 0;
    int connect_calls = 0;
    osl_mdev_aoa_recv_func recv = nullptr;
    std::vector<std::string> on_connect;
    int send_result = 0;
    bool fail_next_send = false;
    int fail_next_result = 0;
    std::vector<std::string> sent;
};

aoa_control& aoa_()
{
    static aoa_control control;
    return control;
}

}  // namespace

int osl_mdev_aoa_connect(osl_mdev_aoa_recv_func recv)
{
    aoa_control& control = aoa_();
    std::vector<std::string> early;
    int result = 0;
    {
        std::lock_guard<std::mutex> held(control.lock);
        control.connect_calls++;
        result = control.connect_result;
        if (result == 0) {
            control.recv = recv;
            early.swap(control.on_connect);
        }
    }
    for (const std::string& transfer : early) {
        norvane_fake::fake_aoa::inject(transfer);
    }
    return result;
}

int osl_mdev_aoa_send(unsigned char* data, int len)
{
    aoa_control& control = aoa_();
    std::lock_guard<std::mutex> held(control.lock);
    control.sent.emplace_back(reinterpret_cast<const char*>(data), len < 0 ? 0 : len);
    control.sent_more.notify_all();
    if (control.fail_next_send) {
        control.fail_next_send = false;
        return control.fail_next_result;
    }
    return control.send_result;
}

namespace norvane_fake {

void fake_aoa::reset()
{
    aoa_control& control = aoa_();
    std::lock_guard<std::mutex> held(control.lock);
    control.connect_result = 0;
    control.connect_calls = 0;
    control.recv = nullptr;
    control.on_connect.clear();
    control.send_result = 0;
    control.fail_next_send = false;
    control.sent.clear();
}

void fake_aoa::set_connect_result(int result)
{
    std::lock_guard<std::mutex> held(aoa_().lock);
    aoa_().connect_result = result;
}

int fake_aoa::connect_calls()
{
    std::lock_guard<std::mutex> held(aoa_().lock);
    return aoa_().connect_calls;
}

osl_mdev_aoa_recv_func fake_aoa::recv_function()
{
    std::lock_guard<std::mutex> held(aoa_().lock);
    return aoa_().recv;
}

void fake_aoa::send_on_connect(const std::vector<std::string>& transfers)
{
    std::lock_guard<std::mutex> held(aoa_().lock);
    aoa_().on_connect = transfers;
}

bool fake_aoa::inject(const std::string& transfer)
{
    osl_mdev_aoa_recv_func recv = recv_function();
    if (recv == nullptr) {
        return false;
    }
    std::string buffer = transfer + std::string(OSL_MDEV_AOA_SLACK, '\0');
    recv(OSL_MDEV_AOA_EVENT_DATA, reinterpret_cast<unsigned char*>(&buffer[0]),
         static_cast<int>(transfer.size()));
    return true;
}

bool fake_aoa::inject_event(int event)
{
    osl_mdev_aoa_recv_func recv = recv_function();
    if (recv == nullptr) {
        return false;
    }
    recv(event, nullptr, 0);
    return true;
}

void fake_aoa::set_send_result(int result)
{
    std::lock_guard<std::mutex> held(aoa_().lock);
    aoa_().send_result = result;
}

void fake_aoa::fail_next_send(int result)
{
    std::lock_guard<std::mutex> held(aoa_().lock);
    aoa_().fail_next_send = true;
    aoa_().fail_next_result = result;
}

std::vector<std::string> fake_aoa::sent()
{
    std::lock_guard<std::mutex> held(aoa_().lock);
    return aoa_().sent;
}

bool fake_aoa::wait_sent(size_t count, int timeout_ms)
{
    aoa_control& control = aoa_();
    std::unique_lock<std::mutex> held(control.lock);
    return control.sent_more.wait_for(held, std::chrono::milliseconds(timeout_ms),
                                      [&control, count] { return control.sent.size() >= count; });
}

}  // namespace norvane_fake
