// The layouts that differ between the device (32-bit little-endian ARM, hard
// float, 4-byte pointers) and the host (x86-64, 8-byte pointers): the list
// head and node, the firmware-package records that the schema rows address by
// offset, the schema row's union, the queue's message block, and the packet
// header with its wire form.
//
// The device's numbers are written out once, as the device lays the records
// out. A small layout model (each field at the next multiple of its
// alignment, the record padded to its strictest alignment: the C layout rules
// of both ABIs for these field kinds) computes them from the field lists for
// a 4-byte pointer, and the same model with this build's pointer width must
// give exactly what the compiler did. Built for the device, the records are
// also compared with the written-out numbers directly.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "phone_peer.h"
#include "clb_list.h"
#include "qav_mnt_fwupdate_lib_communicate_aoa.h"
#include "qav_mnt_fwupdate_lib_define.h"
#include "qav_mnt_fwupdate_lib_receiver_aoa.h"
#include "temp_dir.h"
#include "utl_lib_xml_vexa_data.h"
#include "utl_lib_xml_vexa_schema.h"

namespace {

using namespace norvane;
using offsets = std::vector<size_t>;
using bytes = std::vector<unsigned char>;

// ---------------------------------------------------------------------------
// The device's ABI, checked at compile time when building for it.

#if defined(__arm__)
constexpr bool DEVICE_BUILD = true;
static_assert(sizeof(void*) == 4, "the device has 32-bit pointers");
static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "the device is little-endian");
#if !defined(__ARM_EABI__) || !defined(__ARM_PCS_VFP)
#error "the device build uses the ARM EABI with hard-float calls (armhf)"
#endif
static_assert(sizeof(NODE) == 8, "NODE is two 4-byte pointers on the device");
static_assert(sizeof(LIST) == 12, "LIST is a NODE and an int on the device");
static_assert(offsetof(LIST, count) == 8, "LIST count follows the NODE");
static_assert(sizeof(UTL_LIB_XML_VEXA_FIRMWARE_PACKAGE_S) == 232, "firmware package record");
static_assert(sizeof(UTL_LIB_XML_VEXA_FIRMWARE_DOWNLOAD_INFORMATION_S) == 56,
              "download information record");
static_assert(sizeof(UTL_LIB_XML_VEXA_FIRMWARE_DATA_INFORMATION_S) == 920,
              "data information record");
static_assert(sizeof(_QAV_MNT_FWUPDATE_MSG_BLK_) == 20, "the queue's message block");
#else
constexpr bool DEVICE_BUILD = false;
#endif
static_assert(sizeof(QAV_MNT_FWUPDATE_PACKATE_HEADER_) == 16, "the packet header is 16 bytes");

// ---------------------------------------------------------------------------
// The layout model.

struct field_kind {
    size_t size;
    size_t align;
};

struct record_layout {
    offsets field_offsets;
    size_t size;
    size_t align;
};

size_t round_up(size_t value, size_t align)
{
    return (value + align - 1) / align * align;
}

record_layout lay_out(const std::vector<field_kind>& fields)
{
    record_layout layout{{}, 0, 1};
    size_t end = 0;
    for (const field_kind& field : fields) {
        size_t at = round_up(end, field.align);
        layout.field_offsets.push_back(at);
        end = at + field.size;
        layout.align = std::max(layout.align, field.align);
    }
    layout.size = round_up(end, layout.align);
    return layout;
}

record_layout lay_out_union(const std::vector<field_kind>& members)
{
    record_layout layout{{}, 0, 1};
    for (const field_kind& member : members) {
        layout.field_offsets.push_back(0);
        layout.size = std::max(layout.size, member.size);
        layout.align = std::max(layout.align, member.align);
    }
    layout.size = round_up(layout.size, layout.align);
    return layout;
}

field_kind as_field(const record_layout& layout)
{
    return {layout.size, layout.align};
}

// Field kinds for a target whose pointers are pointer_size bytes.
struct abi {
    size_t pointer_size;

    field_kind int32() const { return {4, 4}; }
    field_kind text(size_t capacity) const { return {capacity, 1}; }
    field_kind pointer() const { return {pointer_size, pointer_size}; }
    record_layout node() const { return lay_out({pointer(), pointer()}); }
    record_layout list() const { return lay_out({as_field(node()), int32()}); }

