// Test double of the trust-folder lookup: returns the folder a test chose,
// "" (no trust folder) until one is chosen and after reset.
#ifndef NORVANE_TESTS_FAKE_TRUST_DIR_H
#define NORVANE_TESTS_FAKE_TRUST_DIR_H

#include <string>

namespace norvane_fake {

class fake_trust_dir {
public:
    static void reset();
    static void set(const std::string& folder);
};

}  // namespace norvane_fake

#endif
