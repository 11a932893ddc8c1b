// Tests of the schema rows and this build's tables: the five constructor
// forms and their refusals, every row of the interface and struct tables,
// every name and value of the enum tables, and the limits that the record
// layout puts on parsed documents.
#include "utl_lib_xml_vexa_schema.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "clb_list.h"
#include "utl_lib_xml_vexa_data.h"
#include "utl_lib_xml_vexa_mediator.h"

using namespace norvane;
using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

namespace {

typedef UTL_LIB_XML_VEXA_FIRMWARE_PACKAGE_S PACKAGE_S;
typedef UTL_LIB_XML_VEXA_FIRMWARE_DOWNLOAD_INFORMATION_S DOWNLOAD_S;
typedef UTL_LIB_XML_VEXA_FIRMWARE_DATA_INFORMATION_S DATA_S;

void* as_pointer(size_t offset)
{
    return reinterpret_cast<void*>(static_cast<uintptr_t>(offset));
}

bool attr_info_is_zero(const UTL_LIB_XML_VEXA_XML_SCHEMA& row)
{
    UTL_LIB_XML_VEXA_XML_ATTRIBUTE zero;
    std::memset(&zero, 0, sizeof(zero));
    return std::memcmp(&row.attr_info, &zero, sizeof(zero)) == 0;
}

// What one row of the struct table must hold.
struct expected_row {
    const char* tag;
    UTL_LIB_XML_VEXA_SCHEMA_TYPE type;
    size_t offset;
    UINT size;
    UINT additional_id;
    size_t further;  // flag offset (OMISSIBLE) or node size (UNBOUNDED), else 0
};

void expect_rows(const std::vector<UTL_LIB_XML_VEXA_XML_SCHEMA>& rows,
                 const std::vector<expected_row>& expected)
{
    ASSERT_EQ(expected.size(), rows.size());
    for (size_t i = 0; i < rows.size(); ++i) {
        SCOPED_TRACE(expected[i].tag);
        const UTL_LIB_XML_VEXA_XML_SCHEMA& row = rows[i];
        EXPECT_STREQ(expected[i].tag, row.tag_name);
        EXPECT_EQ(expected[i].type, row.schema_type);
        EXPECT_EQ(expected[i].offset, row.offset);
        EXPECT_EQ(expected[i].size, row.size);
        EXPECT_EQ(expected[i].additional_id, row.additional_id);
        UINT appearance = row.schema_type & UTL_LIB_XML_VEXA_SCHEMA_TYPE_MASK_APPEAR_TYPE;
        if (appearance == UTL_LIB_XML_VEXA_SCHEMA_TYPE_BASE_OMISSIBLE) {
            EXPECT_EQ(expected[i].further, row.additional_data.omissible.is_exist_offset);
        } else if (appearance == UTL_LIB_XML_VEXA_SCHEMA_TYPE_BASE_UNBOUNDED) {
            EXPECT_EQ(expected[i].further, row.additional_data.unbounded.node_size);
            EXPECT_EQ(nullptr, row.additional_data.unbounded.node_p);
        } else {
            EXPECT_EQ(0u, expected[i].further);
        }
        EXPECT_EQ(nullptr, row.management_info.tmp_buff);
        EXPECT_TRUE(attr_info_is_zero(row));
    }
}

std::vector<std::pair<std::string, UINT>> pairs_of(
    const std::vector<UTL_LIB_XML_VEXA_XML_ENUMERATION>& rows)
{
    std::vector<std::pair<std::string, UINT>> pairs;
    for (const UTL_LIB_XML_VEXA_XML_ENUMERATION& row : rows) {
        pairs.emplace_back(row.enum_name, row.enum_value);
    }
    return pairs;
}

// Parses a firmware-package document into a zeroed record.
class parsed_package {
public:
    explicit parsed_package(const std::string& xml)
    {
        std::memset(&package_, 0, sizeof(package_));
        UTL_LIB_XML_VEXA_RESULT result = UTL_LIB_XML_VEXA_RESULT_NO_ERR;
        CaptureStderr();
        ret_ = mediator_.parse(UTL_LIB_XML_VEXA_MESSAGE_FIRMWARE_PACKAGE, xml, &package_, result);
        trace_ = GetCapturedStderr();
        result_ = result;
    }

    int ret() const { return ret_; }
    UTL_LIB_XML_VEXA_RESULT result() const { return result_; }
    const std::string& trace() const { return trace_; }
    const PACKAGE_S& package() const { return package_; }

    DOWNLOAD_S* group(int index)
    {
        NODE* node = zulCLBLstNth(&package_.download_information, index);
        return node == nullptr
                   ? nullptr
                   : reinterpret_cast<DOWNLOAD_S*>(reinterpret_cast<char*>(node) + sizeof(NODE));
    }

