// Reads the package header of a parsed FW_package.xml: the package version
// and package type that the controller reports once the package is verified.
// Stateless; created on the caller's stack for one call.
#ifndef NORVANE_QAV_MNT_FWUPDATE_LIB_VERIFY_XML_INFO_H
#define NORVANE_QAV_MNT_FWUPDATE_LIB_VERIFY_XML_INFO_H

#include <string>

#include "utl_lib_xml_vexa_def.h"
#include "utl_lib_xml_vexa_firmware_upgrade_service.h"

namespace norvane {

class qav_mnt_fwupdate_lib_verify_xml_info {
public:
    qav_mnt_fwupdate_lib_verify_xml_info();
    ~qav_mnt_fwupdate_lib_verify_xml_info();

    // A package without package_version is rejected (1) and leaves both
    // outputs untouched.
    int get_package_info(utl_lib_xml_vexa_firmware_upgrade_service& fw,
                         std::string& package_version,
                         UTL_LIB_XML_VEXA_PACKAGE_TYPE_& package_type);
};

}  // namespace norvane

#endif
