// The parts of the pcapng capture format (IETF draft-ietf-opsawg-pcapng)
// that the phone simulator writes and reads: the section header, interface
// description and enhanced packet blocks, and the packet's direction flags.
#ifndef NORVANE_TOOLS_PCAPNG_FORMAT_H
#define NORVANE_TOOLS_PCAPNG_FORMAT_H

#include <cstdint>

namespace norvane_tools {
namespace pcapng {

constexpr uint32_t block_section_header = 0x0A0D0D0A;
constexpr uint32_t block_interface_description = 0x00000001;
constexpr uint32_t block_enhanced_packet = 0x00000006;
constexpr uint32_t byte_order_magic = 0x1A2B3C4D;

constexpr uint16_t option_end = 0;
constexpr uint16_t option_shb_user_application = 4;
constexpr uint16_t option_if_name = 2;
constexpr uint16_t option_if_tsresol = 9;
constexpr uint16_t option_epb_flags = 2;

// The simulator's own captures: one packet per transfer of the accessory
// link, nothing in front of the protocol's bytes. A user link type is one
// that no other dissector claims, so the protocol's dissector registers on it
// without any preference being set.
constexpr uint16_t link_type_user0 = 147;
// usbmon's binary records with their 64-byte header, as libpcap writes them
// on Linux.
constexpr uint16_t link_type_usb_linux_mmapped = 220;

// Bits 0-1 of the enhanced packet block's flags, seen from the capturing
// side: the phone.
enum direction : uint32_t {
    direction_unknown = 0,
    direction_inbound = 1,    // received by the phone: the device's replies
    direction_outbound = 2,   // sent by the phone: requests and package bytes
};

constexpr uint32_t direction_mask = 0x3;

}  // namespace pcapng
}  // namespace norvane_tools

#endif
