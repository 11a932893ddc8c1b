// The "sum" applet of the host's busybox front: the BSD checksum and size in
// 1 KiB blocks of files, in one read pass each, with the output, messages
// and exit status of coreutils sum:
//   sum FILE...   "%05u %5u FILE" per file, "-" being standard input
//   sum           "%05u %5u" for standard input
// A file that cannot be read gives "sum: NAME: <reason>" on standard error,
// the others are still summed, and the exit status is 1.
#ifndef NORVANE_PLATFORM_HOST_BSD_SUM_APPLET_H
#define NORVANE_PLATFORM_HOST_BSD_SUM_APPLET_H

#include <cstdint>
#include <string>
#include <vector>

namespace norvane {

class bsd_sum_applet {
public:
    // Sums the operands (plain file names; options are not handled here).
    // Returns the exit status.
    int run(const std::vector<std::string>& operands);

    // The checksum of bytes appended to a running checksum.
    static uint16_t add_bytes(uint16_t checksum, const unsigned char* bytes, size_t size);

private:
    int sum_operand_(const std::string& operand, bool print_name);
    // 0 with the checksum and size, or the errno of the failed read.
    int sum_descriptor_(int fd, uint16_t& checksum, uint64_t& size);
    void print_line_(const std::string& line);
    void report_(const std::string& name, int error);
    int finish_output_();

    bool output_failed_ = false;
};

}  // namespace norvane

#endif
