#include "qav_mnt_fwupdate_lib_verify_unzip_list.h"

#include <dirent.h>

#include <algorithm>
#include <cstring>

#include "qav_mnt_fwupdate_lib_log.h"
#include "qav_mnt_fwupdate_lib_util.h"

namespace norvane {

namespace {

const char* const PACKAGE_DESCRIPTION_NAME = "FW_package.xml";

bool is_dot_entry_(const char* name)
{
    return std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0;
}

bool is_declared_(const std::vector<verify_file_info>& xml_info_list, const std::string& file_name)
{
    for (const verify_file_info& declared : xml_info_list) {
        if (declared.file_name == file_name) {
            return true;
        }
    }
    return false;
}

}  // namespace

qav_mnt_fwupdate_lib_verify_unzip_list::qav_mnt_fwupdate_lib_verify_unzip_list() {}

qav_mnt_fwupdate_lib_verify_unzip_list::~qav_mnt_fwupdate_lib_verify_unzip_list() {}

// Entry types are not examined: a subfolder is stat'ed and checksummed like a
// file, and fails when the checksum tool prints nothing for it.
int qav_mnt_fwupdate_lib_verify_unzip_list::get_info_list(const std::string& folder_path,
                                                          std::vector<verify_file_info>& list)
{
    DIR* folder = ::opendir(folder_path.c_str());
    if (folder == nullptr) {
        qav_mnt_fwupdate_log_err(__func__, "Failed to open the directory. folder_path:[%s]\n",
                                 folder_path.c_str());
        return 1;
    }
    int result = 0;
    for (struct dirent* entry = ::readdir(folder); entry != nullptr && result == 0;
         entry = ::readdir(folder)) {
        if (!is_dot_entry_(entry->d_name)) {
            result = append_entry_info_(folder_path, entry->d_name, list);
        }
    }
    ::closedir(folder);
    return result;
}

int qav_mnt_fwupdate_lib_verify_unzip_list::append_entry_info_(const std::string& folder_path,
                                                               const char* entry_name,
                                                               std::vector<verify_file_info>& list)
{
    qav_mnt_fwupdate_lib_util util;
    verify_file_info info;
    if (util.get_entry_info(folder_path, entry_name, "get_info_list", info) != 0) {
        return 1;
    }
    list.push_back(info);
    return 0;
}

int qav_mnt_fwupdate_lib_verify_unzip_list::get_list(
    const std::string& folder_path, std::vector<verify_file_info>& xml_info_list,
    std::vector<verify_file_info>& unzip_info_list)
{
    unzip_info_list.clear();
    std::vector<verify_file_info> folder_list;
    if (gather_(folder_path, folder_list) != 0) {
        return 1;
    }
    for (const verify_file_info& found : folder_list) {
        if (is_declared_(xml_info_list, found.file_name)) {
            unzip_info_list.push_back(found);
        }
    }
    dump_(folder_path, unzip_info_list);
    return 0;
}

int qav_mnt_fwupdate_lib_verify_unzip_list::get_list(const std::string& folder_path,
                                                     std::vector<verify_file_info>& list)
{
    list.clear();
    if (gather_(folder_path, list) != 0) {
        return 1;
    }
    auto description = std::find_if(list.begin(), list.end(), [](const verify_file_info& info) {
        return info.file_name == PACKAGE_DESCRIPTION_NAME;
    });
    if (description != list.end()) {
        list.erase(description);
    }
    dump_(folder_path, list);
    return 0;
}

int qav_mnt_fwupdate_lib_verify_unzip_list::gather_(const std::string& folder_path,
                                                    std::vector<verify_file_info>& list)
{
    if (get_info_list(folder_path, list) != 0) {
        qav_mnt_fwupdate_log_err("get_list",
                                 "Failed to get the file information from the destination "
                                 "folder.\n");
        return 1;
    }
    return 0;
}

void qav_mnt_fwupdate_lib_verify_unzip_list::dump_(const std::string& folder_path,
                                                   const std::vector<verify_file_info>& list)
{
    qav_mnt_fwupdate_lib_util util;
    util.dsp_file_info_in_folder(folder_path);
    util.dsp_verify_list(list);
}

}  // namespace norvane
