// Runs a shell command the way a user's script would and keeps what it said
// on each stream and how it ended.
#ifndef NORVANE_TESTS_COMMAND_RUN_H
#define NORVANE_TESTS_COMMAND_RUN_H

#include <string>

namespace norvane_test {

struct command_output {
    int status = -1;      // exit status; -1 when the command did not exit normally
    std::string out;      // standard output
    std::string err;      // standard error
};

// Runs command with "sh -c", standard input from /dev/null.
command_output run_command(const std::string& command);

}  // namespace norvane_test

#endif
