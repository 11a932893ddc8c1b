// Fuzz target: capture files that fwupdate-mobile replays.
//
// Any bytes are read as a capture or refused as a whole with the offset of
// the bad block. A capture that is read holds packets whose captured bytes fit
// their blocks; a replay takes it only when every packet is a directed
// transfer of the accessory link and the phone sent at least one.
#include <cstddef>
#include <cstdint>
#include <string>

#include "capture_replay.h"
#include "fuzz_check.h"
#include "pcapng_reader.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string capture(reinterpret_cast<const char*>(data), size);
    norvane_tools::pcapng_reader reader;
    if (reader.read_bytes(capture) != 0) {
        FUZZ_CHECK(reader.packets().empty());
        FUZZ_CHECK(reader.last_error().rfind("block at offset ", 0) == 0);
        return 0;
    }
    size_t bytes = 0;
    for (const norvane_tools::pcapng_packet& packet : reader.packets()) {
        FUZZ_CHECK(packet.direction <= norvane_tools::pcapng::direction_mask);
        bytes += packet.bytes.size();
    }
    FUZZ_CHECK(bytes <= size);

    norvane_tools::capture_replay replay;
    if (replay.load(reader.packets()) != 0) {
        FUZZ_CHECK(!replay.error().empty());
        return 0;
    }
    FUZZ_CHECK(replay.phone_transfers() >= 1);
    FUZZ_CHECK(replay.phone_transfers() + replay.replies() == reader.packets().size());
    for (const norvane_tools::pcapng_packet& packet : reader.packets()) {
        FUZZ_CHECK(packet.link_type == norvane_tools::pcapng::link_type_user0);
        FUZZ_CHECK(packet.bytes.size() == packet.original_size);
    }
    return 0;
}
