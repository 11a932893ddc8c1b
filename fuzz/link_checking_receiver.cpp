#include "link_checking_receiver.h"

#include "fuzz_check.h"

namespace norvane {

namespace {

const uint32_t HEADER_SIZE = QAV_MNT_FWUPDATE_PACKATE_HEADER_SIZE;

}  // namespace

link_checking_receiver::link_checking_receiver()
    : total_size_(0),
      received_size_(0),
      expect_header_(0),
      expect_body_(0),
      expected_header_(),
      expected_body_size_(0),
      expected_body_data_(nullptr),
      expected_end_(0),
      headers_seen_(0),
      bodies_seen_(0),
      draining_(0),
      checksum_(0),
      packet_bytes_(0),
      packet_total_(0)
{
}

link_checking_receiver::~link_checking_receiver() = default;

uint16_t link_checking_receiver::wire_16_(const unsigned char* bytes)
{
    return static_cast<uint16_t>((bytes[0] << 8) | bytes[1]);
}

uint32_t link_checking_receiver::wire_32_(const unsigned char* bytes)
{
    return (static_cast<uint32_t>(bytes[0]) << 24) | (static_cast<uint32_t>(bytes[1]) << 16) |
           (static_cast<uint32_t>(bytes[2]) << 8) | static_cast<uint32_t>(bytes[3]);
}

void link_checking_receiver::expect_transfer(int event, const unsigned char* data, int len)
{
    expect_header_ = 0;
    expect_body_ = 0;
    headers_seen_ = 0;
    bodies_seen_ = 0;
    if (event != 0) {
        return;  // dropped without a notification
    }
    const uint32_t length = static_cast<uint32_t>(len);
    if (received_size_ != 0) {
        // Continuation: the whole transfer is body, surplus included.
        received_size_ += length;
        expect_body_ = 1;
        expected_body_size_ = length;
        expected_body_data_ = reinterpret_cast<const char*>(data);
        expected_end_ = received_size_ >= total_size_ ? 1 : 0;
        if (expected_end_ != 0) {
            total_size_ = 0;
            received_size_ = 0;
        }
        return;
    }
    // A new packet: the header is read from the first 16 bytes (slack
    // included when the transfer is shorter).
    expect_header_ = 1;
    expected_header_.version = wire_16_(data);
    expected_header_.reserved = wire_16_(data + 2);
    expected_header_.request_id = wire_16_(data + 4);
    expected_header_.result_code = wire_16_(data + 6);
    expected_header_.command = wire_16_(data + 8);
    expected_header_.option_code = wire_16_(data + 10);
    expected_header_.data_size = wire_32_(data + 12);
    if (expected_header_.data_size == 0) {
        return;
    }
    expect_body_ = 1;
    expected_body_size_ = length;
    expected_body_data_ = reinterpret_cast<const char*>(data) + HEADER_SIZE;
    const uint32_t total = expected_header_.data_size + HEADER_SIZE;
    expected_end_ = 1;
    if (total > length) {
        total_size_ = total;
        received_size_ = length;
        expected_end_ = 0;
    }
}

void link_checking_receiver::check_transfer_done(uint32_t link_total_size,
                                                 uint32_t link_received_size)
{
    FUZZ_CHECK(headers_seen_ == expect_header_);
    FUZZ_CHECK(bodies_seen_ == expect_body_);
    FUZZ_CHECK(link_total_size == total_size_);
    FUZZ_CHECK(link_received_size == received_size_);
}

uint32_t link_checking_receiver::missing_size() const
{
    if (received_size_ == 0) {
        return 0;
    }
    return total_size_ - received_size_;
}

void link_checking_receiver::set_draining(int draining)
{
    draining_ = draining;
}

int link_checking_receiver::act_notify_recv_header(const QAV_MNT_FWUPDATE_PACKATE_HEADER_& header)
{
    ++headers_seen_;
    FUZZ_CHECK(expect_header_ == 1);
    FUZZ_CHECK(headers_seen_ == 1);
    FUZZ_CHECK(bodies_seen_ == 0);  // the header comes before its body
    FUZZ_CHECK(header.version == expected_header_.version);
    FUZZ_CHECK(header.reserved == expected_header_.reserved);
    FUZZ_CHECK(header.request_id == expected_header_.request_id);
    FUZZ_CHECK(header.result_code == expected_header_.result_code);
    FUZZ_CHECK(header.command == expected_header_.command);
    FUZZ_CHECK(header.option_code == expected_header_.option_code);
    FUZZ_CHECK(header.data_size == expected_header_.data_size);
    packet_bytes_ = 0;
    packet_total_ = header.data_size + HEADER_SIZE;
    return 0;
}

int link_checking_receiver::act_notify_recv_body(unsigned int size, const char* data,
                                                 int isRecvEnd)
{
    ++bodies_seen_;
    FUZZ_CHECK(expect_body_ == 1);
    FUZZ_CHECK(bodies_seen_ == 1);
    FUZZ_CHECK(size == expected_body_size_);
    FUZZ_CHECK(data == expected_body_data_);
    FUZZ_CHECK(isRecvEnd == expected_end_);
    // The pieces of a packet add up: it ends exactly when the bytes
    // delivered (the first piece counted with its header) reach its size.
    packet_bytes_ += size;
    FUZZ_CHECK(isRecvEnd == (packet_bytes_ >= packet_total_ ? 1 : 0));
    if (draining_ == 0) {
        touch_(data, size);
    }
    return 0;
}

// Reads every byte the receiver is allowed to read, as the controller's copy
// into its message would.
void link_checking_receiver::touch_(const char* data, unsigned int size)
{
    for (unsigned int i = 0; i < size; ++i) {
        checksum_ += static_cast<unsigned char>(data[i]);
    }
}

}  // namespace norvane