    DATA_S* file(int group_index, int index)
    {
        DOWNLOAD_S* owner = group(group_index);
        if (owner == nullptr) {
            return nullptr;
        }
        NODE* node = zulCLBLstNth(&owner->data_information, index);
        return node == nullptr
                   ? nullptr
                   : reinterpret_cast<DATA_S*>(reinterpret_cast<char*>(node) + sizeof(NODE));
    }

private:
    utl_lib_xml_vexa_mediator mediator_;
    PACKAGE_S package_;
    int ret_ = -1;
    UTL_LIB_XML_VEXA_RESULT result_ = UTL_LIB_XML_VEXA_RESULT_NO_ERR;
    std::string trace_;
};

std::string one_file_document(const std::string& file_elements)
{
    return "<firmware_package><download_information><type>MAIN</type><data_information>" +
           file_elements + "</data_information></download_information></firmware_package>";
}

}  // namespace

// ---- constructor forms ----

TEST(utl_lib_xml_vexa_schema_row, plain_form_sets_the_five_fields_and_clears_attribute_and_buffer)
{
    UTL_LIB_XML_VEXA_XML_SCHEMA row("filename", UTL_LIB_XML_VEXA_SCHEMA_TYPE_STRING_NORMAL, 72,
                                    256, 0);
    EXPECT_STREQ("filename", row.tag_name);
    EXPECT_EQ(UTL_LIB_XML_VEXA_SCHEMA_TYPE_STRING_NORMAL, row.schema_type);
    EXPECT_EQ(72u, row.offset);
    EXPECT_EQ(256u, row.size);
    EXPECT_EQ(0u, row.additional_id);
    EXPECT_EQ(nullptr, row.management_info.tmp_buff);
    EXPECT_TRUE(attr_info_is_zero(row));
}

TEST(utl_lib_xml_vexa_schema_row, pointer_form_on_omissible_row_sets_the_flag_offset)
{
    CaptureStderr();
    UTL_LIB_XML_VEXA_XML_SCHEMA row("size", UTL_LIB_XML_VEXA_SCHEMA_TYPE_VALUE_OMISSIBLE, 8, 4, 0,
                                    as_pointer(12));
    EXPECT_EQ("", GetCapturedStderr());
    EXPECT_EQ(12u, row.additional_data.omissible.is_exist_offset);
    EXPECT_EQ(nullptr, row.management_info.tmp_buff);
    EXPECT_TRUE(attr_info_is_zero(row));
}

TEST(utl_lib_xml_vexa_schema_row, pointer_form_on_interface_row_sets_the_record_being_filled)
{
    PACKAGE_S record;
    CaptureStderr();
    UTL_LIB_XML_VEXA_XML_SCHEMA row("firmware_package", UTL_LIB_XML_VEXA_SCHEMA_TYPE_INTERFACE, 0,
                                    sizeof(PACKAGE_S),
                                    UTL_LIB_XML_VEXA_STRUCT_ID_FIRMWARE_PACKAGE_ENTRY, &record);
    EXPECT_EQ("", GetCapturedStderr());
    EXPECT_EQ(&record, row.management_info.tmp_buff);
    EXPECT_TRUE(attr_info_is_zero(row));
}

TEST(utl_lib_xml_vexa_schema_row, pointer_form_refuses_other_types_with_the_type_twice)
{
    CaptureStderr();
    UTL_LIB_XML_VEXA_XML_SCHEMA row("filename", UTL_LIB_XML_VEXA_SCHEMA_TYPE_STRING_NORMAL, 72,
                                    256, 0, as_pointer(12));
    EXPECT_EQ("[XML][ERROR! ]XML schema type ng [0x00010002(65538)]\n", GetCapturedStderr());
    EXPECT_STREQ("filename", row.tag_name);
    EXPECT_EQ(UTL_LIB_XML_VEXA_SCHEMA_TYPE_STRING_NORMAL, row.schema_type);
    EXPECT_EQ(72u, row.offset);
    EXPECT_EQ(256u, row.size);
    EXPECT_EQ(nullptr, row.management_info.tmp_buff);
}

TEST(utl_lib_xml_vexa_schema_row, pointer_form_refuses_a_struct_with_interface_bits_among_others)
{
    // Only exactly the interface type takes the record pointer.
    CaptureStderr();
    UTL_LIB_XML_VEXA_XML_SCHEMA row("root", UTL_LIB_XML_VEXA_SCHEMA_TYPE_STRUCT_NORMAL, 0, 4,
                                    UTL_LIB_XML_VEXA_STRUCT_ID_STR_TOP, as_pointer(16));
    EXPECT_EQ("[XML][ERROR! ]XML schema type ng [0x00010008(65544)]\n", GetCapturedStderr());
    EXPECT_EQ(nullptr, row.management_info.tmp_buff);
}

TEST(utl_lib_xml_vexa_schema_row, node_size_form_on_unbounded_row_sets_size_and_null_node)
{
    CaptureStderr();
    UTL_LIB_XML_VEXA_XML_SCHEMA row("data_information",
                                    UTL_LIB_XML_VEXA_SCHEMA_TYPE_STRUCT_UNBOUNDED, 40,
                                    sizeof(DATA_S),
                                    UTL_LIB_XML_VEXA_STRUCT_ID_FIRMWARE_DATA_INFORMATION_ENTRY,
                                    static_cast<UINT>(sizeof(DATA_S) + sizeof(NODE)));
    EXPECT_EQ("", GetCapturedStderr());
    EXPECT_EQ(sizeof(DATA_S) + sizeof(NODE), row.additional_data.unbounded.node_size);
    EXPECT_EQ(nullptr, row.additional_data.unbounded.node_p);
    EXPECT_EQ(nullptr, row.management_info.tmp_buff);
    EXPECT_TRUE(attr_info_is_zero(row));
}

