#include "bsd_sum.h"

#include <cstdio>

namespace norvane_test {

unsigned int bsd_sum(const std::string& bytes)
{
    unsigned int checksum = 0;
    for (unsigned char byte : bytes) {
        checksum = (checksum >> 1) + ((checksum & 1u) << 15);
        checksum = (checksum + byte) & 0xFFFFu;
    }
    return checksum;
}

std::string bsd_sum_text(const std::string& bytes)
{
    char text[8];
    std::snprintf(text, sizeof text, "%05u", bsd_sum(bytes));
    return text;
}

}  // namespace norvane_test
