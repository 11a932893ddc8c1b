// Tests of the schema mediator over the real engine, expat, host list
// library and allocator: xaddr and interrupt numbering observed through the
// engine, a realistic package description parsed field by field, written
// back byte for byte and parsed again, the trace of the parsed text, memory
// ownership, and the failure paths of registration, parsing and writing.
// A probe schema of the tests' own (added beside this build's tables)
// exercises the kinds that the firmware-package tables do not use: fixed
// maxima, unbounded strings, omissible structs and attributes.
#include "utl_lib_xml_vexa_mediator.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "clb_list.h"
#include "osw_os_wrapper.h"
#include "utl_lib_xml_vexa_data.h"

using namespace norvane;
using testing::HasSubstr;
using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

// The platform allocator of this test program: malloc like the host's, with
// a knob that makes the n-th block request fail. Defining the three calls
// here keeps the host's allocator object out of the link.
namespace {
int block_requests_until_failure = 0;  // 0: never fail
}  // namespace

void* zulOSWSubAllocMem(unsigned int size)
{
    if (block_requests_until_failure > 0 && --block_requests_until_failure == 0) {
        return nullptr;
    }
    return std::malloc(size);
}

void* zulOSWOrgAllocMemPart(void* /*pool*/, signed char size)
{
    return size <= 0 ? nullptr : std::malloc(static_cast<size_t>(size));
}

int zulOSWOrgFreeMemPart(void* /*pool*/, void* block)
{
    std::free(block);
    return 0;
}

namespace {

typedef UTL_LIB_XML_VEXA_FIRMWARE_PACKAGE_S PACKAGE_S;
typedef UTL_LIB_XML_VEXA_FIRMWARE_DOWNLOAD_INFORMATION_S DOWNLOAD_S;
typedef UTL_LIB_XML_VEXA_FIRMWARE_DATA_INFORMATION_S DATA_S;

// ---- the probe schema ----

constexpr UTL_LIB_XML_VEXA_STRUCT_ID PROBE_ID = static_cast<UTL_LIB_XML_VEXA_STRUCT_ID>(2000001);
constexpr UTL_LIB_XML_VEXA_STRUCT_ID PROBE_ITEM_ID =
    static_cast<UTL_LIB_XML_VEXA_STRUCT_ID>(2000002);
constexpr UTL_LIB_XML_VEXA_STRUCT_ID ODD_ID = static_cast<UTL_LIB_XML_VEXA_STRUCT_ID>(2000003);

struct PROBE_ITEM_S {
    INT code;
    BOOL exist_code;
    char label[9];
    BOOL exist_label;
};

struct PROBE_S {
    char tag[6];  // attribute "name" of the root, kept without a NUL when full
    BOOL exist_tag;
    INT slot[2];
    INT slot_count;
    LIST word;  // strings of 9 bytes
    PROBE_ITEM_S item;
    BOOL exist_item;
    INT level;  // attribute "level" of "item"
    BOOL exist_level;
    PROBE_ITEM_S pair[2];
    INT pair_count;
    UTL_LIB_XML_VEXA_STATE_TYPE mode;  // attribute "mode" of "pair"
    BOOL exist_mode;
};

void* at(size_t offset)
{
    return reinterpret_cast<void*>(static_cast<uintptr_t>(offset));
}

UTL_LIB_XML_VEXA_XML_ATTRIBUTE attribute(UTL_LIB_XML_VEXA_ATTRIBUTE_TYPE type, const char* name,
                                         size_t offset, UINT size, size_t occur_offset,
                                         UINT enum_id)
{
    UTL_LIB_XML_VEXA_XML_ATTRIBUTE attr;
    attr.attr_type = type;
    attr.attr_name = name;
    attr.attr_offset = offset;
    attr.attr_size = size;
    attr.attr_occur_offset = occur_offset;
    attr.attr_enum_id = static_cast<UTL_LIB_XML_VEXA_ENUM_ID>(enum_id);
    return attr;
}

// The mediator with its internals opened for the tests, the engine's view of
// which element positions a document reached, the interrupts that the engine
// reported, and optional probe tables.
class probe_mediator : public utl_lib_xml_vexa_mediator {
public:
    using utl_lib_xml_vexa_mediator::alloc_mem_vec_;
    using utl_lib_xml_vexa_mediator::clear_private_member;
    using utl_lib_xml_vexa_mediator::interrupt_map_;
    using utl_lib_xml_vexa_mediator::process_element_end;
    using utl_lib_xml_vexa_mediator::process_element_start;
    using utl_lib_xml_vexa_mediator::request_register_enum_member;
    using utl_lib_xml_vexa_mediator::request_register_struct_member;
    using utl_lib_xml_vexa_mediator::store_element_member;
    using utl_lib_xml_vexa_mediator::xaddr_map_;
    using utl_lib_xml_vexa_mediator::xml_schema_map_;

    bool track_positions = false;
    bool add_probe_tables = false;
    bool add_odd_rows = false;
    std::map<unsigned int, int> reached;  // xaddr id -> occurrence flag set by the engine
    std::vector<unsigned int> interrupts;

    int constract_xml_spec() override
    {
        int result = utl_lib_xml_vexa_mediator::constract_xml_spec();
        if (add_probe_tables) {
            add_probe_tables_();
        }
        if (add_odd_rows) {
            add_odd_rows_();
        }
        return result;
    }

    int request_register_xaddr_action(unsigned int xaddr_id) override
    {
        int result = utl_lib_xml_vexa_mediator::request_register_xaddr_action(xaddr_id);
        if (track_positions) {
            result |= register_xaddr_data_auto_setting(&reached[xaddr_id]);
        }
        return result;
    }

    int notify_xaddr_interrupt(unsigned int interrupt_id,
                               std::map<std::string, std::string>& attributes,
                               std::string& data) override
    {
        interrupts.push_back(interrupt_id);
        return utl_lib_xml_vexa_mediator::notify_xaddr_interrupt(interrupt_id, attributes, data);
    }

    // Builds this build's tables outside a parse.
    void build_tables()
    {
        clear_private_member();
        constract_xml_spec();
    }

private:
    void add_probe_tables_()
    {
        UTL_LIB_XML_VEXA_XML_SCHEMA root("probe", UTL_LIB_XML_VEXA_SCHEMA_TYPE_INTERFACE, 0,
                                         sizeof(PROBE_S), PROBE_ID, nullptr);
        root.additional_data.interface_type.message_type = UTL_LIB_XML_VEXA_MESSAGE_REQUEST;
        root.attr_info = attribute(UTL_LIB_XML_VEXA_ATTRIBUTE_TYPE_STRING, "name",
                                   offsetof(PROBE_S, tag), sizeof(PROBE_S::tag),
                                   offsetof(PROBE_S, exist_tag), 0);
        interface_vec_.push_back(root);

        std::vector<UTL_LIB_XML_VEXA_XML_SCHEMA> members;
        members.push_back(UTL_LIB_XML_VEXA_XML_SCHEMA(
            "slot", UTL_LIB_XML_VEXA_SCHEMA_TYPE_VALUE_FIXED_MAX, offsetof(PROBE_S, slot), 4, 0,
            at(offsetof(PROBE_S, slot_count)), 2));
        members.push_back(UTL_LIB_XML_VEXA_XML_SCHEMA(
            "word", UTL_LIB_XML_VEXA_SCHEMA_TYPE_STRING_UNBOUNDED, offsetof(PROBE_S, word), 9, 0,
            static_cast<UINT>(sizeof(NODE) + 9)));
        UTL_LIB_XML_VEXA_XML_SCHEMA item("item", UTL_LIB_XML_VEXA_SCHEMA_TYPE_STRUCT_OMISSIBLE,
                                         offsetof(PROBE_S, item), sizeof(PROBE_ITEM_S),
                                         PROBE_ITEM_ID, at(offsetof(PROBE_S, exist_item)));
        item.attr_info = attribute(UTL_LIB_XML_VEXA_ATTRIBUTE_TYPE_VALUE, "level",
                                   offsetof(PROBE_S, level), 4, offsetof(PROBE_S, exist_level), 0);
        members.push_back(item);
        UTL_LIB_XML_VEXA_XML_SCHEMA pair("pair", UTL_LIB_XML_VEXA_SCHEMA_TYPE_STRUCT_FIXED_MAX,
                                         offsetof(PROBE_S, pair), sizeof(PROBE_ITEM_S),
                                         PROBE_ITEM_ID, at(offsetof(PROBE_S, pair_count)), 2);
        pair.attr_info = attribute(UTL_LIB_XML_VEXA_ATTRIBUTE_TYPE_ENUM, "mode",
                                   offsetof(PROBE_S, mode), 4, offsetof(PROBE_S, exist_mode),
                                   UTL_LIB_XML_VEXA_ENUM_ID_ON_OFF_TYPE);
        members.push_back(pair);
        xml_schema_map_.insert(std::make_pair(PROBE_ID, members));

        std::vector<UTL_LIB_XML_VEXA_XML_SCHEMA> item_members;
        item_members.push_back(UTL_LIB_XML_VEXA_XML_SCHEMA(
            "code", UTL_LIB_XML_VEXA_SCHEMA_TYPE_VALUE_OMISSIBLE, offsetof(PROBE_ITEM_S, code), 4,
            0, at(offsetof(PROBE_ITEM_S, exist_code))));
        item_members.push_back(UTL_LIB_XML_VEXA_XML_SCHEMA(
            "label", UTL_LIB_XML_VEXA_SCHEMA_TYPE_STRING_OMISSIBLE, offsetof(PROBE_ITEM_S, label),
            9, 0, at(offsetof(PROBE_ITEM_S, exist_label))));
        xml_schema_map_.insert(std::make_pair(PROBE_ITEM_ID, item_members));
    }

