// The fake platform as the platform of a whole program: the real entry
// point linked with the fakes and started as a child process by a test.
// Such a program also links the objects of fake_platform_process_start.cpp:
// they arm the faults named in FWUPDATE_FAULTS before main runs and, when
// the process exits normally, write the exit report to standard error, one
// line that says what the program left behind on the platform:
//
//   [fake platform] queues_alive[0] blocks_outstanding[0] upd_calls[dlstart]
//
// A process that ends without unwinding (an escaped exception, an abort)
// writes no such line.
#ifndef NORVANE_TESTS_FAKE_PLATFORM_PROCESS_H
#define NORVANE_TESTS_FAKE_PLATFORM_PROCESS_H

#include <string>

namespace norvane_fake {

class fake_platform_process {
public:
    // Arms the comma-separated faults: "receive_bad_alloc" makes the first
    // queue receive throw std::bad_alloc. 0, or 1 for an unknown name.
    static int arm_faults(const std::string& faults);
    // The exit line, without its line feed.
    static std::string exit_report();
};

}  // namespace norvane_fake

#endif