TEST(utl_lib_xml_vexa_schema_row, node_size_form_refuses_other_appearances)
{
    CaptureStderr();
    UTL_LIB_XML_VEXA_XML_SCHEMA row("version", UTL_LIB_XML_VEXA_SCHEMA_TYPE_STRING_OMISSIBLE, 4,
                                    33, 0, static_cast<UINT>(48));
    EXPECT_EQ("[XML][ERROR! ]XML schema type ng [0x00020002(131074)]\n", GetCapturedStderr());
    EXPECT_EQ(UTL_LIB_XML_VEXA_SCHEMA_TYPE_STRING_OMISSIBLE, row.schema_type);
    EXPECT_EQ(33u, row.size);
}

TEST(utl_lib_xml_vexa_schema_row, count_form_on_fixed_max_row_sets_count_offset_and_maximum)
{
    CaptureStderr();
    UTL_LIB_XML_VEXA_XML_SCHEMA row("slot", UTL_LIB_XML_VEXA_SCHEMA_TYPE_VALUE_FIXED_MAX, 0, 4, 0,
                                    as_pointer(8), 2);
    EXPECT_EQ("", GetCapturedStderr());
    EXPECT_EQ(8u, row.additional_data.fixed_max.count_offset);
    EXPECT_EQ(2u, row.additional_data.fixed_max.count_max);
    EXPECT_EQ(nullptr, row.management_info.tmp_buff);
    EXPECT_TRUE(attr_info_is_zero(row));
}

TEST(utl_lib_xml_vexa_schema_row, count_form_refuses_other_appearances_with_the_tag_name)
{
    CaptureStderr();
    UTL_LIB_XML_VEXA_XML_SCHEMA row("checksum", UTL_LIB_XML_VEXA_SCHEMA_TYPE_STRING_UNBOUNDED, 0,
                                    17, 0, as_pointer(20), 3);
    EXPECT_EQ("[XML][ERROR! ]XML schema type not fixed max [0x00040002(262146)][checksum]\n",
              GetCapturedStderr());
    EXPECT_STREQ("checksum", row.tag_name);
    EXPECT_EQ(17u, row.size);
}

TEST(utl_lib_xml_vexa_schema_row, rows_copy_by_value)
{
    UTL_LIB_XML_VEXA_XML_SCHEMA row("device_id", UTL_LIB_XML_VEXA_SCHEMA_TYPE_STRING_OMISSIBLE,
                                    4, 22, 0, as_pointer(28));
    std::vector<UTL_LIB_XML_VEXA_XML_SCHEMA> table;
    table.push_back(row);
    row.size = 1;
    EXPECT_EQ(22u, table[0].size);
    EXPECT_EQ(28u, table[0].additional_data.omissible.is_exist_offset);
}

TEST(utl_lib_xml_vexa_schema_row, enumeration_row_takes_name_and_value_in_order)
{
    UTL_LIB_XML_VEXA_XML_ENUMERATION row("MOTER_CPU", 7);
    EXPECT_STREQ("MOTER_CPU", row.enum_name);
    EXPECT_EQ(7u, row.enum_value);
}

// ---- type bits and ids ----

TEST(utl_lib_xml_vexa_schema_type, combined_names_are_one_value_kind_ored_with_one_appearance)
{
    EXPECT_EQ(0x10001u, UTL_LIB_XML_VEXA_SCHEMA_TYPE_VALUE_NORMAL);
    EXPECT_EQ(0x10002u, UTL_LIB_XML_VEXA_SCHEMA_TYPE_STRING_NORMAL);
    EXPECT_EQ(0x10004u, UTL_LIB_XML_VEXA_SCHEMA_TYPE_ENUM_NORMAL);
    EXPECT_EQ(0x10008u, UTL_LIB_XML_VEXA_SCHEMA_TYPE_STRUCT_NORMAL);
    EXPECT_EQ(0x10010u, UTL_LIB_XML_VEXA_SCHEMA_TYPE_INTERFACE);
    EXPECT_EQ(0x20001u, UTL_LIB_XML_VEXA_SCHEMA_TYPE_VALUE_OMISSIBLE);
    EXPECT_EQ(0x20002u, UTL_LIB_XML_VEXA_SCHEMA_TYPE_STRING_OMISSIBLE);
    EXPECT_EQ(0x20004u, UTL_LIB_XML_VEXA_SCHEMA_TYPE_ENUM_OMISSIBLE);
    EXPECT_EQ(0x20008u, UTL_LIB_XML_VEXA_SCHEMA_TYPE_STRUCT_OMISSIBLE);
    EXPECT_EQ(0x40001u, UTL_LIB_XML_VEXA_SCHEMA_TYPE_VALUE_UNBOUNDED);
    EXPECT_EQ(0x40002u, UTL_LIB_XML_VEXA_SCHEMA_TYPE_STRING_UNBOUNDED);
    EXPECT_EQ(0x40004u, UTL_LIB_XML_VEXA_SCHEMA_TYPE_ENUM_UNBOUNDED);
    EXPECT_EQ(0x40008u, UTL_LIB_XML_VEXA_SCHEMA_TYPE_STRUCT_UNBOUNDED);
    EXPECT_EQ(0x80001u, UTL_LIB_XML_VEXA_SCHEMA_TYPE_VALUE_FIXED_MAX);
    EXPECT_EQ(0x80002u, UTL_LIB_XML_VEXA_SCHEMA_TYPE_STRING_FIXED_MAX);
    EXPECT_EQ(0x80004u, UTL_LIB_XML_VEXA_SCHEMA_TYPE_ENUM_FIXED_MAX);
    EXPECT_EQ(0x80008u, UTL_LIB_XML_VEXA_SCHEMA_TYPE_STRUCT_FIXED_MAX);
    EXPECT_EQ(0xE0008u, UTL_LIB_XML_VEXA_SCHEMA_TYPE_BIT_INTERRUPT_START);
    EXPECT_EQ(0x40008u, UTL_LIB_XML_VEXA_SCHEMA_TYPE_BIT_INTERRUPT_END);
    EXPECT_EQ(0x7u, UTL_LIB_XML_VEXA_SCHEMA_TYPE_BIT_INTERRUPT_DATA);
    EXPECT_EQ(0x40008u, UTL_LIB_XML_VEXA_SCHEMA_TYPE_BIT_MALLOC);
}

