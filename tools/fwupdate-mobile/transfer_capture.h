// Records the transfers of the accessory link as the phone sees them into a
// pcapng capture: one packet per transfer, with the time it was sent or
// received and its direction (outbound: sent by the phone). The capture's
// link type is USER0, on which the protocol's Wireshark dissector registers.
#ifndef NORVANE_TOOLS_TRANSFER_CAPTURE_H
#define NORVANE_TOOLS_TRANSFER_CAPTURE_H

#include "pcapng_writer.h"

#include <cstddef>
#include <string>

namespace norvane_tools {

class transfer_capture {
public:
    // Creates the capture file. 0, or 1 (see error()).
    int open(const std::string& path);
    // Records one transfer now. A failing write is kept for close().
    void record(bool from_phone, const unsigned char* data, size_t size);
    // 0 when every transfer was written and the file closed, else 1.
    int close();
    size_t transfers() const { return transfers_; }
    const std::string& error() const { return error_; }

private:
    pcapng_writer writer_;
    size_t transfers_ = 0;
    std::string error_;
};

}  // namespace norvane_tools

#endif
