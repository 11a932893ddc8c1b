// Waiting for a program's log: a test that must know how far the program has
// got reads its log until a line shows up, with a deadline, instead of
// sleeping for a while and hoping.
#ifndef NORVANE_TESTS_LOG_WAIT_H
#define NORVANE_TESTS_LOG_WAIT_H

#include <cstddef>
#include <string>
#include <vector>

namespace norvane_test {

// Waits at most timeout_ms until the file holds text at or after byte
// offset from. True when it does.
bool wait_for_log_text(const std::string& path, const std::string& text, int timeout_ms,
                       size_t from = 0);
// Waits at most timeout_ms until the file holds one of the texts at or after
// byte offset from. The index of a text that is there (the first in the
// list when several are), or -1 on time-out.
int wait_for_any_log_text(const std::string& path, const std::vector<std::string>& texts,
                          int timeout_ms, size_t from = 0);

}  // namespace norvane_test

#endif