    // Rows whose kinds the mediator cannot bind or write.
    void add_odd_rows_()
    {
        std::vector<UTL_LIB_XML_VEXA_XML_SCHEMA> rows;
        rows.push_back(UTL_LIB_XML_VEXA_XML_SCHEMA(
            "nested_interface", UTL_LIB_XML_VEXA_SCHEMA_TYPE_INTERFACE, 0, 4, 0, nullptr));
        rows.push_back(UTL_LIB_XML_VEXA_XML_SCHEMA(
            "mixed", static_cast<UTL_LIB_XML_VEXA_SCHEMA_TYPE>(0x10003), 0, 4, 0));
        rows.push_back(UTL_LIB_XML_VEXA_XML_SCHEMA(
            "bare_value", static_cast<UTL_LIB_XML_VEXA_SCHEMA_TYPE>(0x1), 0, 4, 0));
        rows.push_back(UTL_LIB_XML_VEXA_XML_SCHEMA(
            "bare_string", static_cast<UTL_LIB_XML_VEXA_SCHEMA_TYPE>(0x2), 0, 4, 0));
        rows.push_back(UTL_LIB_XML_VEXA_XML_SCHEMA(
            "bare_enum", static_cast<UTL_LIB_XML_VEXA_SCHEMA_TYPE>(0x4), 0, 4,
            UTL_LIB_XML_VEXA_ENUM_ID_ON_OFF_TYPE));
        rows.push_back(UTL_LIB_XML_VEXA_XML_SCHEMA(
            "bare_struct", static_cast<UTL_LIB_XML_VEXA_SCHEMA_TYPE>(0x8), 0, 4, PROBE_ITEM_ID));
        xml_schema_map_.insert(std::make_pair(ODD_ID, rows));
    }
};

// ---- records and lists built by the tests ----

template <typename RECORD>
RECORD* item_at(LIST& list, int index)
{
    NODE* node = zulCLBLstNth(&list, index);
    return node == nullptr
               ? nullptr
               : reinterpret_cast<RECORD*>(reinterpret_cast<char*>(node) + sizeof(NODE));
}

// List nodes that a test builds itself, freed at the end of the test.
class node_blocks {
public:
    ~node_blocks()
    {
        for (void* block : blocks_) {
            std::free(block);
        }
    }

    template <typename RECORD>
    void append(LIST& list, const RECORD& record)
    {
        void* block = std::calloc(1, sizeof(NODE) + sizeof(RECORD));
        std::memcpy(static_cast<char*>(block) + sizeof(NODE), &record, sizeof(RECORD));
        zulCLBLstAdd(&list, static_cast<NODE*>(block));
        blocks_.push_back(block);
    }

private:
    std::vector<void*> blocks_;
};

template <typename RECORD>
RECORD zeroed()
{
    RECORD record;
    std::memset(&record, 0, sizeof(record));
    return record;
}

std::string hex_address(const void* pointer)
{
    char text[16];
    std::snprintf(text, sizeof(text), "0x%08x",
                  static_cast<unsigned int>(reinterpret_cast<uintptr_t>(pointer)));
    return text;
}

// A package description as the phone delivers it: three download groups,
// four files, optional elements present and absent, an escaped character.
const char* const REALISTIC_PACKAGE =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<firmware_package>\n"
    "  <is_encrypted_url>OFF</is_encrypted_url>\n"
    "  <device_id>MFP-0042-AB</device_id>\n"
    "  <package_version>2.10.0034</package_version>\n"
    "  <total_size>15728640</total_size>\n"
    "  <description>Main &amp; engine firmware</description>\n"
    "  <download_information>\n"
    "    <type>MAIN</type>\n"
    "    <version>2.10.0034</version>\n"
    "    <data_information>\n"
    "      <name>main firmware</name>\n"
    "      <filename>main_fw.bin</filename>\n"
    "      <download_url>https://updates.example/pkg/main_fw.bin</download_url>\n"
    "      <checksum>12345</checksum>\n"
    "      <size>10485760</size>\n"
    "      <version>2.10.0034</version>\n"
    "    </data_information>\n"
    "    <data_information>\n"
    "      <name>fonts</name>\n"
    "      <filename>fonts/main_fonts.pkg</filename>\n"
    "      <checksum>00042</checksum>\n"
    "      <size>2097152</size>\n"
    "    </data_information>\n"
    "  </download_information>\n"
    "  <download_information>\n"
    "    <type>ENGINE</type>\n"
    "    <version>1.4</version>\n"
    "    <data_information>\n"
    "      <filename>engine.bin</filename>\n"
    "      <checksum>54321</checksum>\n"
    "      <size>3145728</size>\n"
    "    </data_information>\n"
    "  </download_information>\n"
    "  <download_information>\n"
    "    <type>MOTER_CPU</type>\n"
    "    <data_information>\n"
    "      <name>motor</name>\n"
    "      <filename>moter.hex</filename>\n"
    "      <size>0</size>\n"
    "    </data_information>\n"
    "  </download_information>\n"
    "  <package_type>DEVICE_ENHANCEMENT</package_type>\n"
    "</firmware_package>\n";

int parse_package(utl_lib_xml_vexa_mediator& mediator, const std::string& xml, PACKAGE_S& package,
                  std::string* trace = nullptr)
{
    std::memset(&package, 0, sizeof(package));
    UTL_LIB_XML_VEXA_RESULT result = UTL_LIB_XML_VEXA_RESULT_NO_ERR;
    CaptureStderr();
    int ret = mediator.parse(UTL_LIB_XML_VEXA_MESSAGE_FIRMWARE_PACKAGE, xml, &package, result);
    std::string text = GetCapturedStderr();
    if (trace != nullptr) {
        *trace = text;
    }
    return ret;
}

std::string create_package(utl_lib_xml_vexa_mediator& mediator, const PACKAGE_S& package,
                           int header = 0)
{
    std::string out;
    UTL_LIB_XML_VEXA_RESULT result = UTL_LIB_XML_VEXA_RESULT_NO_ERR;
    CaptureStderr();
    mediator.create(UTL_LIB_XML_VEXA_MESSAGE_FIRMWARE_PACKAGE, header, &package, out, result);
    GetCapturedStderr();
    return out;
}

void expect_same_file(const DATA_S& expected, const DATA_S& actual)
{
    EXPECT_EQ(0, std::memcmp(&expected, &actual, sizeof(DATA_S)))
        << expected.filename << " / " << actual.filename;
}

void expect_same_package(PACKAGE_S& expected, PACKAGE_S& actual)
{
    EXPECT_EQ(0, std::memcmp(&expected, &actual, offsetof(PACKAGE_S, download_information)));
    EXPECT_EQ(expected.package_type, actual.package_type);
    ASSERT_EQ(expected.download_information.count, actual.download_information.count);
    for (int g = 1; g <= expected.download_information.count; ++g) {
        DOWNLOAD_S* left = item_at<DOWNLOAD_S>(expected.download_information, g);
        DOWNLOAD_S* right = item_at<DOWNLOAD_S>(actual.download_information, g);
        ASSERT_NE(nullptr, left);
        ASSERT_NE(nullptr, right);
        EXPECT_EQ(left->type, right->type);
        EXPECT_EQ(0, std::memcmp(left->version, right->version, sizeof(left->version)));
        EXPECT_EQ(left->exist_version, right->exist_version);
        ASSERT_EQ(left->data_information.count, right->data_information.count);
        for (int f = 1; f <= left->data_information.count; ++f) {
            expect_same_file(*item_at<DATA_S>(left->data_information, f),
                             *item_at<DATA_S>(right->data_information, f));
        }
    }
}

}  // namespace

// ---- numbering ----