    record_layout firmware_package() const
    {
        return lay_out({int32(), text(22), int32(), text(33), int32(), int32(), int32(),
                        text(129), int32(), as_field(list()), int32()});
    }
    record_layout download_information() const
    {
        return lay_out({int32(), text(33), int32(), as_field(list())});
    }
    record_layout data_information() const
    {
        return lay_out({text(65), int32(), text(256), text(513), int32(), text(17), int32(),
                        int32(), int32(), text(33), int32()});
    }
    // The schema row's union: omissible, unbounded, fixed_max, interface_type.
    record_layout schema_union() const
    {
        return lay_out_union({as_field(lay_out({pointer()})),
                              as_field(lay_out({int32(), pointer()})),
                              as_field(lay_out({pointer(), int32()})),
                              as_field(lay_out({int32()}))});
    }
    // One package chunk on the queue: data_size, data, is_end_of_data.
    record_layout download_fw_package() const
    {
        return lay_out({int32(), pointer(), int32()});
    }
    // The message block: msg_id, then the union of the five message kinds.
    record_layout message_block() const
    {
        record_layout header = lay_out({{2, 2}, {2, 2}, {2, 2}, {2, 2}, {2, 2}, {2, 2}, int32()});
        record_layout info = lay_out_union({as_field(header), as_field(download_fw_package()),
                                            int32(), as_field(header), int32()});
        return lay_out({int32(), as_field(info)});
    }
    record_layout packet_header() const
    {
        return lay_out({{2, 2}, {2, 2}, {2, 2}, {2, 2}, {2, 2}, {2, 2}, int32()});
    }
};

const abi DEVICE{4};
const abi THIS_BUILD{sizeof(void*)};

// The device's numbers, as the 32-bit device lays the records out.
const offsets DEVICE_FIRMWARE_PACKAGE_OFFSETS = {0, 4, 28, 32, 68, 72, 76, 80, 212, 216, 228};
const size_t DEVICE_FIRMWARE_PACKAGE_SIZE = 232;
const offsets DEVICE_DOWNLOAD_INFORMATION_OFFSETS = {0, 4, 40, 44};
const size_t DEVICE_DOWNLOAD_INFORMATION_SIZE = 56;
const offsets DEVICE_DATA_INFORMATION_OFFSETS = {0, 68, 72, 328, 844, 848, 868, 872, 876, 880, 916};
const size_t DEVICE_DATA_INFORMATION_SIZE = 920;

// The compiler's offsets of this build, in field order.
offsets firmware_package_offsets()
{
    using R = UTL_LIB_XML_VEXA_FIRMWARE_PACKAGE_S;
    return {offsetof(R, is_encrypted_url),      offsetof(R, device_id),
            offsetof(R, exist_device_id),       offsetof(R, package_version),
            offsetof(R, exist_package_version), offsetof(R, total_size),
            offsetof(R, exist_total_size),      offsetof(R, description),
            offsetof(R, exist_description),     offsetof(R, download_information),
            offsetof(R, package_type)};
}

offsets download_information_offsets()
{
    using R = UTL_LIB_XML_VEXA_FIRMWARE_DOWNLOAD_INFORMATION_S;
    return {offsetof(R, type), offsetof(R, version), offsetof(R, exist_version),
            offsetof(R, data_information)};
}

offsets data_information_offsets()
{
    using R = UTL_LIB_XML_VEXA_FIRMWARE_DATA_INFORMATION_S;
    return {offsetof(R, name),           offsetof(R, exist_name),
            offsetof(R, filename),       offsetof(R, download_url),
            offsetof(R, exist_download_url), offsetof(R, checksum),
            offsetof(R, exist_checksum), offsetof(R, size),
            offsetof(R, exist_size),     offsetof(R, version),
            offsetof(R, exist_version)};
}

// ---------------------------------------------------------------------------
// The build itself.

TEST(device_layout, build_is_for_the_device_abi_or_for_the_64_bit_host)
{
#if defined(__arm__)
    EXPECT_EQ(4u, sizeof(void*));
    EXPECT_EQ(4u, sizeof(long));
    EXPECT_EQ(4u, sizeof(size_t));
    EXPECT_EQ(UINT32_MAX, static_cast<unsigned long long>(SIZE_MAX));
#else
    EXPECT_EQ(8u, sizeof(void*));
    EXPECT_EQ(8u, sizeof(size_t));
#endif
    EXPECT_EQ(DEVICE_BUILD, sizeof(void*) == 4);
}

