// The BSD checksum, computed here independently of any tool, so that tests can
// check what the checksum command and the update library report.
#ifndef NORVANE_TESTS_BSD_SUM_H
#define NORVANE_TESTS_BSD_SUM_H

#include <string>

namespace norvane_test {

// 16-bit BSD sum: rotate right by one, add the byte, keep 16 bits.
unsigned int bsd_sum(const std::string& bytes);

// The first field of the tool's output line: the sum as "%05u".
std::string bsd_sum_text(const std::string& bytes);

}  // namespace norvane_test

#endif
