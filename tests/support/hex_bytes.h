// Bytes written as hex in a test ("00 01 80 12 ..."), the way the protocol
// notes and the tools show them.
#ifndef NORVANE_TESTS_HEX_BYTES_H
#define NORVANE_TESTS_HEX_BYTES_H

#include <string>

namespace norvane_test {

// The bytes of pairs of hex digits; blanks between them are skipped. A
// malformed text fails the calling test and gives no bytes.
std::string hex_bytes(const std::string& hex);

}  // namespace norvane_test

#endif