TEST(utl_lib_xml_vexa_mediator_xaddr, engine_knows_the_17_element_positions_by_their_paths)
{
    const std::vector<std::pair<unsigned int, std::vector<std::string>>> table = {
        {3000001, {"firmware_package"}},
        {3000002, {"firmware_package", "is_encrypted_url"}},
        {3000003, {"firmware_package", "device_id"}},
        {3000004, {"firmware_package", "package_version"}},
        {3000005, {"firmware_package", "total_size"}},
        {3000006, {"firmware_package", "description"}},
        {3000007, {"firmware_package", "download_information"}},
        {3000008, {"firmware_package", "download_information", "type"}},
        {3000009, {"firmware_package", "download_information", "version"}},
        {3000010, {"firmware_package", "download_information", "data_information"}},
        {3000011, {"firmware_package", "download_information", "data_information", "name"}},
        {3000012, {"firmware_package", "download_information", "data_information", "filename"}},
        {3000013,
         {"firmware_package", "download_information", "data_information", "download_url"}},
        {3000014, {"firmware_package", "download_information", "data_information", "checksum"}},
        {3000015, {"firmware_package", "download_information", "data_information", "size"}},
        {3000016, {"firmware_package", "download_information", "data_information", "version"}},
        {3000017, {"firmware_package", "package_type"}},
    };
    for (size_t i = 0; i < table.size(); ++i) {
        const std::vector<std::string>& path = table[i].second;
        // A document that reaches exactly this position and its ancestors.
        std::string document;
        for (const std::string& name : path) {
            document += "<" + name + ">";
        }
        for (size_t j = path.size(); j > 0; --j) {
            document += "</" + path[j - 1] + ">";
        }
        SCOPED_TRACE(document);
        probe_mediator mediator;
        mediator.track_positions = true;
        PACKAGE_S package;
        ASSERT_EQ(0, parse_package(mediator, document, package));
        ASSERT_EQ(17u, mediator.reached.size());
        EXPECT_EQ(3000001u, mediator.reached.begin()->first);
        EXPECT_EQ(3000017u, mediator.reached.rbegin()->first);
        std::vector<unsigned int> reached;
        for (const auto& entry : mediator.reached) {
            if (entry.second == 1) {
                reached.push_back(entry.first);
            }
        }
        // The ids on the way down: each ancestor of this row in the table.
        std::vector<unsigned int> expected;
        for (size_t k = 0; k <= i; ++k) {
            const std::vector<std::string>& other = table[k].second;
            if (other.size() <= path.size() &&
                std::equal(other.begin(), other.end(), path.begin())) {
                expected.push_back(table[k].first);
            }
        }
        EXPECT_EQ(expected, reached);
        EXPECT_EQ(table[i].first, reached.back());
    }
}

TEST(utl_lib_xml_vexa_mediator_xaddr, each_position_has_its_own_row_copy_with_its_parent_id)
{
    probe_mediator mediator;
    PACKAGE_S package;
    ASSERT_EQ(0, parse_package(mediator, "<firmware_package></firmware_package>", package));
    ASSERT_EQ(17u, mediator.xaddr_map_.size());
    EXPECT_STREQ("firmware_package", mediator.xaddr_map_[3000001]->tag_name);
    EXPECT_EQ(&package, mediator.xaddr_map_[3000001]->management_info.tmp_buff);
    EXPECT_STREQ("version", mediator.xaddr_map_[3000009]->tag_name);
    EXPECT_EQ(3000007u, mediator.xaddr_map_[3000009]->management_info.parent_xaddr_id);
    EXPECT_STREQ("version", mediator.xaddr_map_[3000016]->tag_name);
    EXPECT_EQ(3000010u, mediator.xaddr_map_[3000016]->management_info.parent_xaddr_id);
    EXPECT_EQ(3000001u, mediator.xaddr_map_[3000017]->management_info.parent_xaddr_id);
    EXPECT_STREQ("package_type", mediator.xaddr_map_[3000017]->tag_name);
    // 16 row copies: every position below the interface row.
    EXPECT_EQ(16u, mediator.alloc_mem_vec_.size());
}

TEST(utl_lib_xml_vexa_mediator_xaddr, a_second_interface_takes_the_id_after_the_last_descendant)
{
    probe_mediator mediator;
    mediator.add_probe_tables = true;
    mediator.track_positions = true;
    PROBE_S probe = zeroed<PROBE_S>();
    UTL_LIB_XML_VEXA_RESULT result = UTL_LIB_XML_VEXA_RESULT_NO_ERR;
    CaptureStderr();
    ASSERT_EQ(0, mediator.parse(UTL_LIB_XML_VEXA_MESSAGE_REQUEST,
                                "<probe><pair><label>x</label></pair></probe>", &probe, result));
    GetCapturedStderr();
    ASSERT_EQ(26u, mediator.reached.size());
    EXPECT_STREQ("probe", mediator.xaddr_map_[3000018]->tag_name);
    EXPECT_STREQ("slot", mediator.xaddr_map_[3000019]->tag_name);
    EXPECT_STREQ("label", mediator.xaddr_map_[3000023]->tag_name);
    EXPECT_STREQ("pair", mediator.xaddr_map_[3000024]->tag_name);
    EXPECT_STREQ("label", mediator.xaddr_map_[3000026]->tag_name);
    std::vector<unsigned int> reached;
    for (const auto& entry : mediator.reached) {
        if (entry.second == 1) {
            reached.push_back(entry.first);
        }
    }
    EXPECT_EQ((std::vector<unsigned int>{3000018, 3000024, 3000026}), reached);
}

TEST(utl_lib_xml_vexa_mediator_interrupt, ids_start_at_4000002_and_follow_the_xaddr_order)
{
    probe_mediator mediator;
    PACKAGE_S package;
    ASSERT_EQ(0, parse_package(mediator,
                               "<firmware_package><is_encrypted_url>ON</is_encrypted_url>"
                               "<device_id>D</device_id><download_information><type>MAIN</type>"
                               "<data_information><size>5</size></data_information>"
                               "</download_information><package_type>MOBILE_AGENT</package_type>"
                               "</firmware_package>",
                               package));
    EXPECT_EQ((std::vector<unsigned int>{4000002, 4000003, 4000004, 4000011, 4000013, 4000016,
                                         4000025, 4000026, 4000017, 4000012, 4000029}),
              mediator.interrupts);
    ASSERT_EQ(28u, mediator.interrupt_map_.size());
    EXPECT_EQ(4000002u, mediator.interrupt_map_.begin()->first);
    EXPECT_EQ(4000029u, mediator.interrupt_map_.rbegin()->first);
}

TEST(utl_lib_xml_vexa_mediator_interrupt, slots_hold_the_ids_of_start_data_end_by_kind)
{
    probe_mediator mediator;
    PACKAGE_S package;
    ASSERT_EQ(0, parse_package(mediator, "<firmware_package></firmware_package>", package));
    typedef std::vector<unsigned int> ids;
    auto slots = [&](unsigned int xaddr_id) {
        const UTL_LIB_XML_VEXA_INTERRUPT_ID* slot =
            mediator.xaddr_map_[xaddr_id]->management_info.interrupt_id;
        return ids{slot[0], slot[1], slot[2], slot[3]};  // data, start, end, attr
    };
    EXPECT_EQ((ids{0, 0, 0, 0}), slots(3000001));                  // interface: none
    EXPECT_EQ((ids{4000002, 0, 0, 0}), slots(3000002));            // ENUM_NORMAL: data
    EXPECT_EQ((ids{4000004, 4000003, 0, 0}), slots(3000003));      // STRING_OMISSIBLE
    EXPECT_EQ((ids{4000008, 4000007, 0, 0}), slots(3000005));      // VALUE_OMISSIBLE
    EXPECT_EQ((ids{0, 4000011, 4000012, 0}), slots(3000007));      // STRUCT_UNBOUNDED
    EXPECT_EQ((ids{4000020, 0, 0, 0}), slots(3000012));            // STRING_NORMAL
    EXPECT_EQ((ids{4000029, 0, 0, 0}), slots(3000017));
    EXPECT_EQ(mediator.xaddr_map_[3000007], mediator.interrupt_map_[4000012]);
}

// ---- parsing ----