// ---------------------------------------------------------------------------
// List head and node.

TEST(device_layout, device_node_is_8_bytes_and_list_12_with_count_at_8)
{
    EXPECT_EQ(8u, DEVICE.node().size);
    EXPECT_EQ(12u, DEVICE.list().size);
    EXPECT_EQ(8u, DEVICE.list().field_offsets[1]);
    EXPECT_EQ(4u, DEVICE.list().align);
}

TEST(device_layout, host_node_is_16_bytes_and_list_24_with_count_at_16)
{
    const abi host{8};
    EXPECT_EQ(16u, host.node().size);
    EXPECT_EQ(24u, host.list().size);
    EXPECT_EQ(16u, host.list().field_offsets[1]);
}

TEST(device_layout, node_and_list_of_this_build_match_the_model)
{
    EXPECT_EQ(THIS_BUILD.node().size, sizeof(NODE));
    EXPECT_EQ(THIS_BUILD.list().size, sizeof(LIST));
    EXPECT_EQ(THIS_BUILD.list().field_offsets[1], offsetof(LIST, count));
    EXPECT_EQ(THIS_BUILD.list().align, alignof(LIST));
    if (DEVICE_BUILD) {
        EXPECT_EQ(8u, sizeof(NODE));
        EXPECT_EQ(12u, sizeof(LIST));
    }
}

// ---------------------------------------------------------------------------
// Firmware-package records.

TEST(device_layout, firmware_package_record_as_the_device_lays_it_out)
{
    EXPECT_EQ(DEVICE_FIRMWARE_PACKAGE_OFFSETS, DEVICE.firmware_package().field_offsets);
    EXPECT_EQ(DEVICE_FIRMWARE_PACKAGE_SIZE, DEVICE.firmware_package().size);
}

TEST(device_layout, download_information_record_as_the_device_lays_it_out)
{
    EXPECT_EQ(DEVICE_DOWNLOAD_INFORMATION_OFFSETS, DEVICE.download_information().field_offsets);
    EXPECT_EQ(DEVICE_DOWNLOAD_INFORMATION_SIZE, DEVICE.download_information().size);
}

TEST(device_layout, data_information_record_as_the_device_lays_it_out)
{
    EXPECT_EQ(DEVICE_DATA_INFORMATION_OFFSETS, DEVICE.data_information().field_offsets);
    EXPECT_EQ(DEVICE_DATA_INFORMATION_SIZE, DEVICE.data_information().size);
}

TEST(device_layout, records_of_a_host_build_grow_only_where_a_list_head_sits)
{
    const abi host{8};
    EXPECT_EQ((offsets{0, 4, 28, 32, 68, 72, 76, 80, 212, 216, 240}),
              host.firmware_package().field_offsets);
    EXPECT_EQ(248u, host.firmware_package().size);
    EXPECT_EQ((offsets{0, 4, 40, 48}), host.download_information().field_offsets);
    EXPECT_EQ(72u, host.download_information().size);
    EXPECT_EQ(DEVICE_DATA_INFORMATION_OFFSETS, host.data_information().field_offsets);
    EXPECT_EQ(DEVICE_DATA_INFORMATION_SIZE, host.data_information().size);
}

TEST(device_layout, firmware_package_record_of_this_build_matches_the_model)
{
    EXPECT_EQ(THIS_BUILD.firmware_package().field_offsets, firmware_package_offsets());
    EXPECT_EQ(THIS_BUILD.firmware_package().size, sizeof(UTL_LIB_XML_VEXA_FIRMWARE_PACKAGE_S));
    if (DEVICE_BUILD) {
        EXPECT_EQ(DEVICE_FIRMWARE_PACKAGE_OFFSETS, firmware_package_offsets());
        EXPECT_EQ(DEVICE_FIRMWARE_PACKAGE_SIZE, sizeof(UTL_LIB_XML_VEXA_FIRMWARE_PACKAGE_S));
    }
}

TEST(device_layout, download_information_record_of_this_build_matches_the_model)
{
    EXPECT_EQ(THIS_BUILD.download_information().field_offsets, download_information_offsets());
    EXPECT_EQ(THIS_BUILD.download_information().size,
              sizeof(UTL_LIB_XML_VEXA_FIRMWARE_DOWNLOAD_INFORMATION_S));
    if (DEVICE_BUILD) {
        EXPECT_EQ(DEVICE_DOWNLOAD_INFORMATION_OFFSETS, download_information_offsets());
        EXPECT_EQ(DEVICE_DOWNLOAD_INFORMATION_SIZE,
                  sizeof(UTL_LIB_XML_VEXA_FIRMWARE_DOWNLOAD_INFORMATION_S));
    }
}

