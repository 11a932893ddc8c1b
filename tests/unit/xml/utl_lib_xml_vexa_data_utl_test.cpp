// Tests of the list and base64 helpers: list copies through the real host
// list library and allocator, their trace, and strict base64.
#include "utl_lib_xml_vexa_data_utl.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "clb_list.h"
#include "osw_os_wrapper.h"

using norvane::utl_lib_xml_vexa_data_utl;

namespace {

// A fixed-size element record like the schema layer's.
struct RECORD_S {
    char name[13];
    int size;
    short flags;
};

RECORD_S make_record(const char* name, int size, short flags)
{
    RECORD_S record;
    std::memset(&record, 0, sizeof(record));
    std::snprintf(record.name, sizeof(record.name), "%s", name);
    record.size = size;
    record.flags = flags;
    return record;
}

std::string hex_address(const void* pointer)
{
    char text[16];
    std::snprintf(text, sizeof(text), "0x%08x",
                  static_cast<unsigned int>(reinterpret_cast<uintptr_t>(pointer)));
    return text;
}

void free_blocks(const std::vector<void*>& blocks)
{
    for (void* block : blocks) {
        zulOSWOrgFreeMemPart(nullptr, block);
    }
}

std::vector<char> bytes_of(std::initializer_list<int> values)
{
    std::vector<char> bytes;
    for (int value : values) {
        bytes.push_back(static_cast<char>(value));
    }
    return bytes;
}

// Independent encoder: walks the input as a bit stream, six bits at a time.
std::string reference_base64(const std::vector<char>& data)
{
    const char* alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    size_t bits = data.size() * 8;
    for (size_t bit = 0; bit < bits; bit += 6) {
        int value = 0;
        for (size_t k = 0; k < 6; ++k) {
            size_t position = bit + k;
            int on = 0;
            if (position < bits) {
                on = (static_cast<unsigned char>(data[position / 8]) >> (7 - position % 8)) & 1;
            }
            value = value * 2 + on;
        }
        text += alphabet[value];
    }
    while (text.size() % 4 != 0) {
        text += '=';
    }
    return text;
}

// A list of three records built with add_list; the blocks are freed after.
class utl_lib_xml_vexa_data_utl_list : public testing::Test {
protected:
    void SetUp() override
    {
        records_[0] = make_record("first.bin", 100, 1);
        records_[1] = make_record("second.bin", 200, 2);
        records_[2] = make_record("third.bin", 300, 3);
        ASSERT_EQ(0, utl_.add_list(&list_, records_, sizeof(RECORD_S), 3, &blocks_));
    }
    void TearDown() override { free_blocks(blocks_); }

    utl_lib_xml_vexa_data_utl utl_;
    LIST list_{};
    RECORD_S records_[3];
    std::vector<void*> blocks_;
};

}  // namespace

TEST_F(utl_lib_xml_vexa_data_utl_list, add_list_appends_each_record_and_records_its_block)
{
    EXPECT_EQ(3, list_.count);
    ASSERT_EQ(3u, blocks_.size());
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(blocks_[static_cast<size_t>(i)], static_cast<void*>(zulCLBLstNth(&list_, i + 1)));
    }
}

TEST_F(utl_lib_xml_vexa_data_utl_list, add_list_copies_the_payload_right_after_the_node_header)
{
    for (size_t i = 0; i < 3; ++i) {
        const char* payload = static_cast<const char*>(blocks_[i]) + sizeof(NODE);
        EXPECT_EQ(0, std::memcmp(payload, &records_[i], sizeof(RECORD_S))) << "element " << i;
    }
    RECORD_S second;
    std::memcpy(&second, static_cast<const char*>(blocks_[1]) + sizeof(NODE), sizeof(second));
    EXPECT_STREQ("second.bin", second.name);
    EXPECT_EQ(200, second.size);
    EXPECT_EQ(2, second.flags);
}

