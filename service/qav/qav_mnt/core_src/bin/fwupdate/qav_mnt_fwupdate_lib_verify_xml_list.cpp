#include "qav_mnt_fwupdate_lib_verify_xml_list.h"

#include <cstring>

#include "qav_mnt_fwupdate_lib_log.h"
#include "qav_mnt_fwupdate_lib_util.h"

namespace norvane {

namespace {

// The package description itself, which a package may declare among its files.
const char* const PACKAGE_DESCRIPTION_NAME = "FW_package.xml";

void remove_first_named(std::vector<verify_file_info>& list, const std::string& name)
{
    for (auto it = list.begin(); it != list.end(); ++it) {
        if (it->file_name == name) {
            list.erase(it);
            return;
        }
    }
}

}  // namespace

qav_mnt_fwupdate_lib_verify_xml_list::qav_mnt_fwupdate_lib_verify_xml_list() {}

qav_mnt_fwupdate_lib_verify_xml_list::~qav_mnt_fwupdate_lib_verify_xml_list() {}

int qav_mnt_fwupdate_lib_verify_xml_list::get_list(utl_lib_xml_vexa_firmware_upgrade_service& fw,
                                                   std::vector<verify_file_info>& list)
{
    list.clear();
    if (get_info_list(fw, list) != 0) {
        qav_mnt_fwupdate_log_err(__func__, "Failed to create a list from an XML data file.\n");
        return 1;
    }
    remove_first_named(list, PACKAGE_DESCRIPTION_NAME);
    qav_mnt_fwupdate_lib_util util;
    util.dsp_verify_list(list);
    return 0;
}

int qav_mnt_fwupdate_lib_verify_xml_list::get_info_list(
    utl_lib_xml_vexa_firmware_upgrade_service& fw, std::vector<verify_file_info>& list)
{
    int group_count = 0;
    int ret = fw.get_download_information_count(group_count);
    if (ret != 0) {
        qav_mnt_fwupdate_log_err(__func__,
                                 "Failed to get the number of <download_information>. "
                                 "get_download_cnt_ret:[0x%08X]\n",
                                 ret);
        return 1;
    }
    for (int group_index = 1; group_index <= group_count; ++group_index) {
        if (get_group_files_(fw, group_index, list) != 0) {
            return 1;
        }
    }
    return 0;
}

// Appends the files of one download group; logs under get_info_list, the
// operation that the walk belongs to.
int qav_mnt_fwupdate_lib_verify_xml_list::get_group_files_(
    utl_lib_xml_vexa_firmware_upgrade_service& fw, int group_index,
    std::vector<verify_file_info>& list)
{
    static const char* const operation = "get_info_list";
    UTL_LIB_XML_VEXA_FIRMWARE_DOWNLOAD_INFORMATION_S group;
    std::memset(&group, 0, sizeof(group));
    int ret = fw.get_download_information(group_index, group);
    if (ret != 0) {
        qav_mnt_fwupdate_log_err(operation,
                                 "Failed to get the data of <download_information>. "
                                 "get_download_ret:[0x%08X]\n",
                                 ret);
        return 1;
    }
    int file_count = 0;
    ret = fw.get_firmware_data_information_count(&group, file_count);
    if (ret != 0) {
        qav_mnt_fwupdate_log_err(operation,
                                 "Failed to get the number of <data_information>. "
                                 "get_data_cnt_ret:[0x%08X]\n",
                                 ret);
        return 1;
    }
    for (int file_index = 1; file_index <= file_count; ++file_index) {
        UTL_LIB_XML_VEXA_FIRMWARE_DATA_INFORMATION_S data;
        std::memset(&data, 0, sizeof(data));
        ret = fw.get_firmware_data_information(file_index, &group, data);
        if (ret != 0) {
            qav_mnt_fwupdate_log_err(operation,
                                     "Failed to get the data of <data_information>. "
                                     "get_data_ret:[0x%08X]\n",
                                     ret);
            return 1;
        }
        verify_file_info record;
        ret = get_file_data(data, record);
        if (ret != 0) {
            qav_mnt_fwupdate_log_err(operation,
                                     "Failed to retrieve data within <data_information>. "
                                     "get_file_data_ret:[0x%08X]\n",
                                     ret);
            return 1;
        }
        list.push_back(record);
    }
    return 0;
}

int qav_mnt_fwupdate_lib_verify_xml_list::get_file_data(
    const UTL_LIB_XML_VEXA_FIRMWARE_DATA_INFORMATION_S& data, verify_file_info& record)
{
    // The name is taken even when the record turns out incomplete.
    record.file_name = std::string(data.filename, strnlen(data.filename, sizeof(data.filename)));
    if (data.exist_size != 1) {
        qav_mnt_fwupdate_log_err(__func__, "Failed to get information for file size is invalid.\n");
        return 1;
    }
    record.file_size = data.size;
    if (data.exist_checksum != 1) {
        qav_mnt_fwupdate_log_err(__func__, "Failed to get information for checksum is invalid.\n");
        return 1;
    }
    record.check_sum = std::string(data.checksum, strnlen(data.checksum, sizeof(data.checksum)));
    return 0;
}

}  // namespace norvane
