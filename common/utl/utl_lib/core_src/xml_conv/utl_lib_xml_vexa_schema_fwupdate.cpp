// This build's schema tables: the firmware-package document only (one
// interface, three structs, four enums). Rows address record members by
// offsetof and sizeof, so the tables fit the record layout of any target.
#include <cstdint>

#include "utl_lib_xml_vexa_data.h"
#include "utl_lib_xml_vexa_schema.h"

namespace norvane {

namespace {

typedef UTL_LIB_XML_VEXA_FIRMWARE_PACKAGE_S PACKAGE_S;
typedef UTL_LIB_XML_VEXA_FIRMWARE_DOWNLOAD_INFORMATION_S DOWNLOAD_S;
typedef UTL_LIB_XML_VEXA_FIRMWARE_DATA_INFORMATION_S DATA_S;

// The constructor forms take a presence-flag offset as a pointer-sized value.
void* flag_at_(size_t offset)
{
    return reinterpret_cast<void*>(static_cast<uintptr_t>(offset));
}

// Allocation size of one list node: the NODE header, then the element record.
UINT node_size_of_(size_t element_size)
{
    return static_cast<UINT>(sizeof(NODE) + element_size);
}

// Fills vector first, then inserts it under its id; an id that is already
// present keeps its first vector.
template <typename MAP, typename ID, typename ROWS>
void insert_unique_(MAP& map, ID id, const ROWS& rows)
{
    map.insert(std::make_pair(id, rows));
}

}  // namespace

#define UTL_LIB_XML_VEXA_MEMBER_(record, field) offsetof(record, field), sizeof(record::field)

int utl_lib_xml_vexa_schema::constract_interface(
    std::vector<UTL_LIB_XML_VEXA_XML_SCHEMA>& interfaces)
{
    interfaces.clear();
    UTL_LIB_XML_VEXA_XML_SCHEMA firmware_package(
        "firmware_package", UTL_LIB_XML_VEXA_SCHEMA_TYPE_INTERFACE, 0, sizeof(PACKAGE_S),
        UTL_LIB_XML_VEXA_STRUCT_ID_FIRMWARE_PACKAGE_ENTRY, nullptr);
    firmware_package.additional_data.interface_type.message_type =
        UTL_LIB_XML_VEXA_MESSAGE_FIRMWARE_PACKAGE;
    interfaces.push_back(firmware_package);
    return 0;
}

int utl_lib_xml_vexa_schema::constract_struct(
    std::map<UTL_LIB_XML_VEXA_STRUCT_ID, std::vector<UTL_LIB_XML_VEXA_XML_SCHEMA>>& structs)
{
    structs.clear();
    constract_firmware_package_(structs);
    constract_firmware_download_information_(structs);
    constract_firmware_data_information_(structs);
    return 0;
}

int utl_lib_xml_vexa_schema::constract_enum(
    std::map<UTL_LIB_XML_VEXA_ENUM_ID, std::vector<UTL_LIB_XML_VEXA_XML_ENUMERATION>>& enums)
{
    enums.clear();
    constract_xmpp_note_type_(enums);
    constract_on_off_type_(enums);
    constract_version_information_type_(enums);
    constract_package_type_(enums);
    return 0;
}

void utl_lib_xml_vexa_schema::constract_firmware_package_(UTL_LIB_XML_VEXA_STRUCT_TABLE& structs)
{
    UTL_LIB_XML_VEXA_SCHEMA_ROWS rows;
    rows.push_back(UTL_LIB_XML_VEXA_XML_SCHEMA(
        "is_encrypted_url", UTL_LIB_XML_VEXA_SCHEMA_TYPE_ENUM_NORMAL,
        UTL_LIB_XML_VEXA_MEMBER_(PACKAGE_S, is_encrypted_url), UTL_LIB_XML_VEXA_ENUM_ID_ON_OFF_TYPE));
    rows.push_back(UTL_LIB_XML_VEXA_XML_SCHEMA(
        "device_id", UTL_LIB_XML_VEXA_SCHEMA_TYPE_STRING_OMISSIBLE,
        UTL_LIB_XML_VEXA_MEMBER_(PACKAGE_S, device_id), 0,
        flag_at_(offsetof(PACKAGE_S, exist_device_id))));
    rows.push_back(UTL_LIB_XML_VEXA_XML_SCHEMA(
        "package_version", UTL_LIB_XML_VEXA_SCHEMA_TYPE_STRING_OMISSIBLE,
        UTL_LIB_XML_VEXA_MEMBER_(PACKAGE_S, package_version), 0,
        flag_at_(offsetof(PACKAGE_S, exist_package_version))));
    rows.push_back(UTL_LIB_XML_VEXA_XML_SCHEMA(
        "total_size", UTL_LIB_XML_VEXA_SCHEMA_TYPE_VALUE_OMISSIBLE,
        UTL_LIB_XML_VEXA_MEMBER_(PACKAGE_S, total_size), 0,
        flag_at_(offsetof(PACKAGE_S, exist_total_size))));
    rows.push_back(UTL_LIB_XML_VEXA_XML_SCHEMA(
        "description", UTL_LIB_XML_VEXA_SCHEMA_TYPE_STRING_OMISSIBLE,
        UTL_LIB_XML_VEXA_MEMBER_(PACKAGE_S, description), 0,
        flag_at_(offsetof(PACKAGE_S, exist_description))));
    rows.push_back(UTL_LIB_XML_VEXA_XML_SCHEMA(
        "download_information", UTL_LIB_XML_VEXA_SCHEMA_TYPE_STRUCT_UNBOUNDED,
        offsetof(PACKAGE_S, download_information), sizeof(DOWNLOAD_S),
        UTL_LIB_XML_VEXA_STRUCT_ID_FIRMWARE_DOWNLOAD_INFORMATION_ENTRY,
        node_size_of_(sizeof(DOWNLOAD_S))));
    rows.push_back(UTL_LIB_XML_VEXA_XML_SCHEMA(
        "package_type", UTL_LIB_XML_VEXA_SCHEMA_TYPE_ENUM_NORMAL,
        UTL_LIB_XML_VEXA_MEMBER_(PACKAGE_S, package_type), UTL_LIB_XML_VEXA_ENUM_ID_PACKAGE_TYPE));
    insert_unique_(structs, UTL_LIB_XML_VEXA_STRUCT_ID_FIRMWARE_PACKAGE_ENTRY, rows);
}

void utl_lib_xml_vexa_schema::constract_firmware_download_information_(
    UTL_LIB_XML_VEXA_STRUCT_TABLE& structs)
{
    UTL_LIB_XML_VEXA_SCHEMA_ROWS rows;
    rows.push_back(UTL_LIB_XML_VEXA_XML_SCHEMA(
        "type", UTL_LIB_XML_VEXA_SCHEMA_TYPE_ENUM_NORMAL, UTL_LIB_XML_VEXA_MEMBER_(DOWNLOAD_S, type),
        UTL_LIB_XML_VEXA_ENUM_ID_VERSION_INFORMATION_TYPE));
    rows.push_back(UTL_LIB_XML_VEXA_XML_SCHEMA(
        "version", UTL_LIB_XML_VEXA_SCHEMA_TYPE_STRING_OMISSIBLE,
        UTL_LIB_XML_VEXA_MEMBER_(DOWNLOAD_S, version), 0,
        flag_at_(offsetof(DOWNLOAD_S, exist_version))));
    rows.push_back(UTL_LIB_XML_VEXA_XML_SCHEMA(
        "data_information", UTL_LIB_XML_VEXA_SCHEMA_TYPE_STRUCT_UNBOUNDED,
        offsetof(DOWNLOAD_S, data_information), sizeof(DATA_S),
        UTL_LIB_XML_VEXA_STRUCT_ID_FIRMWARE_DATA_INFORMATION_ENTRY, node_size_of_(sizeof(DATA_S))));
    insert_unique_(structs, UTL_LIB_XML_VEXA_STRUCT_ID_FIRMWARE_DOWNLOAD_INFORMATION_ENTRY, rows);
}

void utl_lib_xml_vexa_schema::constract_firmware_data_information_(
    UTL_LIB_XML_VEXA_STRUCT_TABLE& structs)
{
    UTL_LIB_XML_VEXA_SCHEMA_ROWS rows;
    rows.push_back(UTL_LIB_XML_VEXA_XML_SCHEMA("name", UTL_LIB_XML_VEXA_SCHEMA_TYPE_STRING_OMISSIBLE,
                                               UTL_LIB_XML_VEXA_MEMBER_(DATA_S, name), 0,
                                               flag_at_(offsetof(DATA_S, exist_name))));
    rows.push_back(UTL_LIB_XML_VEXA_XML_SCHEMA("filename", UTL_LIB_XML_VEXA_SCHEMA_TYPE_STRING_NORMAL,
                                               UTL_LIB_XML_VEXA_MEMBER_(DATA_S, filename), 0));
    rows.push_back(UTL_LIB_XML_VEXA_XML_SCHEMA(
        "download_url", UTL_LIB_XML_VEXA_SCHEMA_TYPE_STRING_OMISSIBLE,
        UTL_LIB_XML_VEXA_MEMBER_(DATA_S, download_url), 0,
        flag_at_(offsetof(DATA_S, exist_download_url))));
    rows.push_back(UTL_LIB_XML_VEXA_XML_SCHEMA(
        "checksum", UTL_LIB_XML_VEXA_SCHEMA_TYPE_STRING_OMISSIBLE,
        UTL_LIB_XML_VEXA_MEMBER_(DATA_S, checksum), 0, flag_at_(offsetof(DATA_S, exist_checksum))));
    rows.push_back(UTL_LIB_XML_VEXA_XML_SCHEMA("size", UTL_LIB_XML_VEXA_SCHEMA_TYPE_VALUE_OMISSIBLE,
                                               UTL_LIB_XML_VEXA_MEMBER_(DATA_S, size), 0,
                                               flag_at_(offsetof(DATA_S, exist_size))));
    rows.push_back(UTL_LIB_XML_VEXA_XML_SCHEMA(
        "version", UTL_LIB_XML_VEXA_SCHEMA_TYPE_STRING_OMISSIBLE,
        UTL_LIB_XML_VEXA_MEMBER_(DATA_S, version), 0, flag_at_(offsetof(DATA_S, exist_version))));
    insert_unique_(structs, UTL_LIB_XML_VEXA_STRUCT_ID_FIRMWARE_DATA_INFORMATION_ENTRY, rows);
}

#undef UTL_LIB_XML_VEXA_MEMBER_

void utl_lib_xml_vexa_schema::constract_xmpp_note_type_(UTL_LIB_XML_VEXA_ENUM_TABLE& enums)
{
    UTL_LIB_XML_VEXA_ENUM_ROWS rows;
    rows.push_back(UTL_LIB_XML_VEXA_XML_ENUMERATION("error", UTL_LIB_XML_VEXA_XMPP_NOTE_ERROR));
    rows.push_back(UTL_LIB_XML_VEXA_XML_ENUMERATION("info", UTL_LIB_XML_VEXA_XMPP_NOTE_INFO));
    rows.push_back(UTL_LIB_XML_VEXA_XML_ENUMERATION("warn", UTL_LIB_XML_VEXA_XMPP_NOTE_WARN));
    insert_unique_(enums, UTL_LIB_XML_VEXA_ENUM_ID_XMPP_NOTE_TYPE, rows);
}

void utl_lib_xml_vexa_schema::constract_on_off_type_(UTL_LIB_XML_VEXA_ENUM_TABLE& enums)
{
    UTL_LIB_XML_VEXA_ENUM_ROWS rows;
    rows.push_back(UTL_LIB_XML_VEXA_XML_ENUMERATION("OFF", UTL_LIB_XML_VEXA_STATE_OFF));
    rows.push_back(UTL_LIB_XML_VEXA_XML_ENUMERATION("ON", UTL_LIB_XML_VEXA_STATE_ON));
    insert_unique_(enums, UTL_LIB_XML_VEXA_ENUM_ID_ON_OFF_TYPE, rows);
}

void utl_lib_xml_vexa_schema::constract_version_information_type_(
    UTL_LIB_XML_VEXA_ENUM_TABLE& enums)
{
    // Document names in value order 1..55; "MOTER_CPU" is the form that
    // package documents carry.
    static const char* const names[] = {
        "FW_PACKAGE",
        "MAIN",
        "ENGINE",
        "PANEL",
        "SCANNER",
        "HIGH_VOLT_CPU",
        "MOTER_CPU",
        "SLEEP_CPU",
        "FINISHER_1000",
        "FINISHER_3000_MAIN",
        "FINISHER_3000_INNER_TRAY",
        "FINISHER_3000_BOOKLET",
        "MAIL_BOX",
        "FEEDER_500_X_2",
        "FEEDER_3000",
        "DOCUMENT_PROCESSOR_SIMPLE",
        "DOCUMENT_PROCESSOR_DUPLEX",
        "FAX_FIRMWARE_PORT_1",
        "FAX_FIRMWARE_PORT_2",
        "OPTION_LANGUAGE",
        "DICTIONARY_DATA",
        "BROWSER_DATA",
        "COLOR_TABLE_1",
        "COLOR_TABLE_2",
        "ENGINE_IO",
        "ENGINE_LSU",
        "ENGINE_FUSER",
        "BRIDGE_UNIT",
        "HANGER_FINISHER",
        "COPY_COLOR_TABLE_1",
        "COPY_COLOR_TABLE_2",
        "FEEDER_500_X_2_OUT_SIDE",
        "FEEDER_3000_OUT_SIDE",
        "FEEDER_A3_SIDE_MULTI_TRAY",
        "FINISHER_4000_MAIN",
        "FINISHER_4000_BOOKLET",
        "FINISHER_4000_PUNCH_UNIT",
        "FEEDER_A4_SIDE_DECK",
        "PDF_RESOURCE",
        "A4_OPTION_CASSETTE_2",
        "A4_OPTION_CASSETTE_3",
        "A4_OPTION_CASSETTE_4",
        "A4_OPTION_CASSETTE_5",
        "A4_OPTION_CASSETTE_6",
        "A4_BULK_FEEDER",
        "VIDEO_CPU",
        "MAIN_PANEL",
        "OCR_DICTIONARY_DATA",
        "OPTION_NIC",
        "OPTION_NIC2",
        "A4_OPTION_CASSETTE",
        "FAX_FIRMWARE",
        "NETWORK_MASTER",
        "ENHANCEMENT_PACKAGE",
        "OTHER",
    };
    static_assert(sizeof(names) / sizeof(names[0]) == UTL_LIB_XML_VEXA_VERSION_INFORMATION_OTHER,
                  "one name per version-information value");
    UTL_LIB_XML_VEXA_ENUM_ROWS rows;
    UINT value = UTL_LIB_XML_VEXA_VERSION_INFORMATION_FW_PACKAGE;
    for (const char* name : names) {
        rows.push_back(UTL_LIB_XML_VEXA_XML_ENUMERATION(name, value));
        ++value;
    }
    insert_unique_(enums, UTL_LIB_XML_VEXA_ENUM_ID_VERSION_INFORMATION_TYPE, rows);
}

void utl_lib_xml_vexa_schema::constract_package_type_(UTL_LIB_XML_VEXA_ENUM_TABLE& enums)
{
    UTL_LIB_XML_VEXA_ENUM_ROWS rows;
    rows.push_back(
        UTL_LIB_XML_VEXA_XML_ENUMERATION("DEVICE_FIRMWARE", UTL_LIB_XML_VEXA_PACKAGE_DEVICE_FIRMWARE));
    rows.push_back(UTL_LIB_XML_VEXA_XML_ENUMERATION("DEVICE_ENHANCEMENT",
                                                    UTL_LIB_XML_VEXA_PACKAGE_DEVICE_ENHANCEMENT));
    rows.push_back(UTL_LIB_XML_VEXA_XML_ENUMERATION("DEVICE_OPT_LANGUAGE",
                                                    UTL_LIB_XML_VEXA_PACKAGE_DEVICE_OPT_LANGUAGE));
    rows.push_back(UTL_LIB_XML_VEXA_XML_ENUMERATION("GATEWAY_FIRMWARE",
                                                    UTL_LIB_XML_VEXA_PACKAGE_GATEWAY_FIRMWARE));
    rows.push_back(
        UTL_LIB_XML_VEXA_XML_ENUMERATION("MOBILE_AGENT", UTL_LIB_XML_VEXA_PACKAGE_MOBILE_AGENT));
    insert_unique_(enums, UTL_LIB_XML_VEXA_ENUM_ID_PACKAGE_TYPE, rows);
}

}  // namespace norvane