TEST_F(utl_lib_xml_vexa_data_utl_list, get_list_data_copies_the_element_at_the_index)
{
    RECORD_S out = make_record("", 0, 0);
    testing::internal::CaptureStderr();
    EXPECT_EQ(0, utl_.get_list_data(&list_, 1, sizeof(out), &out));
    EXPECT_STREQ("first.bin", out.name);
    EXPECT_EQ(100, out.size);
    EXPECT_EQ(0, utl_.get_list_data(&list_, 3, sizeof(out), &out));
    EXPECT_STREQ("third.bin", out.name);
    EXPECT_EQ(300, out.size);
    EXPECT_EQ(3, out.flags);
    EXPECT_EQ("", testing::internal::GetCapturedStderr());
    EXPECT_EQ(3, list_.count);
}

TEST_F(utl_lib_xml_vexa_data_utl_list, get_list_data_copies_only_size_bytes)
{
    char out[sizeof(RECORD_S) + 4];
    std::memset(out, 0x5A, sizeof(out));
    EXPECT_EQ(0, utl_.get_list_data(&list_, 2, 4, out));
    EXPECT_EQ(0, std::memcmp(out, "seco", 4));
    for (size_t i = 4; i < sizeof(out); ++i) {
        EXPECT_EQ(0x5A, out[i]) << "byte " << i;
    }
}

TEST_F(utl_lib_xml_vexa_data_utl_list, get_list_data_index_0_is_out_of_range)
{
    RECORD_S out = make_record("keep", 7, 7);
    testing::internal::CaptureStderr();
    EXPECT_EQ(1, utl_.get_list_data(&list_, 0, sizeof(out), &out));
    EXPECT_EQ("[XML][ERROR! ]DataUtl get list error. out of range. index[0] cnt[3]\n",
              testing::internal::GetCapturedStderr());
    EXPECT_STREQ("keep", out.name);
}

TEST_F(utl_lib_xml_vexa_data_utl_list, get_list_data_index_count_plus_1_is_out_of_range)
{
    RECORD_S out = make_record("keep", 7, 7);
    testing::internal::CaptureStderr();
    EXPECT_EQ(1, utl_.get_list_data(&list_, 4, sizeof(out), &out));
    EXPECT_EQ("[XML][ERROR! ]DataUtl get list error. out of range. index[4] cnt[3]\n",
              testing::internal::GetCapturedStderr());
    EXPECT_STREQ("keep", out.name);
}

TEST_F(utl_lib_xml_vexa_data_utl_list, get_list_data_negative_index_is_out_of_range)
{
    RECORD_S out;
    testing::internal::CaptureStderr();
    EXPECT_EQ(1, utl_.get_list_data(&list_, -1, sizeof(out), &out));
    EXPECT_EQ("[XML][ERROR! ]DataUtl get list error. out of range. index[-1] cnt[3]\n",
              testing::internal::GetCapturedStderr());
}

TEST_F(utl_lib_xml_vexa_data_utl_list, add_list_appends_behind_existing_elements)
{
    RECORD_S fourth = make_record("fourth.bin", 400, 4);
    std::vector<void*> more;
    EXPECT_EQ(0, utl_.add_list(&list_, &fourth, sizeof(fourth), 1, &more));
    ASSERT_EQ(1u, more.size());
    EXPECT_EQ(4, list_.count);
    RECORD_S out;
    EXPECT_EQ(0, utl_.get_list_data(&list_, 4, sizeof(out), &out));
    EXPECT_STREQ("fourth.bin", out.name);
    EXPECT_EQ(0, utl_.get_list_data(&list_, 1, sizeof(out), &out));
    EXPECT_STREQ("first.bin", out.name);
    free_blocks(more);
}

TEST_F(utl_lib_xml_vexa_data_utl_list, copied_list_head_still_reaches_the_elements)
{
    LIST copy = list_;
    RECORD_S out;
    EXPECT_EQ(0, utl_.get_list_data(&copy, 2, sizeof(out), &out));
    EXPECT_STREQ("second.bin", out.name);
}

TEST(utl_lib_xml_vexa_data_utl_test, get_list_data_null_list_traces_both_pointers)
{
    utl_lib_xml_vexa_data_utl utl;
    RECORD_S out;
    testing::internal::CaptureStderr();
    EXPECT_EQ(1, utl.get_list_data(nullptr, 1, sizeof(out), &out));
    EXPECT_EQ("[XML][ERROR! ]DataUtl get list error. data ptr is null[0x00000000][" +
                  hex_address(&out) + "]\n",
              testing::internal::GetCapturedStderr());
}