TEST(utl_lib_xml_vexa_mediator_parse, realistic_package_fills_every_field_flag_and_list)
{
    utl_lib_xml_vexa_mediator mediator;
    PACKAGE_S package;
    std::string trace;
    ASSERT_EQ(0, parse_package(mediator, REALISTIC_PACKAGE, package, &trace));

    EXPECT_EQ(UTL_LIB_XML_VEXA_STATE_OFF, package.is_encrypted_url);
    EXPECT_STREQ("MFP-0042-AB", package.device_id);
    EXPECT_EQ(1, package.exist_device_id);
    EXPECT_STREQ("2.10.0034", package.package_version);
    EXPECT_EQ(1, package.exist_package_version);
    EXPECT_EQ(15728640, package.total_size);
    EXPECT_EQ(1, package.exist_total_size);
    EXPECT_STREQ("Main & engine firmware", package.description);
    EXPECT_EQ(1, package.exist_description);
    EXPECT_EQ(UTL_LIB_XML_VEXA_PACKAGE_DEVICE_ENHANCEMENT, package.package_type);
    ASSERT_EQ(3, package.download_information.count);

    DOWNLOAD_S* main_group = item_at<DOWNLOAD_S>(package.download_information, 1);
    ASSERT_NE(nullptr, main_group);
    EXPECT_EQ(UTL_LIB_XML_VEXA_VERSION_INFORMATION_MAIN, main_group->type);
    EXPECT_STREQ("2.10.0034", main_group->version);
    EXPECT_EQ(1, main_group->exist_version);
    ASSERT_EQ(2, main_group->data_information.count);

    DATA_S* firmware = item_at<DATA_S>(main_group->data_information, 1);
    EXPECT_STREQ("main firmware", firmware->name);
    EXPECT_EQ(1, firmware->exist_name);
    EXPECT_STREQ("main_fw.bin", firmware->filename);
    EXPECT_STREQ("https://updates.example/pkg/main_fw.bin", firmware->download_url);
    EXPECT_EQ(1, firmware->exist_download_url);
    EXPECT_STREQ("12345", firmware->checksum);
    EXPECT_EQ(1, firmware->exist_checksum);
    EXPECT_EQ(10485760, firmware->size);
    EXPECT_EQ(1, firmware->exist_size);
    EXPECT_STREQ("2.10.0034", firmware->version);
    EXPECT_EQ(1, firmware->exist_version);

    DATA_S* fonts = item_at<DATA_S>(main_group->data_information, 2);
    EXPECT_STREQ("fonts", fonts->name);
    EXPECT_EQ(1, fonts->exist_name);
    EXPECT_STREQ("fonts/main_fonts.pkg", fonts->filename);
    EXPECT_STREQ("", fonts->download_url);
    EXPECT_EQ(0, fonts->exist_download_url);
    EXPECT_STREQ("00042", fonts->checksum);
    EXPECT_EQ(1, fonts->exist_checksum);
    EXPECT_EQ(2097152, fonts->size);
    EXPECT_EQ(1, fonts->exist_size);
    EXPECT_STREQ("", fonts->version);
    EXPECT_EQ(0, fonts->exist_version);

    DOWNLOAD_S* engine_group = item_at<DOWNLOAD_S>(package.download_information, 2);
    EXPECT_EQ(UTL_LIB_XML_VEXA_VERSION_INFORMATION_ENGINE, engine_group->type);
    EXPECT_STREQ("1.4", engine_group->version);
    EXPECT_EQ(1, engine_group->exist_version);
    ASSERT_EQ(1, engine_group->data_information.count);
    DATA_S* engine = item_at<DATA_S>(engine_group->data_information, 1);
    EXPECT_STREQ("", engine->name);
    EXPECT_EQ(0, engine->exist_name);
    EXPECT_STREQ("engine.bin", engine->filename);
    EXPECT_STREQ("54321", engine->checksum);
    EXPECT_EQ(3145728, engine->size);

    DOWNLOAD_S* motor_group = item_at<DOWNLOAD_S>(package.download_information, 3);
    EXPECT_EQ(UTL_LIB_XML_VEXA_VERSION_INFORMATION_MOTER_CPU, motor_group->type);
    EXPECT_EQ(7, motor_group->type);
    EXPECT_STREQ("", motor_group->version);
    EXPECT_EQ(0, motor_group->exist_version);
    ASSERT_EQ(1, motor_group->data_information.count);
    DATA_S* motor = item_at<DATA_S>(motor_group->data_information, 1);
    EXPECT_STREQ("motor", motor->name);
    EXPECT_STREQ("moter.hex", motor->filename);
    EXPECT_EQ(0, motor->size);
    EXPECT_EQ(1, motor->exist_size);
    EXPECT_EQ(0, motor->exist_checksum);

    const std::string text = REALISTIC_PACKAGE;
    ASSERT_EQ(1378u, text.size());
    EXPECT_EQ("[XML][IMP    ]Parse IN  type[7] size[1378]<<\n"
              "[XML][IMP    ]Parse START[" + text.substr(0, 128) + "]\n"
              "[XML][IMP    ]Parse END  [" + text.substr(1378 - 128) + "]\n"
              "[XML][IMP    ]Parse OUT ret[0] result[0] size[1378] >>\n",
              trace);
}

TEST(utl_lib_xml_vexa_mediator_parse, message_type_is_only_logged_the_root_chooses_the_interface)
{
    utl_lib_xml_vexa_mediator mediator;
    PACKAGE_S package = zeroed<PACKAGE_S>();
    UTL_LIB_XML_VEXA_RESULT result = UTL_LIB_XML_VEXA_RESULT_NO_ERR;
    const std::string xml = "<firmware_package><device_id>X</device_id></firmware_package>";
    CaptureStderr();
    EXPECT_EQ(0, mediator.parse(UTL_LIB_XML_VEXA_MESSAGE_RESPONSE, xml, &package, result));
    EXPECT_EQ("[XML][IMP    ]Parse IN  type[2] size[61]<<\n"
              "[XML][IMP    ]Parse [" + xml + "]\n"
              "[XML][IMP    ]Parse OUT ret[0] result[0] size[61] >>\n",
              GetCapturedStderr());
    EXPECT_STREQ("X", package.device_id);
    EXPECT_EQ(1, package.exist_device_id);
}

TEST(utl_lib_xml_vexa_mediator_parse, a_root_other_than_firmware_package_fills_nothing)
{
    utl_lib_xml_vexa_mediator mediator;
    PACKAGE_S package = zeroed<PACKAGE_S>();
    UTL_LIB_XML_VEXA_RESULT result = UTL_LIB_XML_VEXA_RESULT_NO_ERR;
    const std::string xml = "<package><device_id>X</device_id></package>";
    CaptureStderr();
    EXPECT_EQ(0, mediator.parse(UTL_LIB_XML_VEXA_MESSAGE_FIRMWARE_PACKAGE, xml, &package, result));
    EXPECT_EQ("[XML][IMP    ]Parse IN  type[7] size[43]<<\n"
              "[XML][IMP    ]Parse [" + xml + "]\n"
              "[XML][WARNING]element not found. name=package\n"
              "[XML][WARNING]element not found. name=device_id\n"
              "[XML][ERROR! ]element not found. data=X\n"
              "[XML][WARNING]element not found. name=device_id\n"
              "[XML][WARNING]element not found. name=package\n"
              "[XML][IMP    ]Parse OUT ret[0] result[0] size[43] >>\n",
              GetCapturedStderr());
    EXPECT_EQ(UTL_LIB_XML_VEXA_RESULT_NO_ERR, result);
    PACKAGE_S zero = zeroed<PACKAGE_S>();
    EXPECT_EQ(0, std::memcmp(&zero, &package, sizeof(package)));
}

TEST(utl_lib_xml_vexa_mediator_parse, malformed_text_is_a_parser_error_and_frees_open_scratch)
{
    probe_mediator mediator;
    PACKAGE_S package = zeroed<PACKAGE_S>();
    UTL_LIB_XML_VEXA_RESULT result = UTL_LIB_XML_VEXA_RESULT_NO_ERR;
    const std::string xml = "<firmware_package><download_information><type>MAIN</type>";
    CaptureStderr();
    EXPECT_EQ(1, mediator.parse(UTL_LIB_XML_VEXA_MESSAGE_FIRMWARE_PACKAGE, xml, &package, result));
    std::string trace = GetCapturedStderr();
    EXPECT_EQ(UTL_LIB_XML_VEXA_RESULT_PARSER_ERR, result);
    EXPECT_THAT(trace, HasSubstr("[XML][IMP    ]Parse OUT ret[1] result[2] size[57] >>\n"));
    // The group never ended: no node reached the list, and its scratch
    // record went back to the allocator.
    EXPECT_EQ(0, package.download_information.count);
    EXPECT_EQ(nullptr, mediator.xaddr_map_[3000007]->management_info.tmp_buff);
}

TEST(utl_lib_xml_vexa_mediator_parse, result_is_left_as_the_caller_set_it_on_success)
{
    utl_lib_xml_vexa_mediator mediator;
    PACKAGE_S package = zeroed<PACKAGE_S>();
    UTL_LIB_XML_VEXA_RESULT result = UTL_LIB_XML_VEXA_RESULT_MEMORY_ERR;
    CaptureStderr();
    EXPECT_EQ(0, mediator.parse(UTL_LIB_XML_VEXA_MESSAGE_FIRMWARE_PACKAGE,
                                "<firmware_package/>", &package, result));
    EXPECT_THAT(GetCapturedStderr(),
                HasSubstr("[XML][IMP    ]Parse OUT ret[0] result[3] size[19] >>\n"));
    EXPECT_EQ(UTL_LIB_XML_VEXA_RESULT_MEMORY_ERR, result);
}

TEST(utl_lib_xml_vexa_mediator_parse, absent_omissible_elements_leave_their_flags_zero)
{
    utl_lib_xml_vexa_mediator mediator;
    PACKAGE_S package;
    ASSERT_EQ(0, parse_package(mediator,
                               "<firmware_package><package_type>DEVICE_FIRMWARE</package_type>"
                               "</firmware_package>",
                               package));
    EXPECT_EQ(0, package.exist_device_id);
    EXPECT_EQ(0, package.exist_package_version);
    EXPECT_EQ(0, package.exist_total_size);
    EXPECT_EQ(0, package.exist_description);
    EXPECT_EQ(0, package.download_information.count);
    EXPECT_EQ(UTL_LIB_XML_VEXA_STATE_TYPE_NONE, package.is_encrypted_url);
    EXPECT_EQ(UTL_LIB_XML_VEXA_PACKAGE_DEVICE_FIRMWARE, package.package_type);
}

