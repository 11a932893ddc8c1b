// Fuzz target: the whole reading of a package description, as verification
// does it after extraction: the text is parsed by the firmware-upgrade
// message object, then the package info and the declared file list are read
// from it. Every outcome is allowed except a crash, a sanitizer finding, or
// a result other than 0 or 1.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "fuzz_check.h"
#include "qav_mnt_fwupdate_lib_verify_file_info.h"
#include "qav_mnt_fwupdate_lib_verify_xml_info.h"
#include "qav_mnt_fwupdate_lib_verify_xml_list.h"
#include "utl_lib_xml_vexa_firmware_upgrade_service.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string xml(reinterpret_cast<const char*>(data), size);
    norvane::utl_lib_xml_vexa_firmware_upgrade_service fw;
    norvane::UTL_LIB_XML_VEXA_RESULT result = norvane::UTL_LIB_XML_VEXA_RESULT_NO_ERR;
    int parse_ret = fw.parse_xml(xml, result, norvane::UTL_LIB_XML_VEXA_PROTOCOL_BTSPP);
    FUZZ_CHECK(parse_ret == 0 || parse_ret == 1);
    if (parse_ret != 0) {
        return 0;
    }

    std::string package_version = "untouched";
    norvane::UTL_LIB_XML_VEXA_PACKAGE_TYPE_ package_type = norvane::UTL_LIB_XML_VEXA_PACKAGE_TYPE_NONE;
    norvane::qav_mnt_fwupdate_lib_verify_xml_info info;
    int info_ret = info.get_package_info(fw, package_version, package_type);
    FUZZ_CHECK(info_ret == 0 || info_ret == 1);
    if (info_ret != 0) {
        FUZZ_CHECK(package_version == "untouched");
    }

    std::vector<norvane::verify_file_info> declared;
    norvane::qav_mnt_fwupdate_lib_verify_xml_list list;
    int list_ret = list.get_list(fw, declared);
    FUZZ_CHECK(list_ret == 0 || list_ret == 1);
    return 0;
}