TEST(utl_lib_xml_vexa_schema_type, ids_fall_at_the_bottom_of_the_engine_ranges)
{
    EXPECT_EQ(static_cast<unsigned int>(UTL_LIB_XML_ENUM_ID_TOP),
              static_cast<unsigned int>(UTL_LIB_XML_VEXA_ENUM_ID_TOP));
    EXPECT_EQ(static_cast<unsigned int>(UTL_LIB_XML_STRUCT_ID_TOP),
              static_cast<unsigned int>(UTL_LIB_XML_VEXA_STRUCT_ID_STR_TOP));
    EXPECT_EQ(1000005u, UTL_LIB_XML_VEXA_ENUM_ID_ON_OFF_TYPE);
    EXPECT_EQ(1000012u, UTL_LIB_XML_VEXA_ENUM_ID_VERSION_INFORMATION_TYPE);
    EXPECT_EQ(1000030u, UTL_LIB_XML_VEXA_ENUM_ID_PACKAGE_TYPE);
    EXPECT_EQ(1000104u, UTL_LIB_XML_VEXA_ENUM_ID_XMPP_NOTE_TYPE);
    EXPECT_EQ(2000065u, UTL_LIB_XML_VEXA_STRUCT_ID_FIRMWARE_PACKAGE_ENTRY);
    EXPECT_EQ(2000066u, UTL_LIB_XML_VEXA_STRUCT_ID_FIRMWARE_DOWNLOAD_INFORMATION_ENTRY);
    EXPECT_EQ(2000067u, UTL_LIB_XML_VEXA_STRUCT_ID_FIRMWARE_DATA_INFORMATION_ENTRY);
    EXPECT_EQ(2000114u, UTL_LIB_XML_VEXA_STRUCT_ID_INTERFACE_REQUEST);
    EXPECT_EQ(2000117u, UTL_LIB_XML_VEXA_STRUCT_ID_INTERFACE_AGENT_CONNECTIVITY);
}

// ---- tables ----

TEST(utl_lib_xml_vexa_schema, interface_table_holds_the_firmware_package_row_only)
{
    std::vector<UTL_LIB_XML_VEXA_XML_SCHEMA> interfaces(
        3, UTL_LIB_XML_VEXA_XML_SCHEMA("stale", UTL_LIB_XML_VEXA_SCHEMA_TYPE_INTERFACE, 0, 1, 1,
                                       nullptr));
    utl_lib_xml_vexa_schema schema;
    CaptureStderr();
    EXPECT_EQ(0, schema.constract_interface(interfaces));
    EXPECT_EQ("", GetCapturedStderr());
    ASSERT_EQ(1u, interfaces.size());
    const UTL_LIB_XML_VEXA_XML_SCHEMA& row = interfaces[0];
    EXPECT_STREQ("firmware_package", row.tag_name);
    EXPECT_EQ(UTL_LIB_XML_VEXA_SCHEMA_TYPE_INTERFACE, row.schema_type);
    EXPECT_EQ(0u, row.offset);
    EXPECT_EQ(sizeof(PACKAGE_S), row.size);
    EXPECT_EQ(static_cast<UINT>(UTL_LIB_XML_VEXA_STRUCT_ID_FIRMWARE_PACKAGE_ENTRY),
              row.additional_id);
    EXPECT_EQ(nullptr, row.management_info.tmp_buff);
    EXPECT_EQ(UTL_LIB_XML_VEXA_MESSAGE_FIRMWARE_PACKAGE,
              row.additional_data.interface_type.message_type);
    EXPECT_EQ(7, row.additional_data.interface_type.message_type);
    EXPECT_TRUE(attr_info_is_zero(row));
}

