#include "pcapng_reader.h"

#include <fstream>
#include <iterator>

namespace norvane_tools {

namespace {

constexpr size_t block_overhead = 12;   // type, total length, trailing total length

// 10^exponent or 2^exponent units per second, as if_tsresol says; 0 when it
// does not fit.
uint64_t units_per_second(uint8_t resolution)
{
    const bool power_of_two = (resolution & 0x80) != 0;
    const unsigned exponent = resolution & 0x7F;
    if (power_of_two) {
        return exponent < 64 ? (uint64_t{1} << exponent) : 0;
    }
    uint64_t units = 1;
    for (unsigned i = 0; i < exponent; ++i) {
        if (units > UINT64_MAX / 10) {
            return 0;
        }
        units *= 10;
    }
    return units;
}

uint64_t to_microseconds(uint64_t time, uint64_t units)
{
    constexpr uint64_t per_second = 1000000;
    if (units % per_second == 0) {
        return time / (units / per_second);
    }
    const uint64_t seconds = time / units;
    const uint64_t rest = time % units;
    // rest * per_second stays below 2^64 while units is below 2^44.
    const uint64_t fraction = units < (uint64_t{1} << 44) ? rest * per_second / units
                                                          : rest / (units / per_second);
    return seconds * per_second + fraction;
}

}  // namespace

int pcapng_reader::read_file(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        packets_.clear();
        error_ = "cannot read " + path;
        return 1;
    }
    const std::string capture((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (read_bytes(capture) != 0) {
        error_ = path + ": " + error_;
        return 1;
    }
    return 0;
}

int pcapng_reader::read_bytes(const std::string& capture)
{
    packets_.clear();
    interfaces_.clear();
    error_.clear();
    bool in_section = false;
    size_t offset = 0;
    while (offset < capture.size()) {
        if (capture.size() - offset < block_overhead) {
            return fail_(offset, "a block cut short");
        }
        const std::string head = capture.substr(offset, 12);
        const uint32_t raw_type = static_cast<uint32_t>(static_cast<unsigned char>(head[0])) |
                                  (static_cast<uint32_t>(static_cast<unsigned char>(head[1])) << 8) |
                                  (static_cast<uint32_t>(static_cast<unsigned char>(head[2])) << 16) |
                                  (static_cast<uint32_t>(static_cast<unsigned char>(head[3])) << 24);
        // The section header's type reads the same in both byte orders; its
        // magic decides the order of everything up to the next section.
        if (raw_type == pcapng::block_section_header) {
            big_endian_ = false;
            if (get_32_(head, 8) != pcapng::byte_order_magic) {
                big_endian_ = true;
                if (get_32_(head, 8) != pcapng::byte_order_magic) {
                    return fail_(offset, "a section header without the byte-order magic");
                }
            }
            in_section = true;
        } else if (!in_section) {
            return fail_(offset, "not a pcapng capture (no section header)");
        }
        const uint32_t type = get_32_(head, 0);
        const uint32_t total = get_32_(head, 4);
        if (total < block_overhead || total % 4 != 0 || total > capture.size() - offset) {
            return fail_(offset, "a block whose length (" + std::to_string(total) + ") does not fit");
        }
        if (get_32_(capture, offset + total - 4) != total) {
            return fail_(offset, "a block whose two lengths differ");
        }
        const std::string body = capture.substr(offset + 8, total - block_overhead);
        int result = 0;
        if (type == pcapng::block_section_header) {
            result = read_section_header_(offset, body);
        } else if (type == pcapng::block_interface_description) {
            result = read_interface_(offset, body);
        } else if (type == pcapng::block_enhanced_packet) {
            result = read_packet_(offset, body);
        }
        if (result != 0) {
            return 1;
        }
        offset += total;
    }
    if (!in_section) {
        return fail_(0, "an empty file");
    }
    return 0;
}

int pcapng_reader::fail_(size_t offset, const std::string& what)
{
    packets_.clear();
    error_ = "block at offset " + std::to_string(offset) + ": " + what;
    return 1;
}

int pcapng_reader::read_section_header_(size_t offset, const std::string& body)
{
    if (body.size() < 16) {
        return fail_(offset, "a section header cut short");
    }
    if (get_16_(body, 4) != 1) {
        return fail_(offset, "pcapng major version " + std::to_string(get_16_(body, 4)) +
                                 " (only 1 is known)");
    }
    interfaces_.clear();
    return 0;
}

int pcapng_reader::read_interface_(size_t offset, const std::string& body)
{
    if (body.size() < 8) {
        return fail_(offset, "an interface description cut short");
    }
    interface_info interface{get_16_(body, 0), 1000000};
    const int result = read_options_(offset, body, 8, "an interface option",
                                     [&](uint16_t code, const std::string& value) {
        if (code == pcapng::option_if_tsresol && value.size() == 1) {
            interface.units_per_second = units_per_second(static_cast<uint8_t>(value[0]));
            if (interface.units_per_second == 0) {
                return fail_(offset, "a time resolution that does not fit in 64 bits");
            }
        }
        return 0;
    });
    if (result == 0) {
        interfaces_.push_back(interface);
    }
    return result;
}

int pcapng_reader::read_packet_(size_t offset, const std::string& body)
{
    if (body.size() < 20) {
        return fail_(offset, "a packet block cut short");
    }
    const uint32_t interface_id = get_32_(body, 0);
    if (interface_id >= interfaces_.size()) {
        return fail_(offset, "a packet of interface " + std::to_string(interface_id) +
                                 ", which was not described");
    }
    const interface_info& interface = interfaces_[interface_id];
    const uint32_t captured = get_32_(body, 12);
    if (captured > body.size() - 20) {
        return fail_(offset, "a packet whose " + std::to_string(captured) +
                                 " captured bytes run past its block");
    }
    pcapng_packet packet;
    packet.link_type = interface.link_type;
    const uint64_t time = (static_cast<uint64_t>(get_32_(body, 4)) << 32) | get_32_(body, 8);
    packet.time_us = to_microseconds(time, interface.units_per_second);
    packet.original_size = get_32_(body, 16);
    packet.bytes = body.substr(20, captured);
    const size_t options = 20 + ((captured + 3u) & ~size_t{3});
    const int result = read_options_(offset, body, options, "a packet option",
                                     [&](uint16_t code, const std::string& value) {
        if (code == pcapng::option_epb_flags && value.size() == 4) {
            packet.direction = static_cast<pcapng::direction>(get_32_(value, 0) & pcapng::direction_mask);
        }
        return 0;
    });
    if (result == 0) {
        packets_.push_back(packet);
    }
    return result;
}

int pcapng_reader::read_options_(size_t offset, const std::string& body, size_t at,
                                 const std::string& what, const option_reader& take)
{
    while (at + 4 <= body.size()) {
        const uint16_t code = get_16_(body, at);
        const uint16_t length = get_16_(body, at + 2);
        if (code == pcapng::option_end) {
            break;
        }
        if (length > body.size() - at - 4) {
            return fail_(offset, what + " runs past its block");
        }
        if (take(code, body.substr(at + 4, length)) != 0) {
            return 1;
        }
        at += 4 + ((length + 3u) & ~3u);
    }
    return 0;
}

uint16_t pcapng_reader::get_16_(const std::string& bytes, size_t at) const
{
    const uint16_t first = static_cast<unsigned char>(bytes[at]);
    const uint16_t second = static_cast<unsigned char>(bytes[at + 1]);
    return big_endian_ ? static_cast<uint16_t>((first << 8) | second)
                       : static_cast<uint16_t>((second << 8) | first);
}

uint32_t pcapng_reader::get_32_(const std::string& bytes, size_t at) const
{
    const uint32_t low = get_16_(bytes, big_endian_ ? at + 2 : at);
    const uint32_t high = get_16_(bytes, big_endian_ ? at : at + 2);
    return (high << 16) | low;
}

}  // namespace norvane_tools