TEST(utl_lib_xml_vexa_data_utl_test, get_list_data_null_out_traces_both_pointers)
{
    utl_lib_xml_vexa_data_utl utl;
    LIST list{};
    testing::internal::CaptureStderr();
    EXPECT_EQ(1, utl.get_list_data(&list, 1, 4, nullptr));
    EXPECT_EQ("[XML][ERROR! ]DataUtl get list error. data ptr is null[" + hex_address(&list) +
                  "][0x00000000]\n",
              testing::internal::GetCapturedStderr());
}

TEST(utl_lib_xml_vexa_data_utl_test, get_list_data_on_empty_list_is_out_of_range)
{
    utl_lib_xml_vexa_data_utl utl;
    LIST list{};
    int out = 0;
    testing::internal::CaptureStderr();
    EXPECT_EQ(1, utl.get_list_data(&list, 1, sizeof(out), &out));
    EXPECT_EQ("[XML][ERROR! ]DataUtl get list error. out of range. index[1] cnt[0]\n",
              testing::internal::GetCapturedStderr());
}

TEST(utl_lib_xml_vexa_data_utl_test, get_list_data_count_without_node_traces_invalid_node)
{
    // A head that counts an element but links none: the list library finds
    // no node.
    utl_lib_xml_vexa_data_utl utl;
    LIST list{};
    list.count = 1;
    int out = 0;
    testing::internal::CaptureStderr();
    EXPECT_EQ(1, utl.get_list_data(&list, 1, sizeof(out), &out));
    EXPECT_EQ("[XML][ERROR! ]DataUtl get list error. Node ptr invalid.(0x00000000)\n",
              testing::internal::GetCapturedStderr());
}

TEST(utl_lib_xml_vexa_data_utl_test, add_list_null_list_traces_both_pointers)
{
    utl_lib_xml_vexa_data_utl utl;
    int data = 5;
    std::vector<void*> blocks;
    testing::internal::CaptureStderr();
    EXPECT_EQ(1, utl.add_list(nullptr, &data, sizeof(data), 1, &blocks));
    EXPECT_EQ("[XML][ERROR! ]DataUtl add list error. data null[0x00000000][" + hex_address(&data) +
                  "]\n",
              testing::internal::GetCapturedStderr());
    EXPECT_TRUE(blocks.empty());
}

TEST(utl_lib_xml_vexa_data_utl_test, add_list_null_data_traces_both_pointers)
{
    utl_lib_xml_vexa_data_utl utl;
    LIST list{};
    std::vector<void*> blocks;
    testing::internal::CaptureStderr();
    EXPECT_EQ(1, utl.add_list(&list, nullptr, 4, 1, &blocks));
    EXPECT_EQ("[XML][ERROR! ]DataUtl add list error. data null[" + hex_address(&list) +
                  "][0x00000000]\n",
              testing::internal::GetCapturedStderr());
    EXPECT_EQ(0, list.count);
    EXPECT_TRUE(blocks.empty());
}

TEST(utl_lib_xml_vexa_data_utl_test, add_list_count_0_appends_nothing_and_succeeds)
{
    utl_lib_xml_vexa_data_utl utl;
    LIST list{};
    int data = 5;
    std::vector<void*> blocks;
    testing::internal::CaptureStderr();
    EXPECT_EQ(0, utl.add_list(&list, &data, sizeof(data), 0, &blocks));
    EXPECT_EQ("", testing::internal::GetCapturedStderr());
    EXPECT_EQ(0, list.count);
    EXPECT_EQ(nullptr, list.node.next);
    EXPECT_EQ(nullptr, list.node.previous);
    EXPECT_TRUE(blocks.empty());
}

TEST(utl_lib_xml_vexa_data_utl_test, add_list_without_allocated_vector_still_appends)
{
    utl_lib_xml_vexa_data_utl utl;
    LIST list{};
    int data[2] = {11, -22};
    EXPECT_EQ(0, utl.add_list(&list, data, sizeof(int), 2, nullptr));
    ASSERT_EQ(2, list.count);
    int out = 0;
    EXPECT_EQ(0, utl.get_list_data(&list, 2, sizeof(out), &out));
    EXPECT_EQ(-22, out);
    EXPECT_EQ(0, utl.get_list_data(&list, 1, sizeof(out), &out));
    EXPECT_EQ(11, out);
    std::vector<void*> blocks = {zulCLBLstNth(&list, 1), zulCLBLstNth(&list, 2)};
    free_blocks(blocks);
}