TEST(utl_lib_xml_vexa_schema, struct_table_holds_three_entries_and_clears_what_was_there)
{
    std::map<UTL_LIB_XML_VEXA_STRUCT_ID, std::vector<UTL_LIB_XML_VEXA_XML_SCHEMA>> structs;
    structs[UTL_LIB_XML_VEXA_STRUCT_ID_INTERFACE_REQUEST] = {};
    utl_lib_xml_vexa_schema schema;
    CaptureStderr();
    EXPECT_EQ(0, schema.constract_struct(structs));
    EXPECT_EQ("", GetCapturedStderr());
    ASSERT_EQ(3u, structs.size());
    EXPECT_EQ(1u, structs.count(UTL_LIB_XML_VEXA_STRUCT_ID_FIRMWARE_PACKAGE_ENTRY));
    EXPECT_EQ(1u, structs.count(UTL_LIB_XML_VEXA_STRUCT_ID_FIRMWARE_DOWNLOAD_INFORMATION_ENTRY));
    EXPECT_EQ(1u, structs.count(UTL_LIB_XML_VEXA_STRUCT_ID_FIRMWARE_DATA_INFORMATION_ENTRY));
}

TEST(utl_lib_xml_vexa_schema, firmware_package_entry_binds_seven_members_by_offset_and_size)
{
    std::map<UTL_LIB_XML_VEXA_STRUCT_ID, std::vector<UTL_LIB_XML_VEXA_XML_SCHEMA>> structs;
    utl_lib_xml_vexa_schema schema;
    ASSERT_EQ(0, schema.constract_struct(structs));
    expect_rows(
        structs[UTL_LIB_XML_VEXA_STRUCT_ID_FIRMWARE_PACKAGE_ENTRY],
        {
            {"is_encrypted_url", UTL_LIB_XML_VEXA_SCHEMA_TYPE_ENUM_NORMAL,
             offsetof(PACKAGE_S, is_encrypted_url), 4, UTL_LIB_XML_VEXA_ENUM_ID_ON_OFF_TYPE, 0},
            {"device_id", UTL_LIB_XML_VEXA_SCHEMA_TYPE_STRING_OMISSIBLE,
             offsetof(PACKAGE_S, device_id), 22, 0, offsetof(PACKAGE_S, exist_device_id)},
            {"package_version", UTL_LIB_XML_VEXA_SCHEMA_TYPE_STRING_OMISSIBLE,
             offsetof(PACKAGE_S, package_version), 33, 0,
             offsetof(PACKAGE_S, exist_package_version)},
            {"total_size", UTL_LIB_XML_VEXA_SCHEMA_TYPE_VALUE_OMISSIBLE,
             offsetof(PACKAGE_S, total_size), 4, 0, offsetof(PACKAGE_S, exist_total_size)},
            {"description", UTL_LIB_XML_VEXA_SCHEMA_TYPE_STRING_OMISSIBLE,
             offsetof(PACKAGE_S, description), 129, 0, offsetof(PACKAGE_S, exist_description)},
            {"download_information", UTL_LIB_XML_VEXA_SCHEMA_TYPE_STRUCT_UNBOUNDED,
             offsetof(PACKAGE_S, download_information), sizeof(DOWNLOAD_S),
             UTL_LIB_XML_VEXA_STRUCT_ID_FIRMWARE_DOWNLOAD_INFORMATION_ENTRY,
             sizeof(DOWNLOAD_S) + sizeof(NODE)},
            {"package_type", UTL_LIB_XML_VEXA_SCHEMA_TYPE_ENUM_NORMAL,
             offsetof(PACKAGE_S, package_type), 4, UTL_LIB_XML_VEXA_ENUM_ID_PACKAGE_TYPE, 0},
        });
}

TEST(utl_lib_xml_vexa_schema, download_information_entry_binds_three_members)
{
    std::map<UTL_LIB_XML_VEXA_STRUCT_ID, std::vector<UTL_LIB_XML_VEXA_XML_SCHEMA>> structs;
    utl_lib_xml_vexa_schema schema;
    ASSERT_EQ(0, schema.constract_struct(structs));
    expect_rows(structs[UTL_LIB_XML_VEXA_STRUCT_ID_FIRMWARE_DOWNLOAD_INFORMATION_ENTRY],
                {
                    {"type", UTL_LIB_XML_VEXA_SCHEMA_TYPE_ENUM_NORMAL, offsetof(DOWNLOAD_S, type),
                     4, UTL_LIB_XML_VEXA_ENUM_ID_VERSION_INFORMATION_TYPE, 0},
                    {"version", UTL_LIB_XML_VEXA_SCHEMA_TYPE_STRING_OMISSIBLE,
                     offsetof(DOWNLOAD_S, version), 33, 0, offsetof(DOWNLOAD_S, exist_version)},
                    {"data_information", UTL_LIB_XML_VEXA_SCHEMA_TYPE_STRUCT_UNBOUNDED,
                     offsetof(DOWNLOAD_S, data_information), sizeof(DATA_S),
                     UTL_LIB_XML_VEXA_STRUCT_ID_FIRMWARE_DATA_INFORMATION_ENTRY,
                     sizeof(DATA_S) + sizeof(NODE)},
                });
}

