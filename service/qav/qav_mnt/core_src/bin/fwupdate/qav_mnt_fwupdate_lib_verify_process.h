// Package verification: decides whether the files that FW_package.xml declares
// and the files found in the extraction folder are the same set of files, and,
// on a device that trusts signing keys, whether a trusted key signed them all.
// Stateless; created on the caller's stack for one call.
#ifndef NORVANE_QAV_MNT_FWUPDATE_LIB_VERIFY_PROCESS_H
#define NORVANE_QAV_MNT_FWUPDATE_LIB_VERIFY_PROCESS_H

#include <vector>
#include <string>

#include "qav_mnt_fwupdate_lib_verify_file_info.h"
#include "utl_lib_xml_vexa_def.h"

namespace norvane {

class qav_mnt_fwupdate_lib_verify_process {
public:
    qav_mnt_fwupdate_lib_verify_process();
    ~qav_mnt_fwupdate_lib_verify_process();

    // The whole pipeline: parse the folder's FW_package.xml, read the package
    // version and type (written even when a later stage fails), list the
    // declared and the extracted files and compare them, then check the
    // package's signature when the device trusts a key. 0 when verified.
    int verify(const std::string& zip_file_path, const std::string& unzip_folder_path,
               std::string& package_version, UTL_LIB_XML_VEXA_PACKAGE_TYPE_& package_type);

    // Compares the two lists entry by entry after sorting both by asc (in
    // place: the caller sees them sorted). 0 when they match, 1 otherwise.
    int check(std::vector<verify_file_info>& xml_info_list,
              std::vector<verify_file_info>& unzip_info_list);

private:
    int verify_failed_();
    int check_sizes_(int xml_info_list_size, int unzip_info_list_size);
    int check_pair_(const verify_file_info& xml_info, const verify_file_info& unzip_info);
};

}  // namespace norvane

#endif