TEST(device_layout, data_information_record_of_this_build_matches_the_model)
{
    EXPECT_EQ(THIS_BUILD.data_information().field_offsets, data_information_offsets());
    EXPECT_EQ(THIS_BUILD.data_information().size,
              sizeof(UTL_LIB_XML_VEXA_FIRMWARE_DATA_INFORMATION_S));
    if (DEVICE_BUILD) {
        EXPECT_EQ(DEVICE_DATA_INFORMATION_OFFSETS, data_information_offsets());
        EXPECT_EQ(DEVICE_DATA_INFORMATION_SIZE,
                  sizeof(UTL_LIB_XML_VEXA_FIRMWARE_DATA_INFORMATION_S));
    }
}

// ---------------------------------------------------------------------------
// The schema rows address the records of this build: their offsets, sizes and
// list-node sizes are computed, never the device's numbers written in.

class schema_rows_test : public testing::Test {
protected:
    void SetUp() override
    {
        utl_lib_xml_vexa_schema schema;
        ASSERT_EQ(0, schema.constract_struct(structs_));
    }

    const UTL_LIB_XML_VEXA_XML_SCHEMA& row_(UTL_LIB_XML_VEXA_STRUCT_ID id, const char* tag)
    {
        static const UTL_LIB_XML_VEXA_XML_SCHEMA missing("", UTL_LIB_XML_VEXA_SCHEMA_TYPE(0), 0,
                                                         0, 0);
        for (const UTL_LIB_XML_VEXA_XML_SCHEMA& row : structs_[id]) {
            if (std::string(row.tag_name) == tag) {
                return row;
            }
        }
        ADD_FAILURE() << "no row " << tag << " in struct " << id;
        return missing;
    }

    std::map<UTL_LIB_XML_VEXA_STRUCT_ID, std::vector<UTL_LIB_XML_VEXA_XML_SCHEMA>> structs_;
};

// What an UNBOUNDED row must hold: the list head's offset in its record, the
// element record's size and, as node size, that size plus a NODE header.
struct list_row_expectation {
    size_t offset;
    size_t element_size;
};

void expect_list_row(const UTL_LIB_XML_VEXA_XML_SCHEMA& row, const list_row_expectation& expected)
{
    EXPECT_EQ(expected.offset, row.offset);
    EXPECT_EQ(expected.element_size, row.size);
    EXPECT_EQ(expected.element_size + sizeof(NODE), row.additional_data.unbounded.node_size);
}

TEST_F(schema_rows_test, download_information_node_is_the_record_and_a_node_header)
{
    const UTL_LIB_XML_VEXA_XML_SCHEMA& row =
        row_(UTL_LIB_XML_VEXA_STRUCT_ID_FIRMWARE_PACKAGE_ENTRY, "download_information");
    expect_list_row(row, {offsetof(UTL_LIB_XML_VEXA_FIRMWARE_PACKAGE_S, download_information),
                          sizeof(UTL_LIB_XML_VEXA_FIRMWARE_DOWNLOAD_INFORMATION_S)});
    if (DEVICE_BUILD) {
        expect_list_row(row, {216, 56});
        EXPECT_EQ(64u, row.additional_data.unbounded.node_size);
    }
}

TEST_F(schema_rows_test, data_information_node_is_the_record_and_a_node_header)
{
    const UTL_LIB_XML_VEXA_XML_SCHEMA& row =
        row_(UTL_LIB_XML_VEXA_STRUCT_ID_FIRMWARE_DOWNLOAD_INFORMATION_ENTRY, "data_information");
    expect_list_row(row, {offsetof(UTL_LIB_XML_VEXA_FIRMWARE_DOWNLOAD_INFORMATION_S,
                                   data_information),
                          sizeof(UTL_LIB_XML_VEXA_FIRMWARE_DATA_INFORMATION_S)});
    if (DEVICE_BUILD) {
        expect_list_row(row, {44, 920});
        EXPECT_EQ(928u, row.additional_data.unbounded.node_size);
    }
}