TEST(utl_lib_xml_vexa_schema, data_information_entry_binds_six_members)
{
    std::map<UTL_LIB_XML_VEXA_STRUCT_ID, std::vector<UTL_LIB_XML_VEXA_XML_SCHEMA>> structs;
    utl_lib_xml_vexa_schema schema;
    ASSERT_EQ(0, schema.constract_struct(structs));
    expect_rows(structs[UTL_LIB_XML_VEXA_STRUCT_ID_FIRMWARE_DATA_INFORMATION_ENTRY],
                {
                    {"name", UTL_LIB_XML_VEXA_SCHEMA_TYPE_STRING_OMISSIBLE,
                     offsetof(DATA_S, name), 65, 0, offsetof(DATA_S, exist_name)},
                    {"filename", UTL_LIB_XML_VEXA_SCHEMA_TYPE_STRING_NORMAL,
                     offsetof(DATA_S, filename), 256, 0, 0},
                    {"download_url", UTL_LIB_XML_VEXA_SCHEMA_TYPE_STRING_OMISSIBLE,
                     offsetof(DATA_S, download_url), 513, 0, offsetof(DATA_S, exist_download_url)},
                    {"checksum", UTL_LIB_XML_VEXA_SCHEMA_TYPE_STRING_OMISSIBLE,
                     offsetof(DATA_S, checksum), 17, 0, offsetof(DATA_S, exist_checksum)},
                    {"size", UTL_LIB_XML_VEXA_SCHEMA_TYPE_VALUE_OMISSIBLE,
                     offsetof(DATA_S, size), 4, 0, offsetof(DATA_S, exist_size)},
                    {"version", UTL_LIB_XML_VEXA_SCHEMA_TYPE_STRING_OMISSIBLE,
                     offsetof(DATA_S, version), 33, 0, offsetof(DATA_S, exist_version)},
                });
}

TEST(utl_lib_xml_vexa_schema, list_node_size_is_the_node_header_plus_one_element_record)
{
    std::map<UTL_LIB_XML_VEXA_STRUCT_ID, std::vector<UTL_LIB_XML_VEXA_XML_SCHEMA>> structs;
    utl_lib_xml_vexa_schema schema;
    ASSERT_EQ(0, schema.constract_struct(structs));
    const UTL_LIB_XML_VEXA_XML_SCHEMA& groups =
        structs[UTL_LIB_XML_VEXA_STRUCT_ID_FIRMWARE_PACKAGE_ENTRY][5];
    EXPECT_EQ(groups.size + sizeof(NODE), groups.additional_data.unbounded.node_size);
    EXPECT_EQ(2 * sizeof(void*), sizeof(NODE));
}

TEST(utl_lib_xml_vexa_schema, enum_table_holds_four_entries_with_their_rows)
{
    std::map<UTL_LIB_XML_VEXA_ENUM_ID, std::vector<UTL_LIB_XML_VEXA_XML_ENUMERATION>> enums;
    enums[UTL_LIB_XML_VEXA_ENUM_ID_TOP] = {UTL_LIB_XML_VEXA_XML_ENUMERATION("stale", 9)};
    utl_lib_xml_vexa_schema schema;
    CaptureStderr();
    EXPECT_EQ(0, schema.constract_enum(enums));
    EXPECT_EQ("", GetCapturedStderr());
    ASSERT_EQ(4u, enums.size());
    typedef std::vector<std::pair<std::string, UINT>> pairs;
    EXPECT_EQ((pairs{{"error", 1}, {"info", 2}, {"warn", 3}}),
              pairs_of(enums[UTL_LIB_XML_VEXA_ENUM_ID_XMPP_NOTE_TYPE]));
    EXPECT_EQ((pairs{{"OFF", 1}, {"ON", 2}}), pairs_of(enums[UTL_LIB_XML_VEXA_ENUM_ID_ON_OFF_TYPE]));
    EXPECT_EQ((pairs{{"DEVICE_FIRMWARE", 1},
                     {"DEVICE_ENHANCEMENT", 2},
                     {"DEVICE_OPT_LANGUAGE", 3},
                     {"GATEWAY_FIRMWARE", 4},
                     {"MOBILE_AGENT", 5}}),
              pairs_of(enums[UTL_LIB_XML_VEXA_ENUM_ID_PACKAGE_TYPE]));
    EXPECT_EQ(55u, enums[UTL_LIB_XML_VEXA_ENUM_ID_VERSION_INFORMATION_TYPE].size());
}