TEST(utl_lib_xml_vexa_data_utl_test, encode_gives_the_known_vectors)
{
    utl_lib_xml_vexa_data_utl utl;
    std::string text = "old";
    EXPECT_EQ(0, utl.encode_base64(bytes_of({0x4D, 0x61}), text));
    EXPECT_EQ("TWE=", text);
    EXPECT_EQ(0, utl.encode_base64(bytes_of({0x4D}), text));
    EXPECT_EQ("TQ==", text);
    EXPECT_EQ(0, utl.encode_base64(bytes_of({0x4D, 0x61, 0x6E}), text));
    EXPECT_EQ("TWFu", text);
    EXPECT_EQ(0, utl.encode_base64(bytes_of({0xFF, 0xFE, 0xFD, 0x00}), text));
    EXPECT_EQ("//79AA==", text);
    std::string foobar = "foobar";
    EXPECT_EQ(0, utl.encode_base64(std::vector<char>(foobar.begin(), foobar.end()), text));
    EXPECT_EQ("Zm9vYmFy", text);
}

TEST(utl_lib_xml_vexa_data_utl_test, encode_of_nothing_empties_the_text)
{
    utl_lib_xml_vexa_data_utl utl;
    std::string text = "previous contents";
    EXPECT_EQ(0, utl.encode_base64(std::vector<char>(), text));
    EXPECT_EQ("", text);
}

TEST(utl_lib_xml_vexa_data_utl_test, decode_gives_the_known_vectors)
{
    utl_lib_xml_vexa_data_utl utl;
    std::vector<char> data = bytes_of({1, 2, 3, 4, 5});
    EXPECT_EQ(0, utl.decode_base64("TWE=", data));
    EXPECT_EQ(bytes_of({0x4D, 0x61}), data);
    EXPECT_EQ(0, utl.decode_base64("TWFu", data));
    EXPECT_EQ(bytes_of({0x4D, 0x61, 0x6E}), data);
    EXPECT_EQ(0, utl.decode_base64("//79AA==", data));
    EXPECT_EQ(bytes_of({0xFF, 0xFE, 0xFD, 0x00}), data);
}

TEST(utl_lib_xml_vexa_data_utl_test, decode_of_empty_text_empties_the_data)
{
    utl_lib_xml_vexa_data_utl utl;
    std::vector<char> data = bytes_of({9});
    EXPECT_EQ(0, utl.decode_base64("", data));
    EXPECT_TRUE(data.empty());
}

TEST(utl_lib_xml_vexa_data_utl_test, decode_of_length_6_fails_and_keeps_the_data)
{
    utl_lib_xml_vexa_data_utl utl;
    std::vector<char> data = bytes_of({7, 8});
    testing::internal::CaptureStderr();
    EXPECT_EQ(1, utl.decode_base64("TWFuTW", data));
    EXPECT_EQ(1, utl.decode_base64("T", data));
    EXPECT_EQ(1, utl.decode_base64("TWFuT", data));
    EXPECT_EQ("", testing::internal::GetCapturedStderr());
    EXPECT_EQ(bytes_of({7, 8}), data);
}

TEST(utl_lib_xml_vexa_data_utl_test, decode_ignores_everything_after_padding)
{
    utl_lib_xml_vexa_data_utl utl;
    std::vector<char> data;
    EXPECT_EQ(0, utl.decode_base64("TQ==xxxx", data));
    EXPECT_EQ(bytes_of({0x4D}), data);
    EXPECT_EQ(0, utl.decode_base64("TWE=\n\n\n\n", data));
    EXPECT_EQ(bytes_of({0x4D, 0x61}), data);
    EXPECT_EQ(0, utl.decode_base64("TWFuTQ==!!!!====", data));
    EXPECT_EQ(bytes_of({0x4D, 0x61, 0x6E, 0x4D}), data);
}

