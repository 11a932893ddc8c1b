#include "qav_mnt_fwupdate_lib_verify_process.h"

#include <algorithm>
#include <string>
#include <vector>

#include "fwupdate_trust_dir.h"
#include "qav_mnt_fwupdate_lib_log.h"
#include "qav_mnt_fwupdate_lib_util.h"
#include "qav_mnt_fwupdate_lib_verify_signature.h"
#include "qav_mnt_fwupdate_lib_verify_unzip_list.h"
#include "qav_mnt_fwupdate_lib_verify_xml_info.h"
#include "qav_mnt_fwupdate_lib_verify_xml_list.h"
#include "utl_lib_xml_vexa_firmware_upgrade_service.h"

namespace norvane {

namespace {
// Every message of the comparison names the public operation.
const char* const CHECK_NAME = "check";
}  // namespace

qav_mnt_fwupdate_lib_verify_process::qav_mnt_fwupdate_lib_verify_process() {}

qav_mnt_fwupdate_lib_verify_process::~qav_mnt_fwupdate_lib_verify_process() {}

int qav_mnt_fwupdate_lib_verify_process::check(std::vector<verify_file_info>& xml_info_list,
                                               std::vector<verify_file_info>& unzip_info_list)
{
    const int xml_info_list_size = static_cast<int>(xml_info_list.size());
    const int unzip_info_list_size = static_cast<int>(unzip_info_list.size());
    if (check_sizes_(xml_info_list_size, unzip_info_list_size) != 0) {
        return 1;
    }

    // std::sort is the unstable introspective sort: quicksort limited to a
    // depth of 2*log2(n), heap sort beyond it, insertion sort over runs of
    // 16. Records with equal names may end up in either order.
    std::sort(xml_info_list.begin(), xml_info_list.end(), asc);
    std::sort(unzip_info_list.begin(), unzip_info_list.end(), asc);

    for (size_t i = 0; i < xml_info_list.size(); ++i) {
        if (check_pair_(xml_info_list[i], unzip_info_list[i]) != 0) {
            return 1;
        }
    }
    return 0;
}

int qav_mnt_fwupdate_lib_verify_process::check_sizes_(int xml_info_list_size,
                                                      int unzip_info_list_size)
{
    if (xml_info_list_size == 0 || unzip_info_list_size == 0) {
        qav_mnt_fwupdate_log_err(CHECK_NAME,
                                 "No one or both lists for comparison. xml_info_list_size:[%d] "
                                 "unzip_info_list_size:[%d]\n",
                                 xml_info_list_size, unzip_info_list_size);
        return 1;
    }
    if (xml_info_list_size != unzip_info_list_size) {
        qav_mnt_fwupdate_log_err(CHECK_NAME,
                                 "Length of the list of both for comparison is different. "
                                 "xml_info_list_size:[%d] unzip_info_list_size:[%d]\n",
                                 xml_info_list_size, unzip_info_list_size);
        return 1;
    }
    return 0;
}

// Name first, then size, then checksum; the first difference is reported.
int qav_mnt_fwupdate_lib_verify_process::check_pair_(const verify_file_info& xml_info,
                                                     const verify_file_info& unzip_info)
{
    if (xml_info.file_name != unzip_info.file_name) {
        qav_mnt_fwupdate_log_err(CHECK_NAME,
                                 "File name in the list did not match. xml_info_list:[%s] "
                                 "unzip_info_list:[%s]\n",
                                 xml_info.file_name.c_str(), unzip_info.file_name.c_str());
        return 1;
    }
    if (xml_info.file_size != unzip_info.file_size) {
        qav_mnt_fwupdate_log_err(CHECK_NAME,
                                 "File size in the list did not match. xml_info_list:[%d] "
                                 "unzip_info_list:[%d]\n",
                                 xml_info.file_size, unzip_info.file_size);
        return 1;
    }
    if (xml_info.check_sum != unzip_info.check_sum) {
        qav_mnt_fwupdate_log_err(CHECK_NAME,
                                 "Checksum in the list did not match. xml_info_list:[%s] "
                                 "unzip_info_list:[%s]\n",
                                 xml_info.check_sum.c_str(), unzip_info.check_sum.c_str());
        return 1;
    }
    return 0;
}

int qav_mnt_fwupdate_lib_verify_process::verify(const std::string& zip_file_path,
                                                const std::string& unzip_folder_path,
                                                std::string& package_version,
                                                UTL_LIB_XML_VEXA_PACKAGE_TYPE_& package_type)
{
    qav_mnt_fwupdate_log_imp(__func__,
                             "##### Start Verify process. \n\tzip_file_path[%s]\n"
                             "\tunzip_folder_path[%s]\n",
                             zip_file_path.c_str(), unzip_folder_path.c_str());
    qav_mnt_fwupdate_lib_util util;
    utl_lib_xml_vexa_firmware_upgrade_service fw_upd_svc;
    const std::string xml_file_path = unzip_folder_path + "/" + "FW_package.xml";

    qav_mnt_fwupdate_log_inf(__func__, "##### Start analyze xml \n");
    if (util.analyze_xml(xml_file_path, fw_upd_svc) != 0) {
        qav_mnt_fwupdate_log_err(__func__, "Faild analyze_xml operation.\n");
        return verify_failed_();
    }
    qav_mnt_fwupdate_log_inf(__func__, "##### Success analyze_xml operation.\n");

    qav_mnt_fwupdate_log_inf(__func__, "##### Start get package info \n");
    qav_mnt_fwupdate_lib_verify_xml_info xml_info;
    if (xml_info.get_package_info(fw_upd_svc, package_version, package_type) != 0) {
        qav_mnt_fwupdate_log_err(__func__, "Faild get package info operation.\n");
        return verify_failed_();
    }
    qav_mnt_fwupdate_log_inf(__func__, "##### Success get package info operation.\n");

    std::vector<verify_file_info> xml_info_list;
    std::vector<verify_file_info> unzip_info_list;
    qav_mnt_fwupdate_log_inf(__func__, "##### Start get xml list \n");
    qav_mnt_fwupdate_lib_verify_xml_list xml_list;
    if (xml_list.get_list(fw_upd_svc, xml_info_list) != 0) {
        qav_mnt_fwupdate_log_err(__func__, "Failed to create file list from xml file.\n");
        return verify_failed_();
    }
    qav_mnt_fwupdate_log_inf(__func__, "##### Success create file list from xml file..\n");

    qav_mnt_fwupdate_log_inf(__func__, "##### Start get unzip list \n");
    qav_mnt_fwupdate_lib_verify_unzip_list unzip_list;
    if (unzip_list.get_list(unzip_folder_path, xml_info_list, unzip_info_list) != 0) {
        qav_mnt_fwupdate_log_err(__func__, "Failed to create file list from unzip folder.\n");
        return verify_failed_();
    }
    qav_mnt_fwupdate_log_inf(__func__, "##### Success create file list from unzip folder.\n");

    qav_mnt_fwupdate_log_inf(__func__, "##### Start check list \n");
    if (check(xml_info_list, unzip_info_list) != 0) {
        qav_mnt_fwupdate_log_err(__func__, "Faild check verify list operation.\n");
        return verify_failed_();
    }
    qav_mnt_fwupdate_log_inf(__func__, "##### Success check verify list operation.\n");

    // A device that trusts no key logs nothing more here, exactly as before
    // packages were signed.
    qav_mnt_fwupdate_lib_verify_signature signature;
    signature.load_trusted_keys(fwupdate_trust_dir());
    if (signature.required()) {
        qav_mnt_fwupdate_log_inf(__func__, "##### Start check signature \n");
        if (signature.check(zip_file_path, unzip_folder_path) != 0) {
            return verify_failed_();
        }
        qav_mnt_fwupdate_log_inf(__func__, "##### Success check signature operation.\n");
    }
    qav_mnt_fwupdate_log_imp(__func__, "##### Success End Verify process.\n");
    return 0;
}

// The verdict line that closes every failed verification.
int qav_mnt_fwupdate_lib_verify_process::verify_failed_()
{
    qav_mnt_fwupdate_log_imp("verify", "##### Faild Verify process.\n");
    return 1;
}

}  // namespace norvane