TEST(utl_lib_xml_vexa_schema, version_information_enum_holds_all_55_names_in_value_order)
{
    const std::vector<std::string> names = {
        "FW_PACKAGE", "MAIN", "ENGINE", "PANEL", "SCANNER", "HIGH_VOLT_CPU", "MOTER_CPU",
        "SLEEP_CPU", "FINISHER_1000", "FINISHER_3000_MAIN", "FINISHER_3000_INNER_TRAY",
        "FINISHER_3000_BOOKLET", "MAIL_BOX", "FEEDER_500_X_2", "FEEDER_3000",
        "DOCUMENT_PROCESSOR_SIMPLE", "DOCUMENT_PROCESSOR_DUPLEX", "FAX_FIRMWARE_PORT_1",
        "FAX_FIRMWARE_PORT_2", "OPTION_LANGUAGE", "DICTIONARY_DATA", "BROWSER_DATA",
        "COLOR_TABLE_1", "COLOR_TABLE_2", "ENGINE_IO", "ENGINE_LSU", "ENGINE_FUSER",
        "BRIDGE_UNIT", "HANGER_FINISHER", "COPY_COLOR_TABLE_1", "COPY_COLOR_TABLE_2",
        "FEEDER_500_X_2_OUT_SIDE", "FEEDER_3000_OUT_SIDE", "FEEDER_A3_SIDE_MULTI_TRAY",
        "FINISHER_4000_MAIN", "FINISHER_4000_BOOKLET", "FINISHER_4000_PUNCH_UNIT",
        "FEEDER_A4_SIDE_DECK", "PDF_RESOURCE", "A4_OPTION_CASSETTE_2", "A4_OPTION_CASSETTE_3",
        "A4_OPTION_CASSETTE_4", "A4_OPTION_CASSETTE_5", "A4_OPTION_CASSETTE_6", "A4_BULK_FEEDER",
        "VIDEO_CPU", "MAIN_PANEL", "OCR_DICTIONARY_DATA", "OPTION_NIC", "OPTION_NIC2",
        "A4_OPTION_CASSETTE", "FAX_FIRMWARE", "NETWORK_MASTER", "ENHANCEMENT_PACKAGE", "OTHER"};
    ASSERT_EQ(55u, names.size());
    std::map<UTL_LIB_XML_VEXA_ENUM_ID, std::vector<UTL_LIB_XML_VEXA_XML_ENUMERATION>> enums;
    utl_lib_xml_vexa_schema schema;
    schema.constract_enum(enums);
    const std::vector<UTL_LIB_XML_VEXA_XML_ENUMERATION>& rows =
        enums[UTL_LIB_XML_VEXA_ENUM_ID_VERSION_INFORMATION_TYPE];
    ASSERT_EQ(55u, rows.size());
    for (size_t i = 0; i < rows.size(); ++i) {
        EXPECT_EQ(names[i], rows[i].enum_name) << "value " << i + 1;
        EXPECT_EQ(i + 1, rows[i].enum_value) << names[i];
    }
    EXPECT_STREQ("MOTER_CPU", rows[6].enum_name);
    EXPECT_EQ(static_cast<UINT>(UTL_LIB_XML_VEXA_VERSION_INFORMATION_MOTER_CPU),
              rows[6].enum_value);
    EXPECT_EQ(static_cast<UINT>(UTL_LIB_XML_VEXA_VERSION_INFORMATION_OTHER), rows[54].enum_value);
}

TEST(utl_lib_xml_vexa_schema, enum_values_equal_the_record_enums)
{
    std::map<UTL_LIB_XML_VEXA_ENUM_ID, std::vector<UTL_LIB_XML_VEXA_XML_ENUMERATION>> enums;
    utl_lib_xml_vexa_schema schema;
    schema.constract_enum(enums);
    const auto& on_off = enums[UTL_LIB_XML_VEXA_ENUM_ID_ON_OFF_TYPE];
    EXPECT_EQ(static_cast<UINT>(UTL_LIB_XML_VEXA_STATE_OFF), on_off[0].enum_value);
    EXPECT_EQ(static_cast<UINT>(UTL_LIB_XML_VEXA_STATE_ON), on_off[1].enum_value);
    const auto& package = enums[UTL_LIB_XML_VEXA_ENUM_ID_PACKAGE_TYPE];
    EXPECT_EQ(static_cast<UINT>(UTL_LIB_XML_VEXA_PACKAGE_DEVICE_ENHANCEMENT),
              package[1].enum_value);
    EXPECT_EQ(static_cast<UINT>(UTL_LIB_XML_VEXA_PACKAGE_MOBILE_AGENT), package[4].enum_value);
    const auto& note = enums[UTL_LIB_XML_VEXA_ENUM_ID_XMPP_NOTE_TYPE];
    EXPECT_EQ(static_cast<UINT>(UTL_LIB_XML_VEXA_XMPP_NOTE_WARN), note[2].enum_value);
    // Value 0 of every enum has no name.
    for (const auto& entry : enums) {
        for (const auto& row : entry.second) {
            EXPECT_NE(0u, row.enum_value) << row.enum_name;
        }
    }
}

// ---- what the layout means for parsed documents ----

TEST(utl_lib_xml_vexa_schema_limits, filename_has_no_presence_flag_and_stays_empty_when_absent)
{
    parsed_package parsed(one_file_document("<name>boot</name><size>12</size>"));
    ASSERT_EQ(0, parsed.ret());
    DATA_S* file = parsed.file(1, 1);
    ASSERT_NE(nullptr, file);
    EXPECT_STREQ("", file->filename);
    EXPECT_EQ(std::string(256, '\0'), std::string(file->filename, sizeof(file->filename)));
    EXPECT_STREQ("boot", file->name);
    EXPECT_EQ(1, file->exist_name);
    EXPECT_EQ(12, file->size);
}

