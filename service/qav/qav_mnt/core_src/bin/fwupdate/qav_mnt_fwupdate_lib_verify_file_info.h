// One file's record for package verification: the bare file name, its
// checksum text and its size. The list declared by FW_package.xml and the list
// found in the extraction folder are both vectors of these records.
#ifndef NORVANE_QAV_MNT_FWUPDATE_LIB_VERIFY_FILE_INFO_H
#define NORVANE_QAV_MNT_FWUPDATE_LIB_VERIFY_FILE_INFO_H

#include <cstdint>
#include <string>

namespace norvane {

class verify_file_info {
public:
    verify_file_info();
    verify_file_info(const verify_file_info& other);
    verify_file_info& operator=(const verify_file_info& other);
    ~verify_file_info();

    std::string file_name;
    std::string check_sum;
    int32_t file_size;
};

// Less-than predicate on file_name alone: bytewise on unsigned bytes, the
// shorter name first when one is a prefix of the other; case-sensitive and
// without locale. Returns 1 when a sorts strictly before b, else 0.
int asc(const verify_file_info& a, const verify_file_info& b);

}  // namespace norvane

#endif
