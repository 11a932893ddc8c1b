#include "bsd_sum_applet.h"

#include "quoted_file_name.h"

#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <unistd.h>

namespace norvane {

namespace {

constexpr size_t READ_SIZE = size_t{128} * 1024;

// Where a file is read into. It starts on a page boundary like the file's
// pages: a copy whose destination lies a few bytes past its source's offset
// in a page runs many times slower on x86 (4K aliasing), and a buffer from
// malloc starts 16 bytes into its page.
struct alignas(4096) read_buffer {
    unsigned char bytes[READ_SIZE];
};

// Writes all of text to fd. 0, or the errno of the failed write.
int write_all_(int fd, const std::string& text)
{
    size_t done = 0;
    while (done < text.size()) {
        ssize_t written = ::write(fd, text.data() + done, text.size() - done);
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            return written < 0 ? errno : EIO;
        }
        done += static_cast<size_t>(written);
    }
    return 0;
}

}  // namespace

int bsd_sum_applet::run(const std::vector<std::string>& operands)
{
    int status = 0;
    if (operands.empty()) {
        status |= sum_operand_("-", false);
    }
    for (const std::string& operand : operands) {
        status |= sum_operand_(operand, true);
    }
    status |= finish_output_();
    return status;
}

// The BSD algorithm: rotate the 16-bit sum right by one bit, add the byte.
uint16_t bsd_sum_applet::add_bytes(uint16_t checksum, const unsigned char* bytes, size_t size)
{
    unsigned int sum = checksum;
    for (size_t index = 0; index < size; ++index) {
        sum = (sum >> 1) + ((sum & 1u) << 15);
        sum = (sum + bytes[index]) & 0xFFFFu;
    }
    return static_cast<uint16_t>(sum);
}

int bsd_sum_applet::sum_operand_(const std::string& operand, bool print_name)
{
    const bool is_standard_input = operand == "-";
    int fd = is_standard_input ? STDIN_FILENO : ::open(operand.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        report_(operand, errno);
        return 1;
    }
    uint16_t checksum = 0;
    uint64_t size = 0;
    const int error = sum_descriptor_(fd, checksum, size);
    if (!is_standard_input) {
        ::close(fd);
    }
    if (error != 0) {
        report_(operand, error);
        return 1;
    }
    // Blocks of 1 KiB, a started block counting whole.
    char text[64];
    std::snprintf(text, sizeof text, "%05u %5" PRIu64, static_cast<unsigned int>(checksum),
                  (size + 1023) / 1024);
    std::string line = text;
    if (print_name) {
        line += " " + operand;
    }
    print_line_(line + "\n");
    return 0;
}

int bsd_sum_applet::sum_descriptor_(int fd, uint16_t& checksum, uint64_t& size)
{
    std::unique_ptr<read_buffer> buffer(new read_buffer);
    for (;;) {
        ssize_t got = ::read(fd, buffer->bytes, READ_SIZE);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0) {
            return errno;
        }
        if (got == 0) {
            return 0;
        }
        checksum = add_bytes(checksum, buffer->bytes, static_cast<size_t>(got));
        size += static_cast<uint64_t>(got);
    }
}

// Each line goes out as it is ready, as coreutils writes it.
void bsd_sum_applet::print_line_(const std::string& line)
{
    if (!output_failed_ && write_all_(STDOUT_FILENO, line) != 0) {
        output_failed_ = true;
    }
}

void bsd_sum_applet::report_(const std::string& name, int error)
{
    write_all_(STDERR_FILENO,
               "sum: " + quoted_file_name(name) + ": " + std::strerror(error) + "\n");
}

// As coreutils ends: a failed write of the output is reported once, with the
// reason only when closing the output fails too (a closed output gives "Bad
// file descriptor"; a full disk, whose close succeeds, none).
int bsd_sum_applet::finish_output_()
{
    const bool close_failed = ::close(STDOUT_FILENO) != 0;
    const int close_error = errno;
    if (!output_failed_ && (!close_failed || close_error == EBADF)) {
        return 0;
    }
    std::string message = "sum: write error";
    if (close_failed) {
        message += std::string(": ") + std::strerror(close_error);
    }
    write_all_(STDERR_FILENO, message + "\n");
    return 1;
}

}  // namespace norvane