TEST(utl_lib_xml_vexa_data_utl_test, decode_does_not_examine_the_fourth_character_after_third_pad)
{
    utl_lib_xml_vexa_data_utl utl;
    std::vector<char> data;
    EXPECT_EQ(0, utl.decode_base64("TQ=A", data));
    EXPECT_EQ(bytes_of({0x4D}), data);
    EXPECT_EQ(0, utl.decode_base64("TQ=\n", data));
    EXPECT_EQ(bytes_of({0x4D}), data);
    // The unused low bits of the last character are not checked either.
    EXPECT_EQ(0, utl.decode_base64("TR==", data));
    EXPECT_EQ(bytes_of({0x4D}), data);
}

TEST(utl_lib_xml_vexa_data_utl_test, decode_with_a_line_break_fails)
{
    utl_lib_xml_vexa_data_utl utl;
    std::vector<char> data = bytes_of({1});
    testing::internal::CaptureStderr();
    EXPECT_EQ(1, utl.decode_base64("TWFu\nTQ=", data));
    EXPECT_EQ(1, utl.decode_base64("TW\nu", data));
    EXPECT_EQ(1, utl.decode_base64("TWFu\r\nTWFu\r\n", data));
    EXPECT_EQ("", testing::internal::GetCapturedStderr());
    EXPECT_EQ(bytes_of({1}), data);
}

TEST(utl_lib_xml_vexa_data_utl_test, decode_with_pad_in_the_first_two_places_fails)
{
    utl_lib_xml_vexa_data_utl utl;
    std::vector<char> data = bytes_of({1});
    EXPECT_EQ(1, utl.decode_base64("====", data));
    EXPECT_EQ(1, utl.decode_base64("=WFu", data));
    EXPECT_EQ(1, utl.decode_base64("T=Fu", data));
    EXPECT_EQ(1, utl.decode_base64("TWFuT===", data));
    EXPECT_EQ(bytes_of({1}), data);
}

TEST(utl_lib_xml_vexa_data_utl_test, decode_rejects_every_byte_outside_the_alphabet_in_every_place)
{
    const std::string alphabet =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    utl_lib_xml_vexa_data_utl utl;
    int rejected = 0;
    for (int byte = 0; byte < 256; ++byte) {
        char character = static_cast<char>(byte);
        bool in_alphabet = alphabet.find(character) != std::string::npos;
        if (character == '=') {
            continue;  // padding has its own rules
        }
        for (size_t place = 0; place < 4; ++place) {
            std::string text = "TWFuTWFu";
            text[4 + place] = character;
            std::vector<char> data = bytes_of({42});
            int result = utl.decode_base64(text, data);
            if (in_alphabet) {
                EXPECT_EQ(0, result) << "byte " << byte << " place " << place;
                EXPECT_EQ(6u, data.size());
            } else {
                EXPECT_EQ(1, result) << "byte " << byte << " place " << place;
                EXPECT_EQ(bytes_of({42}), data);
                ++rejected;
            }
        }
    }
    // 256 byte values less 64 letters and the pad, in four places each.
    EXPECT_EQ((256 - 64 - 1) * 4, rejected);
}

TEST(utl_lib_xml_vexa_data_utl_test, decode_rejects_the_url_safe_characters)
{
    utl_lib_xml_vexa_data_utl utl;
    std::vector<char> data;
    EXPECT_EQ(1, utl.decode_base64("__79", data));
    EXPECT_EQ(1, utl.decode_base64("--79", data));
    EXPECT_EQ(0, utl.decode_base64("//79", data));
    EXPECT_EQ(bytes_of({0xFF, 0xFE, 0xFD}), data);
}

TEST(utl_lib_xml_vexa_data_utl_test, round_trip_over_every_length_up_to_300_with_all_byte_values)
{
    utl_lib_xml_vexa_data_utl utl;
    for (size_t length = 0; length <= 300; ++length) {
        std::vector<char> data(length);
        for (size_t i = 0; i < length; ++i) {
            data[i] = static_cast<char>((i + length * 37) & 0xFF);
        }
        std::string text;
        ASSERT_EQ(0, utl.encode_base64(data, text));
        EXPECT_EQ((length + 2) / 3 * 4, text.size()) << "length " << length;
        EXPECT_EQ(reference_base64(data), text) << "length " << length;
        std::vector<char> back;
        ASSERT_EQ(0, utl.decode_base64(text, back)) << "length " << length;
        EXPECT_EQ(data, back) << "length " << length;
    }
}
