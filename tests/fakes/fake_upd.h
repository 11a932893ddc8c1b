// Test double of the update library: records every call with its arguments
// as one line of text ("dlstart", "dlfinish 1", "flopen NAME 1",
// "flwrite 0 6", "flclose 0"), keeps the bytes written to records, and lets
// each call return a chosen result.
#ifndef NORVANE_TESTS_FAKE_UPD_H
#define NORVANE_TESTS_FAKE_UPD_H

#include <map>
#include <string>
#include <vector>

namespace norvane_fake {

class fake_upd {
public:
    static void reset();

    // Result of every later call named call ("dlstart", "dlfinish", "flopen",
    // "flwrite", "flclose"); the call is recorded either way.
    static void set_result(const std::string& call, int result);

    static std::vector<std::string> calls();
    // Bytes of each flwrite call, in order.
    static std::vector<std::string> written();
    // Record contents by name, as of their last successful flclose.
    static std::map<std::string, std::string> records();
};

}  // namespace norvane_fake

#endif
