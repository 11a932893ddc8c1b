#include "qav_mnt_fwupdate_lib_verify_xml_info.h"

#include <cstring>

#include "qav_mnt_fwupdate_lib_log.h"

namespace norvane {

qav_mnt_fwupdate_lib_verify_xml_info::qav_mnt_fwupdate_lib_verify_xml_info() {}

qav_mnt_fwupdate_lib_verify_xml_info::~qav_mnt_fwupdate_lib_verify_xml_info() {}

int qav_mnt_fwupdate_lib_verify_xml_info::get_package_info(
    utl_lib_xml_vexa_firmware_upgrade_service& fw, std::string& package_version,
    UTL_LIB_XML_VEXA_PACKAGE_TYPE_& package_type)
{
    // The header is copied into a zeroed record, whose arrays are one byte
    // longer than the longest copy, so every text stays terminated.
    UTL_LIB_XML_VEXA_FIRMWARE_PACKAGE_S header;
    std::memset(&header, 0, sizeof(header));
    int ret = fw.get_firmware_upgrade(header.exist_device_id, header.device_id,
                                      header.exist_package_version, header.package_version,
                                      header.exist_description, header.description,
                                      header.exist_total_size, &header.total_size,
                                      header.package_type);
    if (ret != 0) {
        qav_mnt_fwupdate_log_err(__func__,
                                 "Failed to get the data of <firmware_package>. "
                                 "get_package_info_ret:[0x%08X]\n",
                                 ret);
        return 1;
    }
    qav_mnt_fwupdate_log_inf(__func__,
                             "<firmware_package> exist_package_version:[%d] package_version:[%s] "
                             "package_type:[%d]\n",
                             header.exist_package_version, header.package_version,
                             static_cast<int>(header.package_type));
    if (header.exist_package_version != 1) {
        return 1;
    }
    package_version = header.package_version;
    package_type = header.package_type;
    return 0;
}

}  // namespace norvane
