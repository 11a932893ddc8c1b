#include "bsd_sum_collision.h"

#include "bsd_sum.h"

namespace norvane_test {

namespace {

unsigned int step_(unsigned int checksum, unsigned char byte)
{
    checksum = (checksum >> 1) + ((checksum & 1u) << 15);
    return (checksum + byte) & 0xFFFFu;
}

}  // namespace

std::string same_sum_change(const std::string& bytes)
{
    if (bytes.size() < 3) {
        return "";
    }
    const size_t head = bytes.size() - 3;
    const unsigned int before_tail = bsd_sum(bytes.substr(0, head));
    const unsigned int wanted = bsd_sum(bytes);
    // Try every first and second tail byte; the third is then determined.
    for (unsigned int first = 0; first < 256; ++first) {
        for (unsigned int second = 0; second < 256; ++second) {
            const unsigned int partial =
                step_(step_(before_tail, static_cast<unsigned char>(first)),
                      static_cast<unsigned char>(second));
            const unsigned int rotated = (partial >> 1) + ((partial & 1u) << 15);
            const unsigned int third = (wanted - rotated) & 0xFFFFu;
            if (third > 255) {
                continue;
            }
            std::string changed = bytes.substr(0, head);
            changed += static_cast<char>(first);
            changed += static_cast<char>(second);
            changed += static_cast<char>(third);
            if (changed != bytes && bsd_sum(changed) == wanted) {
                return changed;
            }
        }
    }
    return "";
}

}  // namespace norvane_test
