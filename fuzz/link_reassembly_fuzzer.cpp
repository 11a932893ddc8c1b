// Fuzz target: the link's reassembly of transfers into packets.
//
// The input is a sequence of transfers, each written as one control byte
// (0xF0 and above: a non-zero event), a 16-bit little-endian length and that
// many bytes (cut short at the end of the input; at most 65536, the largest
// transfer of the accessory library). Each transfer is handed to the link in
// its own heap block of exactly its length plus 16 zero bytes of slack, as
// the accessory library delivers it, and the checking receiver verifies every
// notification. A packet still open at the end is completed with transfers
// nobody reads, so the next input starts on an idle link.
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "link_checking_receiver.h"
#include "qav_mnt_fwupdate_lib_communicate_aoa.h"

namespace {

const size_t SLACK_SIZE = 16;
const size_t MAX_TRANSFER_SIZE = 65536;

norvane::link_checking_receiver& receiver_()
{
    static norvane::link_checking_receiver receiver;
    return receiver;
}

// The link keeps its receiver even when connecting fails; no peer listens at
// this path, so the link is wired to the checking receiver without a thread.
norvane::qav_mnt_fwupdate_lib_communicate_aoa* link_()
{
    static norvane::qav_mnt_fwupdate_lib_communicate_aoa* link = nullptr;
    if (link == nullptr) {
        setenv("FWUPDATE_AOA_SOCKET", "/nonexistent-fuzz-folder/aoa.sock", 1);
        link = norvane::qav_mnt_fwupdate_lib_communicate_aoa::get_instance();
        link->connect(&receiver_());
    }
    return link;
}

void deliver_(int event, const uint8_t* bytes, size_t length)
{
    std::vector<unsigned char> transfer(length + SLACK_SIZE, 0);
    if (length > 0) {
        std::memcpy(transfer.data(), bytes, length);
    }
    receiver_().expect_transfer(event, transfer.data(), static_cast<int>(length));
    norvane::qav_mnt_fwupdate_lib_communicate_aoa::recv(event, transfer.data(),
                                                        static_cast<int>(length));
    receiver_().check_transfer_done(link_()->rcv_total_size(), link_()->rcved_size());
}

void drain_()
{
    unsigned char unread[SLACK_SIZE] = {};
    receiver_().set_draining(1);
    while (receiver_().missing_size() != 0) {
        uint32_t missing = receiver_().missing_size();
        int length = missing > static_cast<uint32_t>(INT_MAX) ? INT_MAX : static_cast<int>(missing);
        receiver_().expect_transfer(0, unread, length);
        norvane::qav_mnt_fwupdate_lib_communicate_aoa::recv(0, unread, length);
        receiver_().check_transfer_done(link_()->rcv_total_size(), link_()->rcved_size());
    }
    receiver_().set_draining(0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    link_();
    size_t offset = 0;
    while (offset < size) {
        uint8_t control = data[offset++];
        int event = control >= 0xF0 ? control - 0xEF : 0;
        size_t length = 0;
        if (offset < size) {
            length = data[offset++];
        }
        if (offset < size) {
            length |= static_cast<size_t>(data[offset++]) << 8;
        }
        if (length == 0xFFFF) {
            length = MAX_TRANSFER_SIZE;
        }
        if (length > size - offset) {
            length = size - offset;
        }
        deliver_(event, data + offset, length);
        offset += length;
    }
    drain_();
    return 0;
}