TEST(utl_lib_xml_vexa_mediator_parse, an_empty_omissible_element_is_present_with_empty_text)
{
    utl_lib_xml_vexa_mediator mediator;
    PACKAGE_S package;
    ASSERT_EQ(0, parse_package(mediator, "<firmware_package><description/></firmware_package>",
                               package));
    EXPECT_EQ(1, package.exist_description);
    EXPECT_STREQ("", package.description);
}

TEST(utl_lib_xml_vexa_mediator_parse, text_longer_than_capacity_is_cut_to_capacity_less_one)
{
    utl_lib_xml_vexa_mediator mediator;
    PACKAGE_S package;
    const std::string text(140, 'd');
    std::string trace;
    ASSERT_EQ(0, parse_package(mediator,
                               "<firmware_package><description>" + text +
                                   "</description><device_id>0123456789abcdefghijklmnop"
                                   "</device_id></firmware_package>",
                               package, &trace));
    EXPECT_EQ(std::string(128, 'd'), package.description);
    EXPECT_EQ('\0', package.description[128]);
    EXPECT_STREQ("0123456789abcdefghijk", package.device_id);
    // Cut without notice.
    EXPECT_THAT(trace, testing::Not(HasSubstr("ERROR")));
}

TEST(utl_lib_xml_vexa_mediator_parse, unknown_enum_name_stores_zero_and_non_numbers_store_zero)
{
    utl_lib_xml_vexa_mediator mediator;
    PACKAGE_S package;
    std::string trace;
    ASSERT_EQ(0, parse_package(mediator,
                               "<firmware_package><is_encrypted_url>on</is_encrypted_url>"
                               "<total_size>many</total_size>"
                               "<package_type>NONE</package_type></firmware_package>",
                               package, &trace));
    EXPECT_EQ(0, package.is_encrypted_url);
    EXPECT_EQ(0, package.package_type);
    EXPECT_EQ(0, package.total_size);
    EXPECT_EQ(1, package.exist_total_size);
    EXPECT_THAT(trace, HasSubstr("[XML][WARNING]enum not found. name=on\n"
                                 "[XML][IMP    ]skip convert enum. enum_id=1000005 string=on\n"));
    EXPECT_THAT(trace, HasSubstr("[XML][WARNING]enum not found. name=NONE\n"));
}

TEST(utl_lib_xml_vexa_mediator_parse, negative_and_signed_values_read_as_decimal)
{
    utl_lib_xml_vexa_mediator mediator;
    PACKAGE_S package;
    ASSERT_EQ(0, parse_package(mediator,
                               "<firmware_package><total_size>-42</total_size></firmware_package>",
                               package));
    EXPECT_EQ(-42, package.total_size);
    ASSERT_EQ(0, parse_package(mediator,
                               "<firmware_package><total_size> +17kb</total_size>"
                               "</firmware_package>",
                               package));
    EXPECT_EQ(17, package.total_size);
}

TEST(utl_lib_xml_vexa_mediator_parse, a_null_record_binds_nothing_and_does_not_fail)
{
    probe_mediator mediator;
    UTL_LIB_XML_VEXA_RESULT result = UTL_LIB_XML_VEXA_RESULT_NO_ERR;
    CaptureStderr();
    EXPECT_EQ(0, mediator.parse(UTL_LIB_XML_VEXA_MESSAGE_FIRMWARE_PACKAGE,
                                "<firmware_package><device_id>X</device_id><download_information>"
                                "<type>MAIN</type></download_information></firmware_package>",
                                nullptr, result));
    GetCapturedStderr();
    // The node was still allocated and is owned by the mediator; the scratch
    // record of the group, which its end could not store, was returned when
    // the parse was over.
    EXPECT_EQ(17u, mediator.alloc_mem_vec_.size());
    EXPECT_EQ(nullptr, mediator.xaddr_map_[3000007]->management_info.tmp_buff);
}

// ---- the debug log of the parsed text ----

TEST(utl_lib_xml_vexa_mediator_log, text_of_exactly_128_characters_is_logged_twice_whole)
{
    const std::string xml =
        "<firmware_package><description>" + std::string(64, 'q') + "</description>" +
        "</firmware_package>";
    ASSERT_EQ(128u, xml.size());
    utl_lib_xml_vexa_mediator mediator;
    PACKAGE_S package;
    std::string trace;
    ASSERT_EQ(0, parse_package(mediator, xml, package, &trace));
    EXPECT_EQ("[XML][IMP    ]Parse IN  type[7] size[128]<<\n"
              "[XML][IMP    ]Parse START[" + xml + "]\n"
              "[XML][IMP    ]Parse END  [" + xml + "]\n"
              "[XML][IMP    ]Parse OUT ret[0] result[0] size[128] >>\n",
              trace);
}

TEST(utl_lib_xml_vexa_mediator_log, text_of_127_characters_is_logged_once)
{
    const std::string xml =
        "<firmware_package><description>" + std::string(63, 'q') + "</description>" +
        "</firmware_package>";
    ASSERT_EQ(127u, xml.size());
    utl_lib_xml_vexa_mediator mediator;
    PACKAGE_S package;
    std::string trace;
    ASSERT_EQ(0, parse_package(mediator, xml, package, &trace));
    EXPECT_EQ("[XML][IMP    ]Parse IN  type[7] size[127]<<\n"
              "[XML][IMP    ]Parse [" + xml + "]\n"
              "[XML][IMP    ]Parse OUT ret[0] result[0] size[127] >>\n",
              trace);
}

TEST(utl_lib_xml_vexa_mediator_log, longer_text_logs_its_first_and_last_128_characters)
{
    const std::string xml =
        "<firmware_package><description>" + std::string(100, 'a') + std::string(100, 'z') +
        "</description></firmware_package>";
    ASSERT_EQ(264u, xml.size());
    utl_lib_xml_vexa_mediator mediator;
    PACKAGE_S package;
    std::string trace;
    ASSERT_EQ(0, parse_package(mediator, xml, package, &trace));
    EXPECT_EQ("[XML][IMP    ]Parse IN  type[7] size[264]<<\n"
              "[XML][IMP    ]Parse START[" + xml.substr(0, 128) + "]\n"
              "[XML][IMP    ]Parse END  [" + xml.substr(264 - 128) + "]\n"
              "[XML][IMP    ]Parse OUT ret[0] result[0] size[264] >>\n",
              trace);
}

TEST(utl_lib_xml_vexa_mediator_log, empty_text_is_logged_empty_and_fails_in_the_parser)
{
    utl_lib_xml_vexa_mediator mediator;
    PACKAGE_S package;
    std::string trace;
    EXPECT_EQ(1, parse_package(mediator, "", package, &trace));
    EXPECT_THAT(trace, testing::StartsWith("[XML][IMP    ]Parse IN  type[7] size[0]<<\n"
                                           "[XML][IMP    ]Parse []\n"));
    EXPECT_THAT(trace, HasSubstr("[XML][IMP    ]Parse OUT ret[1] result[2] size[0] >>\n"));
}

// ---- writing ----

TEST(utl_lib_xml_vexa_mediator_create, small_record_is_written_byte_for_byte)
{
    node_blocks nodes;
    DATA_S file = zeroed<DATA_S>();
    std::strcpy(file.name, "n");
    file.exist_name = 1;
    std::strcpy(file.filename, "f.bin");
    std::strcpy(file.download_url, "http://unused");  // not flagged: left out
    std::strcpy(file.checksum, "00012");
    file.exist_checksum = 1;
    file.size = 7;
    file.exist_size = 1;
    DOWNLOAD_S group = zeroed<DOWNLOAD_S>();
    group.type = UTL_LIB_XML_VEXA_VERSION_INFORMATION_MAIN;
    std::strcpy(group.version, "2");
    group.exist_version = 1;
    nodes.append(group.data_information, file);
    PACKAGE_S package = zeroed<PACKAGE_S>();
    package.is_encrypted_url = UTL_LIB_XML_VEXA_STATE_OFF;
    std::strcpy(package.device_id, "DEV-1");
    package.exist_device_id = 1;
    std::strcpy(package.package_version, "1.0");
    package.exist_package_version = 1;
    package.total_size = -42;
    package.exist_total_size = 1;
    std::strcpy(package.description, "a<b&c");
    package.exist_description = 1;
    nodes.append(package.download_information, group);
    package.package_type = UTL_LIB_XML_VEXA_PACKAGE_DEVICE_FIRMWARE;

    utl_lib_xml_vexa_mediator mediator;
    std::string out = "prefix:";
    UTL_LIB_XML_VEXA_RESULT result = UTL_LIB_XML_VEXA_RESULT_NO_ERR;
    CaptureStderr();
    EXPECT_EQ(0,
              mediator.create(UTL_LIB_XML_VEXA_MESSAGE_FIRMWARE_PACKAGE, 0, &package, out, result));
    std::string trace = GetCapturedStderr();
    const std::string expected =
        "prefix:<firmware_package><is_encrypted_url>OFF</is_encrypted_url>"
        "<device_id>DEV-1</device_id><package_version>1.0</package_version>"
        "<total_size>-42</total_size><description>a&lt;b&amp;c</description>"
        "<download_information><type>MAIN</type><version>2</version><data_information>"
        "<name>n</name><filename>f.bin</filename><checksum>00012</checksum><size>7</size>"
        "</data_information></download_information><package_type>DEVICE_FIRMWARE</package_type>"
        "</firmware_package>";
    EXPECT_EQ(expected, out);
    EXPECT_EQ("[XML][IMP    ]Create IN  type[7]<<\n"
              "[XML][IMP    ]Create OUT ret[0] result[0] size[" +
                  std::to_string(expected.size()) + "] >>\n",
              trace);
    EXPECT_EQ(UTL_LIB_XML_VEXA_RESULT_NO_ERR, result);
}

