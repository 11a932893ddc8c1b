// Turns the files that a parsed FW_package.xml declares into verify_file_info
// records: the list against which the extracted files are compared.
// Stateless; created on the caller's stack for one call.
#ifndef NORVANE_QAV_MNT_FWUPDATE_LIB_VERIFY_XML_LIST_H
#define NORVANE_QAV_MNT_FWUPDATE_LIB_VERIFY_XML_LIST_H

#include <vector>

#include "qav_mnt_fwupdate_lib_verify_file_info.h"
#include "utl_lib_xml_vexa_data.h"
#include "utl_lib_xml_vexa_firmware_upgrade_service.h"

namespace norvane {

class qav_mnt_fwupdate_lib_verify_xml_list {
public:
    qav_mnt_fwupdate_lib_verify_xml_list();
    ~qav_mnt_fwupdate_lib_verify_xml_list();

    // Every declared file, group by group in document order, without the
    // first record named FW_package.xml; dumped into the log.
    int get_list(utl_lib_xml_vexa_firmware_upgrade_service& fw,
                 std::vector<verify_file_info>& list);
    // Appends every declared file; list is not cleared first.
    int get_info_list(utl_lib_xml_vexa_firmware_upgrade_service& fw,
                      std::vector<verify_file_info>& list);
    // Converts one file record; size and checksum must be present.
    int get_file_data(const UTL_LIB_XML_VEXA_FIRMWARE_DATA_INFORMATION_S& data,
                      verify_file_info& record);

private:
    int get_group_files_(utl_lib_xml_vexa_firmware_upgrade_service& fw, int group_index,
                         std::vector<verify_file_info>& list);
};

}  // namespace norvane

#endif
