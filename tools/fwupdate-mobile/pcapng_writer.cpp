#include "pcapng_writer.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace norvane_tools {

namespace {

// The file is written little-endian whatever the host; the section header's
// byte-order magic tells readers so.
void put_16(std::string& out, uint16_t value)
{
    out += static_cast<char>(value & 0xFF);
    out += static_cast<char>(value >> 8);
}

void put_32(std::string& out, uint32_t value)
{
    put_16(out, static_cast<uint16_t>(value & 0xFFFF));
    put_16(out, static_cast<uint16_t>(value >> 16));
}

void pad_to_32_bits(std::string& out)
{
    while (out.size() % 4 != 0) {
        out += '\0';
    }
}

void put_option(std::string& out, uint16_t code, const std::string& value)
{
    put_16(out, code);
    put_16(out, static_cast<uint16_t>(value.size()));
    out += value;
    pad_to_32_bits(out);
}

void put_end_of_options(std::string& out)
{
    put_16(out, pcapng::option_end);
    put_16(out, 0);
}

}  // namespace

pcapng_writer::~pcapng_writer()
{
    close();
}

int pcapng_writer::open(const std::string& path, uint16_t link_type, const std::string& interface_name)
{
    close();
    path_ = path;
    fd_ = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd_ < 0) {
        error_ = "cannot create " + path + ": " + std::strerror(errno);
        return 1;
    }
    std::string section;
    put_32(section, pcapng::byte_order_magic);
    put_16(section, 1);   // major version
    put_16(section, 0);   // minor version
    put_32(section, 0xFFFFFFFF);  // section length not given
    put_32(section, 0xFFFFFFFF);
    put_option(section, pcapng::option_shb_user_application, "fwupdate-mobile");
    put_end_of_options(section);

    std::string interface;
    put_16(interface, link_type);
    put_16(interface, 0);   // reserved
    put_32(interface, 0);   // no snapshot length: every byte is kept
    put_option(interface, pcapng::option_if_name, interface_name);
    put_option(interface, pcapng::option_if_tsresol, std::string(1, '\x06'));  // microseconds
    put_end_of_options(interface);

    if (write_block_(pcapng::block_section_header, section) != 0 ||
        write_block_(pcapng::block_interface_description, interface) != 0) {
        const std::string reason = error_;
        close();
        error_ = reason;
        return 1;
    }
    return 0;
}

int pcapng_writer::write_packet(uint64_t time_us, const void* data, size_t size,
                                pcapng::direction direction)
{
    if (size > 0xFFFFFFF0u) {
        error_ = "a packet of " + std::to_string(size) + " bytes does not fit in a block";
        return 1;
    }
    std::string packet;
    put_32(packet, 0);   // interface id
    put_32(packet, static_cast<uint32_t>(time_us >> 32));
    put_32(packet, static_cast<uint32_t>(time_us & 0xFFFFFFFF));
    put_32(packet, static_cast<uint32_t>(size));   // captured length
    put_32(packet, static_cast<uint32_t>(size));   // original length
    packet.append(static_cast<const char*>(data), size);
    pad_to_32_bits(packet);
    if (direction != pcapng::direction_unknown) {
        std::string flags;
        put_32(flags, direction);
        put_option(packet, pcapng::option_epb_flags, flags);
        put_end_of_options(packet);
    }
    return write_block_(pcapng::block_enhanced_packet, packet);
}

int pcapng_writer::close()
{
    if (fd_ < 0) {
        return 0;
    }
    const int result = ::close(fd_);
    fd_ = -1;
    if (result != 0) {
        error_ = "cannot close " + path_ + ": " + std::strerror(errno);
        return 1;
    }
    return 0;
}

int pcapng_writer::write_block_(uint32_t type, const std::string& body)
{
    if (fd_ < 0) {
        error_ = "no capture file is open";
        return 1;
    }
    const uint32_t total = static_cast<uint32_t>(body.size() + 12);
    std::string block;
    block.reserve(total);
    put_32(block, type);
    put_32(block, total);
    block += body;
    put_32(block, total);
    size_t written = 0;
    while (written < block.size()) {
        const ssize_t result = ::write(fd_, block.data() + written, block.size() - written);
        if (result < 0 && errno == EINTR) {
            continue;
        }
        if (result <= 0) {
            error_ = "cannot write " + path_ + ": " + std::strerror(errno);
            return 1;
        }
        written += static_cast<size_t>(result);
    }
    return 0;
}

}  // namespace norvane_tools
