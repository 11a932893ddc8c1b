// Starts the update program the way the platform would on the device, with
// the host platform's environment, and reaps it.
#ifndef NORVANE_TOOLS_PROGRAM_RUNNER_H
#define NORVANE_TOOLS_PROGRAM_RUNNER_H

#include <string>
#include <sys/types.h>
#include <utility>
#include <vector>

namespace norvane_tools {

struct program_environment {
    std::string socket_path;      // FWUPDATE_AOA_SOCKET
    std::string state_dir;        // FWUPDATE_STATE_DIR
    std::string faults;           // FWUPDATE_FAULTS, empty for none
    std::string host_bin_dir;     // put first in PATH (the busybox front)
    std::string log_path;         // the program's standard output and error; empty: inherit
    // Words put before the binary, e.g. "qemu-arm -L /usr/arm-linux-gnueabihf"
    // to run a program built for the device under emulation.
    std::vector<std::string> launcher;
    // Further variables (name, value), set after the ones above, so they may
    // also replace one of them.
    std::vector<std::pair<std::string, std::string>> extra_variables;
};

// The extraction folder the program uses; the program never empties it, so
// whatever starts it on the host does.
extern const char* const fwupdate_work_dir;

// The words of a launcher written as one text, e.g. the value of
// FWUPDATE_E2E_LAUNCHER; empty for an empty text.
std::vector<std::string> launcher_words(const std::string& text);

class program_runner {
public:
    program_runner() = default;
    ~program_runner();
    program_runner(const program_runner&) = delete;
    program_runner& operator=(const program_runner&) = delete;

    // Empties the extraction folder. 0, or 1.
    static int empty_work_dir();
    // Starts binary with args. 0, or 1.
    int start(const std::string& binary, const program_environment& environment,
              const std::vector<std::string>& args = {});
    // Waits at most timeout_ms for the program to end; exit_status gets its
    // exit status (or 128 + signal). 0 when it ended, 1 on time-out.
    int wait_exit(int timeout_ms, int& exit_status);
    // The program's own peak resident memory so far, in KiB (its VmHWM),
    // or 0 once it has ended. The rusage of the reaped child would not do: it
    // counts the image the child had before exec, which shares the starter's
    // memory.
    long resident_high_water_kib() const;
    // Ends a program that is still running.
    void kill_program();
    bool running() const { return pid_ > 0; }
    // The running program's process id, or -1.
    pid_t pid() const { return pid_; }

private:
    pid_t pid_ = -1;
};

}  // namespace norvane_tools

#endif