TEST(utl_lib_xml_vexa_mediator_create, header_flag_1_puts_the_declaration_first)
{
    utl_lib_xml_vexa_mediator mediator;
    PACKAGE_S package = zeroed<PACKAGE_S>();
    package.package_type = UTL_LIB_XML_VEXA_PACKAGE_GATEWAY_FIRMWARE;
    EXPECT_EQ("<?xml version=\"1.0\" encoding=\"UTF-8\"?><firmware_package>"
              "<package_type>GATEWAY_FIRMWARE</package_type></firmware_package>",
              create_package(mediator, package, 1));
    EXPECT_EQ("<firmware_package><package_type>GATEWAY_FIRMWARE</package_type>"
              "</firmware_package>",
              create_package(mediator, package, 0));
}

TEST(utl_lib_xml_vexa_mediator_create, omissible_element_without_flag_is_left_out_despite_data)
{
    utl_lib_xml_vexa_mediator mediator;
    PACKAGE_S package = zeroed<PACKAGE_S>();
    std::strcpy(package.device_id, "DEV-1");
    std::strcpy(package.description, "text");
    package.total_size = 99;
    package.exist_total_size = 2;  // only exactly 1 means present
    EXPECT_EQ("<firmware_package></firmware_package>", create_package(mediator, package));
    package.exist_device_id = 1;
    EXPECT_EQ("<firmware_package><device_id>DEV-1</device_id></firmware_package>",
              create_package(mediator, package));
}

TEST(utl_lib_xml_vexa_mediator_create, normal_enums_are_always_written_and_vanish_without_name)
{
    utl_lib_xml_vexa_mediator mediator;
    PACKAGE_S package = zeroed<PACKAGE_S>();
    // NONE (0) has no name: both elements vanish.
    EXPECT_EQ("<firmware_package></firmware_package>", create_package(mediator, package));
    package.is_encrypted_url = UTL_LIB_XML_VEXA_STATE_ON;
    package.package_type = UTL_LIB_XML_VEXA_PACKAGE_MOBILE_AGENT;
    EXPECT_EQ("<firmware_package><is_encrypted_url>ON</is_encrypted_url>"
              "<package_type>MOBILE_AGENT</package_type></firmware_package>",
              create_package(mediator, package));
    package.package_type = static_cast<UTL_LIB_XML_VEXA_PACKAGE_TYPE>(9);
    EXPECT_EQ("<firmware_package><is_encrypted_url>ON</is_encrypted_url></firmware_package>",
              create_package(mediator, package));
}

TEST(utl_lib_xml_vexa_mediator_create, an_empty_download_list_writes_no_element)
{
    node_blocks nodes;
    utl_lib_xml_vexa_mediator mediator;
    PACKAGE_S package = zeroed<PACKAGE_S>();
    package.package_type = UTL_LIB_XML_VEXA_PACKAGE_DEVICE_FIRMWARE;
    EXPECT_EQ(0, package.download_information.count);
    EXPECT_EQ("<firmware_package><package_type>DEVICE_FIRMWARE</package_type>"
              "</firmware_package>",
              create_package(mediator, package));
    // A group with an empty file list writes the group without files.
    DOWNLOAD_S group = zeroed<DOWNLOAD_S>();
    group.type = UTL_LIB_XML_VEXA_VERSION_INFORMATION_OTHER;
    nodes.append(package.download_information, group);
    EXPECT_EQ("<firmware_package><download_information><type>OTHER</type>"
              "</download_information><package_type>DEVICE_FIRMWARE</package_type>"
              "</firmware_package>",
              create_package(mediator, package));
}

TEST(utl_lib_xml_vexa_mediator_create, a_type_without_interface_row_writes_nothing)
{
    utl_lib_xml_vexa_mediator mediator;
    PACKAGE_S package = zeroed<PACKAGE_S>();
    package.package_type = UTL_LIB_XML_VEXA_PACKAGE_DEVICE_FIRMWARE;
    std::string out = "keep";
    UTL_LIB_XML_VEXA_RESULT result = UTL_LIB_XML_VEXA_RESULT_MEMORY_ERR;
    CaptureStderr();
    EXPECT_EQ(0, mediator.create(UTL_LIB_XML_VEXA_MESSAGE_RESPONSE, 1, &package, out, result));
    EXPECT_EQ("[XML][IMP    ]Create IN  type[2]<<\n"
              "[XML][IMP    ]Create OUT ret[0] result[3] size[4] >>\n",
              GetCapturedStderr());
    EXPECT_EQ("keep", out);
    EXPECT_EQ(UTL_LIB_XML_VEXA_RESULT_MEMORY_ERR, result);
}

TEST(utl_lib_xml_vexa_mediator_create, parsed_package_written_back_parses_to_the_same_record)
{
    utl_lib_xml_vexa_mediator reader;
    PACKAGE_S first;
    ASSERT_EQ(0, parse_package(reader, REALISTIC_PACKAGE, first));
    utl_lib_xml_vexa_mediator writer;
    std::string written = create_package(writer, first, 1);
    EXPECT_THAT(written, testing::StartsWith("<?xml version=\"1.0\" encoding=\"UTF-8\"?>"
                                             "<firmware_package><is_encrypted_url>OFF"));
    EXPECT_THAT(written, HasSubstr("<description>Main &amp; engine firmware</description>"));
    EXPECT_THAT(written, HasSubstr("<download_information><type>MOTER_CPU</type>"
                                   "<data_information><name>motor</name>"
                                   "<filename>moter.hex</filename><size>0</size>"
                                   "</data_information></download_information>"));

    utl_lib_xml_vexa_mediator second_reader;
    PACKAGE_S second;
    ASSERT_EQ(0, parse_package(second_reader, written, second));
    expect_same_package(first, second);
    // And the text is stable from then on.
    EXPECT_EQ(written, create_package(writer, second, 1));
}

// ---- kinds that only the probe schema uses ----

TEST(utl_lib_xml_vexa_mediator_probe, fixed_max_unbounded_strings_structs_and_attributes_parse)
{
    probe_mediator mediator;
    mediator.add_probe_tables = true;
    PROBE_S probe = zeroed<PROBE_S>();
    UTL_LIB_XML_VEXA_RESULT result = UTL_LIB_XML_VEXA_RESULT_NO_ERR;
    CaptureStderr();
    ASSERT_EQ(0, mediator.parse(UTL_LIB_XML_VEXA_MESSAGE_REQUEST,
                                "<probe name=\"north-east\"><slot>1</slot><slot>2</slot>"
                                "<slot>3</slot><word>alpha</word><word>overlongword</word>"
                                "<item level=\"7\"><code>5</code><label>abcdefghijk</label></item>"
                                "<pair mode=\"OFF\"><code>1</code></pair>"
                                "<pair><code>2</code><label>two</label></pair>"
                                "<pair mode=\"ON\"><code>3</code></pair></probe>",
                                &probe, result));
    GetCapturedStderr();
    // The root's string attribute fills its field without keeping a NUL.
    EXPECT_EQ(0, std::memcmp("north-", probe.tag, 6));
    EXPECT_EQ(1, probe.exist_tag);
    // A third slot overwrites the last one; the count stays at the maximum.
    EXPECT_EQ(2, probe.slot_count);
    EXPECT_EQ(1, probe.slot[0]);
    EXPECT_EQ(3, probe.slot[1]);
    ASSERT_EQ(2, probe.word.count);
    EXPECT_STREQ("alpha", item_at<char>(probe.word, 1));
    EXPECT_STREQ("overlong", item_at<char>(probe.word, 2));
    EXPECT_EQ(1, probe.exist_item);
    EXPECT_EQ(5, probe.item.code);
    EXPECT_EQ(1, probe.item.exist_code);
    EXPECT_STREQ("abcdefgh", probe.item.label);
    EXPECT_EQ(1, probe.item.exist_label);
    EXPECT_EQ(7, probe.level);
    EXPECT_EQ(1, probe.exist_level);
    EXPECT_EQ(2, probe.pair_count);
    EXPECT_EQ(1, probe.pair[0].code);
    EXPECT_EQ(0, probe.pair[0].exist_label);
    EXPECT_EQ(3, probe.pair[1].code);
    EXPECT_EQ(1, probe.pair[1].exist_code);
    EXPECT_EQ(0, probe.pair[1].exist_label);
    EXPECT_STREQ("", probe.pair[1].label);
    EXPECT_EQ(UTL_LIB_XML_VEXA_STATE_ON, probe.mode);
    EXPECT_EQ(1, probe.exist_mode);
}