TEST_F(schema_rows_test, package_type_row_follows_the_list_head_of_this_build)
{
    const UTL_LIB_XML_VEXA_XML_SCHEMA& row =
        row_(UTL_LIB_XML_VEXA_STRUCT_ID_FIRMWARE_PACKAGE_ENTRY, "package_type");
    EXPECT_EQ(offsetof(UTL_LIB_XML_VEXA_FIRMWARE_PACKAGE_S, package_type), row.offset);
    EXPECT_EQ(THIS_BUILD.firmware_package().field_offsets[10], row.offset);
    if (DEVICE_BUILD) {
        EXPECT_EQ(228u, row.offset);
    }
}

TEST_F(schema_rows_test, presence_flags_of_the_data_information_rows_are_the_records_offsets)
{
    using R = UTL_LIB_XML_VEXA_FIRMWARE_DATA_INFORMATION_S;
    const UTL_LIB_XML_VEXA_STRUCT_ID id = UTL_LIB_XML_VEXA_STRUCT_ID_FIRMWARE_DATA_INFORMATION_ENTRY;
    EXPECT_EQ(offsetof(R, exist_name), row_(id, "name").additional_data.omissible.is_exist_offset);
    EXPECT_EQ(offsetof(R, exist_download_url),
              row_(id, "download_url").additional_data.omissible.is_exist_offset);
    EXPECT_EQ(offsetof(R, exist_checksum),
              row_(id, "checksum").additional_data.omissible.is_exist_offset);
    EXPECT_EQ(offsetof(R, exist_size), row_(id, "size").additional_data.omissible.is_exist_offset);
    EXPECT_EQ(offsetof(R, exist_version),
              row_(id, "version").additional_data.omissible.is_exist_offset);
    EXPECT_EQ(offsetof(R, version), row_(id, "version").offset);
    if (DEVICE_BUILD) {
        EXPECT_EQ(916u, row_(id, "version").additional_data.omissible.is_exist_offset);
    }
}

TEST(device_layout, schema_row_union_is_8_bytes_on_the_device_16_on_the_host)
{
    EXPECT_EQ(8u, DEVICE.schema_union().size);
    EXPECT_EQ(16u, abi{8}.schema_union().size);
    const size_t union_size = sizeof(UTL_LIB_XML_VEXA_XML_SCHEMA::additional_data);
    EXPECT_EQ(THIS_BUILD.schema_union().size, union_size);
    if (DEVICE_BUILD) {
        EXPECT_EQ(8u, union_size);
    }
}

// ---------------------------------------------------------------------------
// The queue's message block, copied by value through the OS wrapper's queue.

TEST(device_layout, message_block_is_20_bytes_on_the_device_with_the_chunk_pointer_at_4)
{
    EXPECT_EQ(20u, DEVICE.message_block().size);
    EXPECT_EQ(4u, DEVICE.message_block().field_offsets[1]);
    EXPECT_EQ((offsets{0, 4, 8}), DEVICE.download_fw_package().field_offsets);
    EXPECT_EQ(12u, DEVICE.download_fw_package().size);
}

TEST(device_layout, message_block_of_this_build_matches_the_model)
{
    using C = _QAV_MNT_FWUPDATE_DOWNLOAD_FW_PACKAGE_;
    EXPECT_EQ(THIS_BUILD.message_block().size, sizeof(_QAV_MNT_FWUPDATE_MSG_BLK_));
    EXPECT_EQ(THIS_BUILD.message_block().field_offsets[1],
              offsetof(_QAV_MNT_FWUPDATE_MSG_BLK_, info));
    EXPECT_EQ(THIS_BUILD.download_fw_package().field_offsets,
              (offsets{offsetof(C, data_size), offsetof(C, data), offsetof(C, is_end_of_data)}));
    if (DEVICE_BUILD) {
        EXPECT_EQ(20u, sizeof(_QAV_MNT_FWUPDATE_MSG_BLK_));
        EXPECT_EQ(4u, offsetof(C, data));
    }
}

// ---------------------------------------------------------------------------
// The packet header: the same 16 bytes on both, little-endian in memory,
// big-endian on the wire.

