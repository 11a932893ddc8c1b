// Reads the packets of a pcapng capture: every enhanced packet block of
// every section, with its interface's link type, its time in microseconds
// and its direction flags. Either byte order; blocks of other types are
// skipped. A damaged file is refused as a whole, with the offset of the
// first bad block.
#ifndef NORVANE_TOOLS_PCAPNG_READER_H
#define NORVANE_TOOLS_PCAPNG_READER_H

#include "pcapng_format.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace norvane_tools {

struct pcapng_packet {
    uint16_t link_type = 0;
    uint64_t time_us = 0;              // microseconds since the Unix epoch
    pcapng::direction direction = pcapng::direction_unknown;
    uint32_t original_size = 0;        // the size on the wire, at least bytes.size()
    std::string bytes;                 // the captured bytes
};

class pcapng_reader {
public:
    // Reads the file. 0, or 1 (see last_error()).
    int read_file(const std::string& path);
    // Reads a capture held in memory. 0, or 1.
    int read_bytes(const std::string& capture);

    const std::vector<pcapng_packet>& packets() const { return packets_; }
    const std::string& last_error() const { return error_; }

private:
    struct interface_info {
        uint16_t link_type;
        uint64_t units_per_second;
    };

    int fail_(size_t offset, const std::string& what);
    int read_section_header_(size_t offset, const std::string& body);
    int read_interface_(size_t offset, const std::string& body);
    int read_packet_(size_t offset, const std::string& body);
    // Walks a block's options from at, handing each code and value to take;
    // 0, or 1 when an option runs past the block or take refuses it.
    using option_reader = std::function<int(uint16_t code, const std::string& value)>;
    int read_options_(size_t offset, const std::string& body, size_t at, const std::string& what,
                      const option_reader& take);
    uint16_t get_16_(const std::string& bytes, size_t at) const;
    uint32_t get_32_(const std::string& bytes, size_t at) const;

    bool big_endian_ = false;
    std::vector<interface_info> interfaces_;
    std::vector<pcapng_packet> packets_;
    std::string error_;
};

}  // namespace norvane_tools

#endif
