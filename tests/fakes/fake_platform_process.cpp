#include "fake_platform_process.h"

#include <sstream>

#include "fake_platform.h"

namespace norvane_fake {

int fake_platform_process::arm_faults(const std::string& faults)
{
    std::istringstream names(faults);
    std::string name;
    int ret = 0;
    while (std::getline(names, name, ',')) {
        if (name == "receive_bad_alloc") {
            fake_os_wrapper::fail_next_receive_with_bad_alloc();
        } else if (!name.empty()) {
            ret = 1;
        }
    }
    return ret;
}

std::string fake_platform_process::exit_report()
{
    std::string calls;
    for (const std::string& call : fake_upd::calls()) {
        calls += (calls.empty() ? "" : ",") + call;
    }
    return "[fake platform] queues_alive[" + std::to_string(fake_os_wrapper::queues_alive()) +
           "] blocks_outstanding[" + std::to_string(fake_os_wrapper::blocks_outstanding()) +
           "] upd_calls[" + calls + "]";
}

}  // namespace norvane_fake
