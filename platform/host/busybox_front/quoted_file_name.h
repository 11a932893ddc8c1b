// File names in the checksum front's error messages, quoted the way
// coreutils quotes them there (its "shell-escape" style with colons quoted),
// so that the front's messages are byte for byte those of coreutils sum:
//   firmware.bin        firmware.bin
//   a b, a:b, ~x        'a b', 'a:b', '~x'
//   it's                "it's"
//   a<TAB>b             'a'$'\t''b'
// Printable is decided by the LC_CTYPE locale, as coreutils decides it.
#ifndef NORVANE_PLATFORM_HOST_QUOTED_FILE_NAME_H
#define NORVANE_PLATFORM_HOST_QUOTED_FILE_NAME_H

#include <string>

namespace norvane {

std::string quoted_file_name(const std::string& name);

}  // namespace norvane

#endif
