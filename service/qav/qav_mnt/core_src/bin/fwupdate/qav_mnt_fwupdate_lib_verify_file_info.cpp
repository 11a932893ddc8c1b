#include "qav_mnt_fwupdate_lib_verify_file_info.h"

namespace norvane {

verify_file_info::verify_file_info() : file_name(), check_sum(), file_size(0) {}

verify_file_info::verify_file_info(const verify_file_info& other) = default;

verify_file_info& verify_file_info::operator=(const verify_file_info& other) = default;

verify_file_info::~verify_file_info() = default;

int asc(const verify_file_info& a, const verify_file_info& b)
{
    // std::string::compare goes through char_traits<char>::compare, which
    // compares as unsigned char (memcmp) and then by length.
    return a.file_name.compare(b.file_name) < 0 ? 1 : 0;
}

}  // namespace norvane
