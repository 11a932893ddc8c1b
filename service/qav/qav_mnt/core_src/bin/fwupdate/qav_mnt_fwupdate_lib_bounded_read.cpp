#include "qav_mnt_fwupdate_lib_bounded_read.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace norvane {

qav_mnt_fwupdate_lib_bounded_read::qav_mnt_fwupdate_lib_bounded_read() {}

qav_mnt_fwupdate_lib_bounded_read::~qav_mnt_fwupdate_lib_bounded_read() {}

qav_mnt_fwupdate_lib_bounded_read::result qav_mnt_fwupdate_lib_bounded_read::read(
    const std::string& path, size_t limit, std::string& text, std::string& reason)
{
    FILE* file = std::fopen(path.c_str(), "rb");
    if (file == nullptr) {
        reason = std::strerror(errno);
        return READ_FAILED;
    }
    // One byte over the limit shows a file that is too large.
    std::string bytes(limit + 1, '\0');
    const size_t got = std::fread(&bytes[0], 1, bytes.size(), file);
    const int error = std::ferror(file) != 0 ? errno : 0;
    std::fclose(file);
    if (error != 0) {
        reason = std::strerror(error);
        return READ_FAILED;
    }
    if (got > limit) {
        return READ_TOO_LARGE;
    }
    bytes.resize(got);
    text.swap(bytes);
    return READ_OK;
}

}  // namespace norvane
