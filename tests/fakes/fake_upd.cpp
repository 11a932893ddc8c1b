// The fake update library: a call log, record contents kept in memory, and a
// chosen result per call.
#include "fake_upd.h"

#include <mutex>

#include "bsd_sum.h"
#include "osl_mdev_upd.h"

namespace {

struct upd_control {
    std::mutex lock;
    std::map<std::string, int> results;
    std::vector<std::string> calls;
    std::vector<std::string> written;
    std::map<std::string, std::string> records;
    std::string open_name;
    std::string open_bytes;
};

upd_control& upd_()
{
    static upd_control control;
    return control;
}

// Records the call line and returns the result chosen for the call.
int record_(upd_control& control, const std::string& call, const std::string& line)
{
    control.calls.push_back(line);
    auto found = control.results.find(call);
    return found == control.results.end() ? 0 : found->second;
}

}  // namespace

int osl_mdev_upd_fwup_dlstart(void)
{
    std::lock_guard<std::mutex> held(upd_().lock);
    return record_(upd_(), "dlstart", "dlstart");
}

int osl_mdev_upd_fwup_dlfinish(int result)
{
    std::lock_guard<std::mutex> held(upd_().lock);
    return record_(upd_(), "dlfinish", "dlfinish " + std::to_string(result));
}

int osl_mdev_upd_fwup_flopen(char* name, int type)
{
    upd_control& control = upd_();
    std::lock_guard<std::mutex> held(control.lock);
    std::string record_name = name == nullptr ? "(null)" : name;
    int result = record_(control, "flopen", "flopen " + record_name + " " + std::to_string(type));
    if (result == 0) {
        control.open_name = record_name;
        control.open_bytes.clear();
    }
    return result;
}

int osl_mdev_upd_fwup_flwrite(char* data, unsigned long offset, unsigned long size)
{
    upd_control& control = upd_();
    std::lock_guard<std::mutex> held(control.lock);
    std::string bytes = data == nullptr ? std::string() : std::string(data, size);
    control.written.push_back(bytes);
    int result = record_(control, "flwrite",
                         "flwrite " + std::to_string(offset) + " " + std::to_string(size));
    if (result == 0) {
        if (control.open_bytes.size() < offset + bytes.size()) {
            control.open_bytes.resize(offset + bytes.size(), '\0');
        }
        control.open_bytes.replace(offset, bytes.size(), bytes);
    }
    return result;
}

int osl_mdev_upd_fwup_flclose(int mode, unsigned long* checksum)
{
    upd_control& control = upd_();
    std::lock_guard<std::mutex> held(control.lock);
    int result = record_(control, "flclose", "flclose " + std::to_string(mode));
    if (result == 0) {
        if (checksum != nullptr) {
            // The 16-bit BSD sum, as the update library hands back on close.
            *checksum = norvane_test::bsd_sum(control.open_bytes);
        }
        control.records[control.open_name] = control.open_bytes;
    }
    return result;
}

namespace norvane_fake {

void fake_upd::reset()
{
    upd_control& control = upd_();
    std::lock_guard<std::mutex> held(control.lock);
    control.results.clear();
    control.calls.clear();
    control.written.clear();
    control.records.clear();
    control.open_name.clear();
    control.open_bytes.clear();
}

void fake_upd::set_result(const std::string& call, int result)
{
    std::lock_guard<std::mutex> held(upd_().lock);
    upd_().results[call] = result;
}

std::vector<std::string> fake_upd::calls()
{
    std::lock_guard<std::mutex> held(upd_().lock);
    return upd_().calls;
}

std::vector<std::string> fake_upd::written()
{
    std::lock_guard<std::mutex> held(upd_().lock);
    return upd_().written;
}

std::map<std::string, std::string> fake_upd::records()
{
    std::lock_guard<std::mutex> held(upd_().lock);
    return upd_().records;
}

}  // namespace norvane_fake
