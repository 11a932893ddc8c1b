// Reads a whole file that must not exceed a size limit (a key file, a
// manifest, a signature) without ever holding more than the limit and one
// byte. Stateless; created on the caller's stack.
#ifndef NORVANE_QAV_MNT_FWUPDATE_LIB_BOUNDED_READ_H
#define NORVANE_QAV_MNT_FWUPDATE_LIB_BOUNDED_READ_H

#include <cstddef>
#include <string>

namespace norvane {

class qav_mnt_fwupdate_lib_bounded_read {
public:
    enum result { READ_OK = 0, READ_FAILED = 1, READ_TOO_LARGE = 2 };

    qav_mnt_fwupdate_lib_bounded_read();
    ~qav_mnt_fwupdate_lib_bounded_read();

    // text = the file's bytes when there are at most limit of them. On
    // READ_FAILED reason says why (the system's words); text is untouched
    // unless the result is READ_OK.
    result read(const std::string& path, size_t limit, std::string& text, std::string& reason);
};

}  // namespace norvane

#endif
