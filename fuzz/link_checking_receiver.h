// The receiver of the link fuzz target. It holds a model of the reassembly
// (idle or in a packet, the packet's total and received sizes, in the same
// 32-bit arithmetic as the link), predicts the notifications that each
// transfer must produce, and checks the ones that arrive: header fields as
// decoded from the wire, body size and start, end flags, and the link's own
// counters afterwards. Every body byte is read, so a sanitizer sees any read
// beyond a transfer's length plus its 16 bytes of slack.
#ifndef NORVANE_FUZZ_LINK_CHECKING_RECEIVER_H
#define NORVANE_FUZZ_LINK_CHECKING_RECEIVER_H

#include <cstdint>

#include "qav_mnt_fwupdate_lib_receiver_aoa.h"

namespace norvane {

class link_checking_receiver : public qav_mnt_fwupdate_lib_receiver_aoa {
public:
    link_checking_receiver();
    ~link_checking_receiver() override;

    // Predicts the notifications of one transfer; data holds len bytes
    // followed by 16 bytes of slack.
    void expect_transfer(int event, const unsigned char* data, int len);
    // Checks that exactly the predicted notifications arrived and that the
    // link's counters match the model.
    void check_transfer_done(uint32_t link_total_size, uint32_t link_received_size);
    // Ends a packet left open: the link receives fake continuation transfers
    // whose bytes nobody reads. Returns the size still missing (0: idle).
    uint32_t missing_size() const;
    void set_draining(int draining);

    int act_notify_recv_header(const QAV_MNT_FWUPDATE_PACKATE_HEADER_& header) override;
    int act_notify_recv_body(unsigned int size, const char* data, int isRecvEnd) override;

private:
    static uint16_t wire_16_(const unsigned char* bytes);
    static uint32_t wire_32_(const unsigned char* bytes);
    void touch_(const char* data, unsigned int size);

    // The model.
    uint32_t total_size_;
    uint32_t received_size_;

    // What the current transfer must produce.
    int expect_header_;
    int expect_body_;
    QAV_MNT_FWUPDATE_PACKATE_HEADER_ expected_header_;
    unsigned int expected_body_size_;
    const char* expected_body_data_;
    int expected_end_;
    int headers_seen_;
    int bodies_seen_;
    int draining_;
    unsigned int checksum_;

    // Independent of the model: body bytes delivered for the current packet
    // and the size its header announced (header included, 32-bit as on the
    // wire).
    uint32_t packet_bytes_;
    uint32_t packet_total_;
};

}  // namespace norvane

#endif
