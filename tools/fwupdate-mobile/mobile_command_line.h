// fwupdate-mobile's command line: its options and commands, checked in full
// before anything runs, its usage text and its exit statuses.
#ifndef NORVANE_TOOLS_MOBILE_COMMAND_LINE_H
#define NORVANE_TOOLS_MOBILE_COMMAND_LINE_H

#include "mobile_session.h"

#include <string>
#include <vector>

namespace norvane_tools {

// Exit statuses of fwupdate-mobile.
constexpr int exit_succeeded = 0;      // every command did what it should
constexpr int exit_failed = 1;         // a delivery failed, a replay differed, the program failed
constexpr int exit_usage = 2;          // the command line is wrong
constexpr int exit_could_not_run = 3;  // a file, the socket, the program or the capture failed

struct mobile_command {
    std::string name;                  // deliver, status, send-raw or replay
    std::vector<std::string> args;
};

struct mobile_settings {
    std::string socket_path;
    std::string state_dir;
    std::string run_binary;
    std::string faults;
    std::string program_log;
    std::string host_bin_dir;
    std::string launcher;
    std::string capture_path;
    upload_options upload;
    int timeout_s = 600;
    int exit_wait_s = 5;
    bool plain = false;
    bool wait_for_verification = false;
    bool handshake = true;             // --no-handshake turns the readiness handshake off
    bool help = false;
    std::vector<mobile_command> commands;
};

class mobile_command_line {
public:
    // host_bin_dir: the folder put first in the program's PATH unless
    // --host-bin says otherwise.
    explicit mobile_command_line(const std::string& host_bin_dir);

    // Reads the arguments (without the program name). 0, or 1 with error()
    // saying what is wrong. With --help anywhere, 0 and settings().help.
    int parse(const std::vector<std::string>& words);

    const mobile_settings& settings() const { return settings_; }
    const std::string& error() const { return error_; }
    static const char* usage();

private:
    int read_option_(const std::vector<std::string>& words, size_t& i);
    int check_commands_();
    int fail_(const std::string& what);

    mobile_settings settings_;
    std::string error_;
};

}  // namespace norvane_tools

#endif
