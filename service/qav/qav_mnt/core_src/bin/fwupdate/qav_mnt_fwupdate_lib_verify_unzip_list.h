// The list of files really found in the extraction folder: one record per
// directory entry with its size and its checksum, narrowed to the files that
// the package XML declares. Stateless; created on the caller's stack.
#ifndef NORVANE_QAV_MNT_FWUPDATE_LIB_VERIFY_UNZIP_LIST_H
#define NORVANE_QAV_MNT_FWUPDATE_LIB_VERIFY_UNZIP_LIST_H

#include <string>
#include <vector>

#include "qav_mnt_fwupdate_lib_verify_file_info.h"

namespace norvane {

class qav_mnt_fwupdate_lib_verify_unzip_list {
public:
    qav_mnt_fwupdate_lib_verify_unzip_list();
    ~qav_mnt_fwupdate_lib_verify_unzip_list();

    // Appends one record per entry of the folder (one level, "." and ".."
    // skipped) in directory order. list is not cleared first; on failure the
    // records appended so far stay.
    int get_info_list(const std::string& folder_path, std::vector<verify_file_info>& list);

    // unzip_info_list = the folder's entries whose names xml_info_list holds,
    // with the folder's own size and checksum. Undeclared files are dropped
    // without a message.
    int get_list(const std::string& folder_path, std::vector<verify_file_info>& xml_info_list,
                 std::vector<verify_file_info>& unzip_info_list);

    // list = the whole folder minus its first FW_package.xml record.
    int get_list(const std::string& folder_path, std::vector<verify_file_info>& list);

private:
    int append_entry_info_(const std::string& folder_path, const char* entry_name,
                           std::vector<verify_file_info>& list);
    int gather_(const std::string& folder_path, std::vector<verify_file_info>& list);
    void dump_(const std::string& folder_path, const std::vector<verify_file_info>& list);
};

}  // namespace norvane

#endif
