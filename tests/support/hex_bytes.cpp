#include "hex_bytes.h"

#include <gtest/gtest.h>

#include <cctype>

namespace norvane_test {

std::string hex_bytes(const std::string& hex)
{
    std::string digits;
    for (char c : hex) {
        if (std::isxdigit(static_cast<unsigned char>(c))) {
            digits += c;
        } else if (c != ' ') {
            ADD_FAILURE() << "not hex: " << hex;
            return "";
        }
    }
    if (digits.size() % 2 != 0) {
        ADD_FAILURE() << "an odd number of hex digits: " << hex;
        return "";
    }
    std::string bytes;
    for (size_t i = 0; i < digits.size(); i += 2) {
        bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
    }
    return bytes;
}

}  // namespace norvane_test