TEST(device_layout, packet_header_is_16_bytes_with_fields_at_0_2_4_6_8_10_12)
{
    using H = QAV_MNT_FWUPDATE_PACKATE_HEADER_;
    EXPECT_EQ(16u, sizeof(H));
    EXPECT_EQ(16u, DEVICE.packet_header().size);
    EXPECT_EQ((offsets{0, 2, 4, 6, 8, 10, 12}), DEVICE.packet_header().field_offsets);
    EXPECT_EQ(DEVICE.packet_header().field_offsets,
              (offsets{offsetof(H, version), offsetof(H, reserved), offsetof(H, request_id),
                       offsetof(H, result_code), offsetof(H, command), offsetof(H, option_code),
                       offsetof(H, data_size)}));
}

QAV_MNT_FWUPDATE_PACKATE_HEADER_ sample_header()
{
    QAV_MNT_FWUPDATE_PACKATE_HEADER_ header = {};
    header.version = 0x0102;
    header.reserved = 0x0304;
    header.request_id = 0x1234;
    header.result_code = 0x0016;
    header.command = 0x8013;
    header.option_code = 0x0002;
    header.data_size = 0x0A0B0C0D;
    return header;
}

const bytes SAMPLE_HEADER_WIRE = {0x01, 0x02, 0x03, 0x04, 0x12, 0x34, 0x00, 0x16,
                                  0x80, 0x13, 0x00, 0x02, 0x0A, 0x0B, 0x0C, 0x0D};

TEST(device_layout, header_in_memory_is_little_endian_so_the_link_must_swap_it)
{
    QAV_MNT_FWUPDATE_PACKATE_HEADER_ header = sample_header();
    bytes memory(sizeof(header));
    std::memcpy(memory.data(), &header, sizeof(header));
    EXPECT_EQ((bytes{0x02, 0x01, 0x04, 0x03, 0x34, 0x12, 0x16, 0x00, 0x13, 0x80, 0x02, 0x00,
                     0x0D, 0x0C, 0x0B, 0x0A}),
              memory);
}

// Keeps the headers and body pieces that the link delivers on the accessory
// library's thread, and lets the test wait for them.
class waiting_receiver : public qav_mnt_fwupdate_lib_receiver_aoa {
public:
    int act_notify_recv_header(const QAV_MNT_FWUPDATE_PACKATE_HEADER_& header) override
    {
        std::lock_guard<std::mutex> lock(mutex_);
        headers.push_back(header);
        return 0;
    }
    int act_notify_recv_body(unsigned int size, const char*, int is_end) override
    {
        std::lock_guard<std::mutex> lock(mutex_);
        body_sizes.push_back(size);
        ends += is_end;
        changed_.notify_all();
        return 0;
    }
    // Waits (bounded) until a body piece ended a packet.
    bool wait_for_end()
    {
        std::unique_lock<std::mutex> lock(mutex_);
        return changed_.wait_for(lock, std::chrono::seconds(10), [this] { return ends > 0; });
    }

    std::vector<QAV_MNT_FWUPDATE_PACKATE_HEADER_> headers;
    std::vector<unsigned int> body_sizes;
    int ends = 0;

private:
    std::mutex mutex_;
    std::condition_variable changed_;
};

std::string receipt_dump(const char* data_size)
{
    return std::string("[IMP] recv_impl(): header.version:[0x00000001]\n") +
           "[IMP] recv_impl(): header.reserved:[0x00000000]\n" +
           "[IMP] recv_impl(): header.request_id:[0x00001234]\n" +
           "[IMP] recv_impl(): header.result_code:[0x00000000]\n" +
           "[IMP] recv_impl(): header.command:[0x00000012]\n" +
           "[IMP] recv_impl(): header.option_code:[0x00000000]\n" +
           "[IMP] recv_impl(): header.data_size:[" + data_size + "]\n";
}

// The link endpoint connected through the real host accessory library to a
// socket peer that plays the phone: the bytes on the socket are the wire.
class header_wire_test : public testing::Test {
protected:
    void SetUp() override
    {
        unsetenv("FWUPDATE_FAULTS");
        peer_.reset(new norvane_test::phone_peer(dir_.file("aoa.sock")));
        ASSERT_TRUE(peer_->listening());
        link_ = qav_mnt_fwupdate_lib_communicate_aoa::get_instance();
        testing::internal::CaptureStderr();
        int ret = link_->connect(&receiver_);
        std::string log = testing::internal::GetCapturedStderr();
        ASSERT_EQ(0, ret);
        ASSERT_EQ("", log);
        ASSERT_TRUE(peer_->accept_link());
    }

