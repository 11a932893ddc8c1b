#include "process_probe.h"

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

namespace norvane_bench {

namespace {

// Field 10 of /proc/PID/stat, counted after the command name in brackets
// (which may hold blanks).
int read_minor_faults_(pid_t pid, long long& faults)
{
    std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
    std::string text((std::istreambuf_iterator<char>(stat)), std::istreambuf_iterator<char>());
    const size_t name_end = text.rfind(')');
    if (name_end == std::string::npos) {
        return 1;
    }
    std::istringstream fields(text.substr(name_end + 1));
    std::string field;
    // state ppid pgrp session tty_nr tpgid flags minflt
    for (int index = 0; index < 8; ++index) {
        if (!(fields >> field)) {
            return 1;
        }
    }
    faults = std::atoll(field.c_str());
    return 0;
}

}  // namespace

process_probe::process_probe(pid_t pid) : pid_(pid), cpu_clock_(), has_clock_(false)
{
    has_clock_ = ::clock_getcpuclockid(pid, &cpu_clock_) == 0;
}

int process_probe::sample(process_sample& reading) const
{
    timespec cpu{};
    if (!has_clock_ || ::clock_gettime(cpu_clock_, &cpu) != 0) {
        return 1;
    }
    reading.cpu_ns = static_cast<long long>(cpu.tv_sec) * 1000000000LL + cpu.tv_nsec;
    return read_minor_faults_(pid_, reading.minor_faults);
}

}  // namespace norvane_bench
