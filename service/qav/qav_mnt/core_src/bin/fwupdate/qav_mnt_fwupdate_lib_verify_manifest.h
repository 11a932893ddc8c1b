// Reads FW_package.sha256, the signed list of a package's files, in the form
// that sha256sum writes and checks: one line "<64 lower-case hex>  <name>\n"
// per file, names sorted bytewise, each name once and plain (no folder part,
// not "." or ".."). The reader is strict: anything else is refused with the
// line and the reason, since only one text can stand for a set of files.
// Stateless; created on the caller's stack.
#ifndef NORVANE_QAV_MNT_FWUPDATE_LIB_VERIFY_MANIFEST_H
#define NORVANE_QAV_MNT_FWUPDATE_LIB_VERIFY_MANIFEST_H

#include <cstddef>
#include <string>
#include <vector>

namespace norvane {

// One line of the manifest.
struct manifest_entry {
    std::string file_name;
    std::string sha256;  // 64 lower-case hex digits
};

class qav_mnt_fwupdate_lib_verify_manifest {
public:
    // Longest name a file system takes.
    static constexpr size_t MAX_NAME_SIZE = 255;

    qav_mnt_fwupdate_lib_verify_manifest();
    ~qav_mnt_fwupdate_lib_verify_manifest();

    // entries = the lines of text in order. 0; or 1 with line (counted from
    // 1; 0 when the text as a whole is wrong) and reason set, entries
    // untouched.
    int read(const std::string& text, std::vector<manifest_entry>& entries, int& line,
             std::string& reason);

private:
    int read_line_(const std::string& line, manifest_entry& entry, std::string& reason);
    int check_name_(const std::string& name, std::string& reason);
};

}  // namespace norvane

#endif