TEST(utl_lib_xml_vexa_mediator_probe, fixed_max_unbounded_strings_structs_and_attributes_write)
{
    probe_mediator mediator;
    mediator.add_probe_tables = true;
    PROBE_S probe = zeroed<PROBE_S>();
    UTL_LIB_XML_VEXA_RESULT result = UTL_LIB_XML_VEXA_RESULT_NO_ERR;
    CaptureStderr();
    ASSERT_EQ(0, mediator.parse(UTL_LIB_XML_VEXA_MESSAGE_REQUEST,
                                "<probe name=\"a&amp;b\"><slot>4</slot><word>w&lt;1</word>"
                                "<word>w2</word><item level=\"-3\"><label>l</label></item>"
                                "<pair mode=\"ON\"><code>8</code></pair></probe>",
                                &probe, result));
    std::string out;
    EXPECT_EQ(0, mediator.create(UTL_LIB_XML_VEXA_MESSAGE_REQUEST, 0, &probe, out, result));
    GetCapturedStderr();
    EXPECT_EQ("<probe name=\"a&amp;b\" ><slot>4</slot><word>w&lt;1</word><word>w2</word>"
              "<item level=\"-3\" ><label>l</label></item><pair mode=\"ON\" ><code>8</code>"
              "</pair></probe>",
              out);
    // Without their flags, attributes are left out.
    probe.exist_tag = 0;
    probe.exist_level = 0;
    probe.exist_mode = 0;
    out.clear();
    CaptureStderr();
    mediator.create(UTL_LIB_XML_VEXA_MESSAGE_REQUEST, 0, &probe, out, result);
    GetCapturedStderr();
    EXPECT_EQ("<probe><slot>4</slot><word>w&lt;1</word><word>w2</word><item><label>l</label>"
              "</item><pair><code>8</code></pair></probe>",
              out);
}

// ---- failure paths ----

TEST(utl_lib_xml_vexa_mediator_failure, unknown_enum_id_for_members_is_logged_and_skipped)
{
    probe_mediator mediator;
    mediator.build_tables();
    CaptureStderr();
    EXPECT_EQ(0, mediator.request_register_enum_member(1000001));
    EXPECT_EQ("[XML][ERROR! ]regist enum member id is invalid [0x000f4241(1000001)]\n",
              GetCapturedStderr());
}

TEST(utl_lib_xml_vexa_mediator_failure, unknown_struct_id_for_members_is_logged_and_skipped)
{
    probe_mediator mediator;
    mediator.build_tables();
    CaptureStderr();
    EXPECT_EQ(0, mediator.request_register_struct_member(2000001));
    EXPECT_EQ("[XML][ERROR! ]regist struct member id is invalid [0x001e8481(2000001)]\n",
              GetCapturedStderr());
}

TEST(utl_lib_xml_vexa_mediator_failure, refused_member_registration_is_logged_per_row)
{
    // Outside a registration cycle the engine refuses every member.
    probe_mediator mediator;
    mediator.build_tables();
    CaptureStderr();
    EXPECT_EQ(0, mediator.request_register_struct_member(
                     UTL_LIB_XML_VEXA_STRUCT_ID_FIRMWARE_DOWNLOAD_INFORMATION_ENTRY));
    EXPECT_EQ("[XML][ERROR! ]Out of reception time. state=0x00000000\n"
              "[XML][ERROR! ]struct member regist member fail type[0x00010004] "
              "id[0x001e84c2(2000066)]\n"
              "[XML][ERROR! ]Out of reception time. state=0x00000000\n"
              "[XML][ERROR! ]struct member regist member fail type[0x00020002] "
              "id[0x001e84c2(2000066)]\n"
              "[XML][ERROR! ]Out of reception time. state=0x00000000\n"
              "[XML][ERROR! ]struct member regist member fail type[0x00040008] "
              "id[0x001e84c2(2000066)]\n",
              GetCapturedStderr());
}

TEST(utl_lib_xml_vexa_mediator_failure, unsupported_member_kinds_are_logged_and_skipped)
{
    probe_mediator mediator;
    mediator.add_odd_rows = true;
    mediator.build_tables();
    CaptureStderr();
    EXPECT_EQ(0, mediator.request_register_struct_member(ODD_ID));
    std::string trace = GetCapturedStderr();
    EXPECT_THAT(trace, testing::StartsWith(
                           "[XML][ERROR! ]struct member not support schema type 0x00010010\n"
                           "[XML][ERROR! ]struct member not support schema type 0x00010003\n"));
}

TEST(utl_lib_xml_vexa_mediator_failure, odd_rows_in_a_parsed_schema_do_not_stop_the_parse)
{
    probe_mediator mediator;
    mediator.add_odd_rows = true;
    PACKAGE_S package;
    std::string trace;
    ASSERT_EQ(0, parse_package(mediator, "<firmware_package><device_id>Z</device_id>"
                                         "</firmware_package>",
                               package, &trace));
    EXPECT_STREQ("Z", package.device_id);
    EXPECT_THAT(trace,
                HasSubstr("[XML][ERROR! ]struct member not support schema type 0x00010010\n"));
}

TEST(utl_lib_xml_vexa_mediator_failure, unknown_value_kind_on_store_is_logged_and_the_walk_goes_on)
{
    probe_mediator mediator;
    mediator.add_odd_rows = true;
    mediator.build_tables();
    std::vector<UTL_LIB_XML_VEXA_XML_SCHEMA> rows = mediator.xml_schema_map_[ODD_ID];
    // A good row after the odd ones is still written.
    rows.push_back(UTL_LIB_XML_VEXA_XML_SCHEMA("tail", UTL_LIB_XML_VEXA_SCHEMA_TYPE_VALUE_NORMAL, 0,
                                               4, 0));
    INT record[4] = {12, 0, 0, 0};
    std::string out;
    CaptureStderr();
    EXPECT_EQ(0, mediator.store_element_member(rows, out, record));
    EXPECT_EQ("[XML][ERROR! ]store struct error! unknown schema type.[0x00010010]\n"
              "[XML][ERROR! ]store struct error! unknown schema type.[0x00010003]\n"
              "[XML][ERROR! ]store value error! unknown schema type.[0x00000001]\n"
              "[XML][ERROR! ]store value error! unknown schema type.[0x00000002]\n"
              "[XML][ERROR! ]store value error! unknown schema type.[0x00000004]\n"
              "[XML][ERROR! ]store value error! unknown schema type.[0x00000008]\n",
              GetCapturedStderr());
    EXPECT_EQ("<tail>12</tail>", out);
}

TEST(utl_lib_xml_vexa_mediator_failure, xaddr_action_for_an_unknown_id_is_logged_and_returns_0)
{
    probe_mediator mediator;
    mediator.build_tables();
    CaptureStderr();
    EXPECT_EQ(0, mediator.request_register_xaddr_action(3999999));
    EXPECT_EQ("[XML][ERROR! ]Xaddr action. xaddr id is not exist. [0x003d08ff(3999999)]\n",
              GetCapturedStderr());
}

TEST(utl_lib_xml_vexa_mediator_failure, notify_with_an_unknown_interrupt_id_is_logged_and_returns_0)
{
    probe_mediator mediator;
    std::map<std::string, std::string> attributes = {{"size", "5"}};
    std::string data = "5";
    CaptureStderr();
    EXPECT_EQ(0, mediator.notify_xaddr_interrupt(4999999, attributes, data));
    EXPECT_EQ("[XML][ERROR! ]Xaddr notify. interrupt id is not exist. [0x004c4b3f(4999999)]\n",
              GetCapturedStderr());
}

TEST(utl_lib_xml_vexa_mediator_failure, data_notification_with_an_empty_map_stores_nothing)
{
    probe_mediator mediator;
    PACKAGE_S package;
    ASSERT_EQ(0, parse_package(mediator, "<firmware_package><total_size>5</total_size>"
                                         "</firmware_package>",
                               package));
    std::map<std::string, std::string> empty;
    std::string data = "77";
    CaptureStderr();
    EXPECT_EQ(0, mediator.notify_xaddr_interrupt(4000008, empty, data));  // total_size data
    EXPECT_EQ("", GetCapturedStderr());
    EXPECT_EQ(5, package.total_size);
    std::map<std::string, std::string> text = {{"total_size", "77"}};
    EXPECT_EQ(0, mediator.notify_xaddr_interrupt(4000008, text, data));
    EXPECT_EQ(77, package.total_size);
}

// A struct row "lonely" of 8 bytes at offset 8 of a 16-byte parent record.
class utl_lib_xml_vexa_mediator_scratch : public testing::Test {
protected:
    utl_lib_xml_vexa_mediator_scratch()
        : parent_("holder", UTL_LIB_XML_VEXA_SCHEMA_TYPE_INTERFACE, 0, sizeof(parent_record_),
                  PROBE_ID, parent_record_),
          row_("lonely", UTL_LIB_XML_VEXA_SCHEMA_TYPE_STRUCT_NORMAL, 8, 8, PROBE_ITEM_ID)
    {
        std::memset(parent_record_, '-', sizeof(parent_record_));
        mediator_.xaddr_map_[3000001] = &parent_;
        row_.management_info.parent_xaddr_id = 3000001;
    }

