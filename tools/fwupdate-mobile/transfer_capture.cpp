#include "transfer_capture.h"

#include <chrono>

namespace norvane_tools {

int transfer_capture::open(const std::string& path)
{
    error_.clear();
    transfers_ = 0;
    if (writer_.open(path, pcapng::link_type_user0, "accessory link") != 0) {
        error_ = writer_.last_error();
        return 1;
    }
    return 0;
}

void transfer_capture::record(bool from_phone, const unsigned char* data, size_t size)
{
    using namespace std::chrono;
    const auto now = duration_cast<microseconds>(system_clock::now().time_since_epoch()).count();
    const pcapng::direction direction = from_phone ? pcapng::direction_outbound : pcapng::direction_inbound;
    if (writer_.write_packet(static_cast<uint64_t>(now), data, size, direction) != 0) {
        if (error_.empty()) {
            error_ = writer_.last_error();
        }
        return;
    }
    ++transfers_;
}

int transfer_capture::close()
{
    if (writer_.close() != 0 && error_.empty()) {
        error_ = writer_.last_error();
    }
    return error_.empty() ? 0 : 1;
}

}  // namespace norvane_tools
