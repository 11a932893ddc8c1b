// Runs a shell command line as a user would and keeps what it printed on
// each stream and its exit status.
#ifndef NORVANE_TESTS_COMMAND_OUTPUT_H
#define NORVANE_TESTS_COMMAND_OUTPUT_H

#include <string>

namespace norvane_test {

struct command_output {
    int status = -1;      // the exit status, or -1 when the command did not exit
    std::string out;      // standard output
    std::string err;      // standard error
};

// Runs command through /bin/sh and waits for it.
command_output run_command(const std::string& command);

// text as one word of a shell command line: single-quoted, a quote inside
// written as '\''.
std::string shell_word(const std::string& text);

}  // namespace norvane_test

#endif
