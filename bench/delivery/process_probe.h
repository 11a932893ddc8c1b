// Readings of another process of this machine, taken from outside while it
// runs (or after it ended, until it is reaped): its CPU time over all its
// threads and its minor page faults.
#ifndef NORVANE_BENCH_PROCESS_PROBE_H
#define NORVANE_BENCH_PROCESS_PROBE_H

#include <ctime>
#include <sys/types.h>

namespace norvane_bench {

struct process_sample {
    long long cpu_ns = 0;       // user and system time of all its threads
    long long minor_faults = 0;
};

class process_probe {
public:
    explicit process_probe(pid_t pid);

    // 0 with the sample, or 1 when the process cannot be read.
    int sample(process_sample& reading) const;

private:
    pid_t pid_;
    clockid_t cpu_clock_;
    bool has_clock_;
};

}  // namespace norvane_bench

#endif