    void TearDown() override { peer_.reset(); }

    norvane_test::temp_dir dir_;
    std::unique_ptr<norvane_test::phone_peer> peer_;
    qav_mnt_fwupdate_lib_communicate_aoa* link_ = nullptr;
    waiting_receiver receiver_;
};

TEST_F(header_wire_test, sent_header_is_byte_exact_big_endian_on_the_wire)
{
    testing::internal::CaptureStderr();
    int ret = link_->send(sample_header(), 0, nullptr);
    std::string log = testing::internal::GetCapturedStderr();

    EXPECT_EQ(0, ret);
    const bytes message = peer_->receive_bytes();
    ASSERT_FALSE(message.empty());
    EXPECT_EQ(SAMPLE_HEADER_WIRE, message);
    EXPECT_EQ("[IMP] send(): header_temp.version:[0x00000201]\n"
              "[IMP] send(): header_temp.reserved:[0x00000403]\n"
              "[IMP] send(): header_temp.request_id:[0x00003412]\n"
              "[IMP] send(): header_temp.request_id:[0x00001600]\n"
              "[IMP] send(): header_temp.command:[0x00001380]\n"
              "[IMP] send(): header_temp.option_code:[0x00000200]\n"
              "[IMP] send(): header_temp.data_size:[0x0D0C0B0A]\n",
              log);
}

TEST_F(header_wire_test, upload_header_with_data_size_bytes_00_00_01_00_announces_256_body_bytes)
{
    bytes transfer = {0x00, 0x01, 0x00, 0x00, 0x12, 0x34, 0x00, 0x00,
                      0x00, 0x12, 0x00, 0x00, 0x00, 0x00, 0x01, 0x00};
    transfer.resize(16 + 256, 0x5A);

    testing::internal::CaptureStderr();
    ASSERT_TRUE(peer_->send(transfer));
    bool ended = receiver_.wait_for_end();
    std::string log = testing::internal::GetCapturedStderr();

    ASSERT_TRUE(ended);
    ASSERT_EQ(1u, receiver_.headers.size());
    const QAV_MNT_FWUPDATE_PACKATE_HEADER_& header = receiver_.headers[0];
    EXPECT_EQ(0x0001, header.version);
    EXPECT_EQ(0x1234, header.request_id);
    EXPECT_EQ(static_cast<uint16_t>(QAV_MNT_FWUPDATE_MBA_REQUEST_CMD_SEND_FIRMWARE_UPGRADE_FILE),
              header.command);
    EXPECT_EQ(256u, header.data_size);
    EXPECT_EQ((std::vector<unsigned int>{16u + 256u}), receiver_.body_sizes);
    EXPECT_EQ(receipt_dump("0x00000100"), log);
}

TEST_F(header_wire_test, reply_to_request_id_0x1234_carries_it_at_offsets_4_and_5)
{
    QAV_MNT_FWUPDATE_PACKATE_HEADER_ request = {};
    request.version = 0x0007;
    request.reserved = 0xBEEF;
    request.request_id = 0x1234;
    request.command = QAV_MNT_FWUPDATE_MBA_REQUEST_CMD_GET_FIRMWARE_UPGRADE_STATUS;
    request.option_code = QAV_MNT_FWUPDATE_MBA_OPTION_CODE_FW_PACKAGE_STORED;
    QAV_MNT_FWUPDATE_PACKATE_HEADER_ reply = qav_mnt_fwupdate_make_reply_header(
        request, QAV_MNT_FWUPDATE_MBA_RESPONSE_CMD_GET_FIRMWARE_UPGRADE_STATUS,
        QAV_MNT_FWUPDATE_MBA_OPTION_CODE_OPERATION_FINISHED,
        QAV_MNT_FWUPDATE_MBA_RESULT_CODE_ERROR_IN_STORING_FILE);

    testing::internal::CaptureStderr();
    int ret = link_->send(reply, 0, nullptr);
    testing::internal::GetCapturedStderr();

    EXPECT_EQ(0, ret);
    const bytes message = peer_->receive_bytes();
    ASSERT_FALSE(message.empty());
    EXPECT_EQ((bytes{0x00, 0x07, 0xBE, 0xEF, 0x12, 0x34, 0x00, 0x16, 0x80, 0x13, 0x00, 0x02,
                     0x00, 0x00, 0x00, 0x00}),
              message);
}

}  // namespace
