// Writes a pcapng capture: one section, one interface, one enhanced packet
// block per packet with its time and direction. Every block goes to the file
// in one write as it comes, so a capture cut short by a crash still holds
// every packet written before it.
#ifndef NORVANE_TOOLS_PCAPNG_WRITER_H
#define NORVANE_TOOLS_PCAPNG_WRITER_H

#include "pcapng_format.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace norvane_tools {

class pcapng_writer {
public:
    pcapng_writer() = default;
    ~pcapng_writer();
    pcapng_writer(const pcapng_writer&) = delete;
    pcapng_writer& operator=(const pcapng_writer&) = delete;

    // Creates (or truncates) path and writes the section header and the
    // interface description. 0, or 1 (see last_error()).
    int open(const std::string& path, uint16_t link_type, const std::string& interface_name);
    // One packet, time_us microseconds since the Unix epoch. A direction
    // other than direction_unknown is written as the packet's flags. 0, or 1.
    int write_packet(uint64_t time_us, const void* data, size_t size, pcapng::direction direction);
    // 0, or 1 when the file could not be closed.
    int close();
    bool is_open() const { return fd_ >= 0; }
    const std::string& last_error() const { return error_; }

private:
    int write_block_(uint32_t type, const std::string& body);

    int fd_ = -1;
    std::string path_;
    std::string error_;
};

}  // namespace norvane_tools

#endif