TEST(utl_lib_xml_vexa_schema_limits, size_values_are_32_bit_and_cannot_hold_more_than_int_max)
{
    static_assert(sizeof(DATA_S::size) == 4, "size is an INT");
    static_assert(sizeof(PACKAGE_S::total_size) == 4, "total_size is an INT");
    parsed_package largest(
        "<firmware_package><total_size>2147483647</total_size><download_information><type>MAIN"
        "</type><data_information><size>2147483647</size></data_information>"
        "</download_information></firmware_package>");
    EXPECT_EQ(2147483647, largest.package().total_size);
    EXPECT_EQ(2147483647, largest.file(1, 1)->size);

    parsed_package larger(
        "<firmware_package><total_size>3000000000</total_size><download_information><type>MAIN"
        "</type><data_information><size>2147483648</size></data_information>"
        "</download_information></firmware_package>");
    EXPECT_EQ(2147483647, larger.package().total_size);
    EXPECT_EQ(1, larger.package().exist_total_size);
    EXPECT_EQ(2147483647, larger.file(1, 1)->size);
    EXPECT_EQ(1, larger.file(1, 1)->exist_size);
}

TEST(utl_lib_xml_vexa_schema_limits, string_members_hold_their_capacity_less_the_nul)
{
    const std::string long_text(600, 'x');
    std::string document =
        "<firmware_package><device_id>" + long_text + "</device_id><package_version>" +
        long_text + "</package_version><description>" + long_text +
        "</description><download_information><type>MAIN</type><version>" + long_text +
        "</version><data_information><name>" + long_text + "</name><filename>" + long_text +
        "</filename><download_url>" + long_text + "</download_url><checksum>" + long_text +
        "</checksum><version>" + long_text +
        "</version></data_information></download_information></firmware_package>";
    parsed_package parsed(document);
    ASSERT_EQ(0, parsed.ret());
    EXPECT_EQ(std::string(21, 'x'), parsed.package().device_id);
    EXPECT_EQ(std::string(32, 'x'), parsed.package().package_version);
    EXPECT_EQ(std::string(128, 'x'), parsed.package().description);
    DOWNLOAD_S* group = parsed.group(1);
    ASSERT_NE(nullptr, group);
    EXPECT_EQ(std::string(32, 'x'), group->version);
    DATA_S* file = parsed.file(1, 1);
    ASSERT_NE(nullptr, file);
    EXPECT_EQ(std::string(64, 'x'), file->name);
    EXPECT_EQ(std::string(255, 'x'), file->filename);
    EXPECT_EQ(std::string(512, 'x'), file->download_url);
    EXPECT_EQ(std::string(16, 'x'), file->checksum);
    EXPECT_EQ(std::string(32, 'x'), file->version);
}

TEST(utl_lib_xml_vexa_schema_limits, checksum_of_exactly_16_characters_is_kept_whole)
{
    parsed_package parsed(one_file_document("<checksum>0123456789abcdef</checksum>"));
    EXPECT_STREQ("0123456789abcdef", parsed.file(1, 1)->checksum);
    parsed_package longer(one_file_document("<checksum>0123456789abcdefg</checksum>"));
    EXPECT_STREQ("0123456789abcdef", longer.file(1, 1)->checksum);
}

TEST(utl_lib_xml_vexa_schema_limits, dictionary_names_match_exactly_and_never_each_other)
{
    parsed_package parsed(
        "<firmware_package>"
        "<download_information><type>DICTIONARY_DATA</type></download_information>"
        "<download_information><type>OCR_DICTIONARY_DATA</type></download_information>"
        "<download_information><type>DICTIONARY</type></download_information>"
        "<download_information><type>dictionary_data</type></download_information>"
        "</firmware_package>");
    ASSERT_EQ(0, parsed.ret());
    ASSERT_EQ(4, parsed.package().download_information.count);
    EXPECT_EQ(21, parsed.group(1)->type);
    EXPECT_EQ(UTL_LIB_XML_VEXA_VERSION_INFORMATION_DICTIONARY_DATA, parsed.group(1)->type);
    EXPECT_EQ(48, parsed.group(2)->type);
    EXPECT_EQ(UTL_LIB_XML_VEXA_VERSION_INFORMATION_OCR_DICTIONARY_DATA, parsed.group(2)->type);
    // Neither a part nor another case of a name is a name.
    EXPECT_EQ(0, parsed.group(3)->type);
    EXPECT_EQ(0, parsed.group(4)->type);
    EXPECT_THAT(parsed.trace(),
                testing::HasSubstr("[XML][WARNING]enum not found. name=DICTIONARY\n"));
    EXPECT_THAT(parsed.trace(),
                testing::HasSubstr("[XML][WARNING]enum not found. name=dictionary_data\n"));
}

TEST(utl_lib_xml_vexa_schema_limits, every_version_information_name_parses_to_its_value)
{
    std::map<UTL_LIB_XML_VEXA_ENUM_ID, std::vector<UTL_LIB_XML_VEXA_XML_ENUMERATION>> enums;
    utl_lib_xml_vexa_schema schema;
    schema.constract_enum(enums);
    std::string document = "<firmware_package>";
    for (const auto& row : enums[UTL_LIB_XML_VEXA_ENUM_ID_VERSION_INFORMATION_TYPE]) {
        document += std::string("<download_information><type>") + row.enum_name +
                    "</type></download_information>";
    }
    document += "</firmware_package>";
    parsed_package parsed(document);
    ASSERT_EQ(55, parsed.package().download_information.count);
    for (int i = 1; i <= 55; ++i) {
        EXPECT_EQ(i, parsed.group(i)->type);
    }
}