    ~utl_lib_xml_vexa_mediator_scratch() override
    {
        zulOSWOrgFreeMemPart(nullptr, row_.management_info.tmp_buff);
    }

    char parent_record_[16];
    probe_mediator mediator_;
    UTL_LIB_XML_VEXA_XML_SCHEMA parent_;
    UTL_LIB_XML_VEXA_XML_SCHEMA row_;
};

TEST_F(utl_lib_xml_vexa_mediator_scratch, a_second_start_keeps_the_scratch_record_and_logs_it)
{
    CaptureStderr();
    EXPECT_EQ(0, mediator_.process_element_start(&row_));
    EXPECT_EQ("", GetCapturedStderr());
    char* scratch = static_cast<char*>(row_.management_info.tmp_buff);
    ASSERT_NE(nullptr, scratch);
    EXPECT_EQ(std::string(8, '\0'), std::string(scratch, 8));
    std::memcpy(scratch, "abcdefgh", 8);
    CaptureStderr();
    EXPECT_EQ(0, mediator_.process_element_start(&row_));
    EXPECT_EQ("[XML][ERROR! ]MALLOC Tmp buff is invalid data.[" + hex_address(scratch) + "]\n",
              GetCapturedStderr());
    EXPECT_EQ(scratch, row_.management_info.tmp_buff);
    // The end copies the kept record into the parent and frees it.
    CaptureStderr();
    EXPECT_EQ(0, mediator_.process_element_end(&row_));
    EXPECT_EQ("", GetCapturedStderr());
    EXPECT_EQ(nullptr, row_.management_info.tmp_buff);
    EXPECT_EQ("--------abcdefgh", std::string(parent_record_, 16));
}

TEST_F(utl_lib_xml_vexa_mediator_scratch, an_end_without_scratch_record_is_logged_with_the_tag)
{
    CaptureStderr();
    EXPECT_EQ(0, mediator_.process_element_end(&row_));
    EXPECT_EQ("[XML][ERROR! ]FREE Tmp buff is invalid data. [lonely]\n", GetCapturedStderr());
    EXPECT_EQ(std::string(16, '-'), std::string(parent_record_, 16));
}

TEST_F(utl_lib_xml_vexa_mediator_scratch, without_a_parent_record_the_end_does_nothing)
{
    CaptureStderr();
    EXPECT_EQ(0, mediator_.process_element_start(&row_));
    void* scratch = row_.management_info.tmp_buff;
    parent_.management_info.tmp_buff = nullptr;
    EXPECT_EQ(0, mediator_.process_element_end(&row_));
    row_.management_info.parent_xaddr_id = 3000099;  // not registered
    EXPECT_EQ(0, mediator_.process_element_end(&row_));
    EXPECT_EQ("", GetCapturedStderr());
    EXPECT_EQ(scratch, row_.management_info.tmp_buff);
    EXPECT_EQ(std::string(16, '-'), std::string(parent_record_, 16));
}

// ---- memory ownership ----

TEST(utl_lib_xml_vexa_mediator_memory, nodes_and_row_copies_live_until_the_mediator_goes)
{
    PACKAGE_S package;
    std::string trace;
    {
        utl_lib_xml_vexa_mediator mediator;
        ASSERT_EQ(0, parse_package(mediator, REALISTIC_PACKAGE, package));
        // Writing in between does not touch the parsed lists.
        create_package(mediator, package);
        ASSERT_EQ(3, package.download_information.count);
        EXPECT_STREQ("moter.hex",
                     item_at<DATA_S>(item_at<DOWNLOAD_S>(package.download_information, 3)
                                         ->data_information,
                                     1)
                         ->filename);
        CaptureStderr();
    }
    // 16 row copies, 3 group nodes and 4 file nodes.
    EXPECT_EQ("[XML][IMP    ]Free list member size[23] <<\n", GetCapturedStderr());
}

TEST(utl_lib_xml_vexa_mediator_memory, blocks_of_several_parses_pile_up_until_freed)
{
    probe_mediator mediator;
    PACKAGE_S first;
    PACKAGE_S second;
    ASSERT_EQ(0, parse_package(mediator, REALISTIC_PACKAGE, first));
    ASSERT_EQ(0, parse_package(mediator, REALISTIC_PACKAGE, second));
    EXPECT_EQ(46u, mediator.alloc_mem_vec_.size());
    // The first record's lists are still there.
    EXPECT_EQ(3, first.download_information.count);
    EXPECT_STREQ("main_fw.bin",
                 item_at<DATA_S>(item_at<DOWNLOAD_S>(first.download_information, 1)
                                     ->data_information,
                                 1)
                     ->filename);
    CaptureStderr();
    EXPECT_EQ(0, mediator.free_allocated_memory());
    EXPECT_EQ("[XML][IMP    ]Free list member size[46] <<\n", GetCapturedStderr());
    EXPECT_TRUE(mediator.alloc_mem_vec_.empty());
    CaptureStderr();
    EXPECT_EQ(0, mediator.free_allocated_memory());
    EXPECT_EQ("", GetCapturedStderr());
}

TEST(utl_lib_xml_vexa_mediator_memory, create_allocates_nothing)
{
    probe_mediator mediator;
    PACKAGE_S package = zeroed<PACKAGE_S>();
    create_package(mediator, package);
    EXPECT_TRUE(mediator.alloc_mem_vec_.empty());
    CaptureStderr();
    {
        utl_lib_xml_vexa_mediator quiet;
    }
    EXPECT_EQ("", GetCapturedStderr());
}

// ---- allocation failures ----

TEST(utl_lib_xml_vexa_mediator_alloc, a_failed_row_copy_ends_registration_as_a_parser_error)
{
    probe_mediator mediator;
    PACKAGE_S package;
    std::string trace;
    block_requests_until_failure = 3;  // the third row copy
    EXPECT_EQ(1, parse_package(mediator, "<firmware_package><device_id>X</device_id>"
                                         "</firmware_package>",
                               package, &trace));
    block_requests_until_failure = 0;
    EXPECT_THAT(trace, HasSubstr("[XML][IMP    ]Parse OUT ret[1] result[2] size[61] >>\n"));
    EXPECT_EQ(2u, mediator.alloc_mem_vec_.size());
    EXPECT_EQ(0, package.exist_device_id);
}

const char* const ONE_GROUP_PACKAGE =
    "<firmware_package><download_information><type>MAIN</type>"
    "</download_information><package_type>DEVICE_FIRMWARE"
    "</package_type></firmware_package>";

TEST(utl_lib_xml_vexa_mediator_alloc, a_failed_list_node_fails_the_parse_with_the_parser_error)
{
    probe_mediator mediator;
    PACKAGE_S package;
    std::string trace;
    block_requests_until_failure = 18;  // 16 row copies, the scratch record, then the node
    EXPECT_EQ(1, parse_package(mediator, ONE_GROUP_PACKAGE, package, &trace));
    block_requests_until_failure = 0;
    EXPECT_EQ(0, package.download_information.count);
    EXPECT_EQ(16u, mediator.alloc_mem_vec_.size());
    EXPECT_THAT(trace, HasSubstr("[XML][ERROR! ]MALLOC failed. size[" +
                                 std::to_string(sizeof(NODE) + sizeof(DOWNLOAD_S)) +
                                 "] [download_information]\n"
                                 "[XML][ERROR! ]Parse failed. an element could not be stored.\n"
                                 "[XML][IMP    ]Parse OUT ret[1] result[2] size[143] >>\n"));
}

TEST(utl_lib_xml_vexa_mediator_alloc, a_failed_scratch_record_fails_the_parse_with_the_parser_error)
{
    probe_mediator mediator;
    PACKAGE_S package;
    std::string trace;
    block_requests_until_failure = 17;  // the scratch record of the group
    EXPECT_EQ(1, parse_package(mediator, ONE_GROUP_PACKAGE, package, &trace));
    block_requests_until_failure = 0;
    EXPECT_EQ(0, package.download_information.count);
    EXPECT_THAT(trace, HasSubstr("[XML][ERROR! ]MALLOC failed. size[" +
                                 std::to_string(sizeof(DOWNLOAD_S)) +
                                 "] [download_information]\n"));
    EXPECT_THAT(trace,
                HasSubstr("[XML][ERROR! ]FREE Tmp buff is invalid data. [download_information]\n"
                          "[XML][ERROR! ]Parse failed. an element could not be stored.\n"
                          "[XML][IMP    ]Parse OUT ret[1] result[2] size[143] >>\n"));
}

TEST(utl_lib_xml_vexa_mediator_alloc, the_next_parse_after_a_failed_allocation_starts_clean)
{
    probe_mediator mediator;
    PACKAGE_S package;
    block_requests_until_failure = 18;
    EXPECT_EQ(1, parse_package(mediator, ONE_GROUP_PACKAGE, package));
    block_requests_until_failure = 0;
    std::string trace;
    EXPECT_EQ(0, parse_package(mediator, ONE_GROUP_PACKAGE, package, &trace));
    EXPECT_EQ(1, package.download_information.count);
    EXPECT_THAT(trace, HasSubstr("[XML][IMP    ]Parse OUT ret[0] result[0] size[143] >>\n"));
}
