// The device's replies in a delivery as the phone tools run it, as spaced
// hex: version 1, reserved 0, the handshake query with request id 0, the
// upload with request id 1 and the status queries after it with 2 and 3.
// Written out byte by byte, so that a test compares what crossed the link
// with the protocol, not with an encoder.
#ifndef NORVANE_TESTS_DELIVERY_REPLIES_H
#define NORVANE_TESTS_DELIVERY_REPLIES_H

namespace norvane_test {

// The handshake's reply: still ongoing (option 1), result 0.
inline constexpr const char* handshake_ok = "00 01 00 00 00 00 00 00 80 13 00 01 00 00 00 00";
// The upload reply: stored (result 0) or not (result 20).
inline constexpr const char* upload_ok = "00 01 00 00 00 01 00 00 80 12 00 00 00 00 00 00";
inline constexpr const char* upload_error_in_download =
    "00 01 00 00 00 01 00 14 80 12 00 00 00 00 00 00";
// Status replies to request 2 and 3: finished (option 2) with result 0.
inline constexpr const char* finished_ok_2 = "00 01 00 00 00 02 00 00 80 13 00 02 00 00 00 00";
inline constexpr const char* finished_ok_3 = "00 01 00 00 00 03 00 00 80 13 00 02 00 00 00 00";
// Status replies to request 2: finished with result 21 (error in firmware
// file) or 22 (error in storing file).
inline constexpr const char* finished_fw_error_2 =
    "00 01 00 00 00 02 00 15 80 13 00 02 00 00 00 00";
inline constexpr const char* finished_storing_error_2 =
    "00 01 00 00 00 02 00 16 80 13 00 02 00 00 00 00";

}  // namespace norvane_test

#endif
