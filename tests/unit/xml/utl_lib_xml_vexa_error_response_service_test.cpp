// Error-response message: the hand-built note, the order note-then-body, the
// bounded copies into the error record and the list it builds itself.
#include "utl_lib_xml_vexa_error_response_service.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace norvane {

// Reads the private records of the object under test.
class utl_lib_xml_vexa_error_response_service_peer {
public:
    static const UTL_LIB_XML_VEXA_INTERFACE_ERROR_S& error(
        const utl_lib_xml_vexa_error_response_service& service)
    {
        return *service.error_;
    }
    static UTL_LIB_XML_VEXA_XMPP_NOTE_TYPE_ note_type(
        const utl_lib_xml_vexa_error_response_service& service)
    {
        return service.note_type_;
    }
    static const std::string& note_value(const utl_lib_xml_vexa_error_response_service& service)
    {
        return service.note_value_;
    }
    static size_t allocated_count(const utl_lib_xml_vexa_error_response_service& service)
    {
        return service.allocated_memory_.size();
    }
};

}  // namespace norvane

namespace {

using norvane::utl_lib_xml_vexa_error_response_service;
using peer = norvane::utl_lib_xml_vexa_error_response_service_peer;

// The two trace lines of the schema mediator writing a message of this type
// that this build's tables do not define: nothing between them.
std::string empty_create_trace(int type, int result)
{
    return "[XML][IMP    ]Create IN  type[" + std::to_string(type) + "]<<\n" +
           "[XML][IMP    ]Create OUT ret[0] result[" + std::to_string(result) + "] size[0] >>\n";
}

norvane::UTL_LIB_XML_VEXA_XMPP_CMDERROR_S filled_cmd_error()
{
    norvane::UTL_LIB_XML_VEXA_XMPP_CMDERROR_S e;
    std::memset(&e, 0, sizeof(e));
    e.code = norvane::UTL_LIB_XML_VEXA_XMPP_CMDERROR_CODE_BUSY;
    e.subcode = norvane::UTL_LIB_XML_VEXA_XMPP_CMDERROR_SUBCODE_FAILED;
    std::strcpy(e.message, "device busy");
    e.exist_message = 1;
    e.result_progress.percentage_completed = 40;
    e.result_progress.exist_percentage_completed = 1;
    e.exist_result_progress = 1;
    return e;
}

TEST(utl_lib_xml_vexa_error_response_service, error_response_without_note_type_writes_nothing_and_fails)
{
    utl_lib_xml_vexa_error_response_service service;
    norvane::UTL_LIB_XML_VEXA_XMPP_CMDERROR_S e = filled_cmd_error();
    service.set_cmd_error(e);
    service.set_rexid("rex-1");
    std::string out = "before";
    norvane::UTL_LIB_XML_VEXA_RESULT result = norvane::UTL_LIB_XML_VEXA_RESULT_NO_ERR;

    testing::internal::CaptureStderr();
    int ret = service.create_xml(out, result);
    std::string trace = testing::internal::GetCapturedStderr();

    EXPECT_EQ(1, ret);
    EXPECT_EQ("before", out);
    EXPECT_EQ(norvane::UTL_LIB_XML_VEXA_RESULT_NO_ERR, result);
    EXPECT_EQ("[XML][ERROR! ]note type error[0]\n", trace);
}

TEST(utl_lib_xml_vexa_error_response_service, info_note_comes_first_exactly)
{
    utl_lib_xml_vexa_error_response_service service;
    char text[] = "x";
    EXPECT_EQ(0, service.set_note(norvane::UTL_LIB_XML_VEXA_XMPP_NOTE_INFO, text));
    std::string out;
    norvane::UTL_LIB_XML_VEXA_RESULT result = norvane::UTL_LIB_XML_VEXA_RESULT_NO_ERR;

    testing::internal::CaptureStderr();
    int ret = service.create_xml(out, result);
    std::string trace = testing::internal::GetCapturedStderr();

    EXPECT_EQ(0, ret);
    // This build's tables define no error message, so the body is empty and
    // the note alone is written, at the front.
    EXPECT_EQ("<note type=\"info\">x</note>", out);
    EXPECT_EQ(empty_create_trace(3, 0), trace);
}

TEST(utl_lib_xml_vexa_error_response_service, create_xml_appends_to_what_out_holds)
{
    utl_lib_xml_vexa_error_response_service service;
    char text[] = "stop";
    service.set_note(norvane::UTL_LIB_XML_VEXA_XMPP_NOTE_ERROR, text);
    std::string out = "<head/>";
    norvane::UTL_LIB_XML_VEXA_RESULT result = norvane::UTL_LIB_XML_VEXA_RESULT_NO_ERR;

    testing::internal::CaptureStderr();
    EXPECT_EQ(0, service.create_xml(out, result));
    testing::internal::GetCapturedStderr();

    EXPECT_EQ("<head/><note type=\"error\">stop</note>", out);
}

TEST(utl_lib_xml_vexa_error_response_service, create_xml_keeps_the_callers_result)
{
    utl_lib_xml_vexa_error_response_service service;
    char text[] = "w";
    service.set_note(norvane::UTL_LIB_XML_VEXA_XMPP_NOTE_WARN, text);
    std::string out;
    norvane::UTL_LIB_XML_VEXA_RESULT result = norvane::UTL_LIB_XML_VEXA_RESULT_MEMORY_ERR;

    testing::internal::CaptureStderr();
    EXPECT_EQ(0, service.create_xml(out, result));
    std::string trace = testing::internal::GetCapturedStderr();

    EXPECT_EQ(norvane::UTL_LIB_XML_VEXA_RESULT_MEMORY_ERR, result);
    EXPECT_EQ("<note type=\"warn\">w</note>", out);
    EXPECT_EQ(empty_create_trace(3, 3), trace);
}

TEST(utl_lib_xml_vexa_error_response_service, note_tag_words_for_each_type)
{
    utl_lib_xml_vexa_error_response_service service;
    char text[] = "t";
    std::string out;
    service.set_note(norvane::UTL_LIB_XML_VEXA_XMPP_NOTE_ERROR, text);
    EXPECT_EQ(0, service.create_note_tag(out));
    EXPECT_EQ("<note type=\"error\">t</note>", out);
    service.set_note(norvane::UTL_LIB_XML_VEXA_XMPP_NOTE_INFO, nullptr);
    EXPECT_EQ(0, service.create_note_tag(out));
    EXPECT_EQ("<note type=\"info\">t</note>", out);
    service.set_note(norvane::UTL_LIB_XML_VEXA_XMPP_NOTE_WARN, nullptr);
    EXPECT_EQ(0, service.create_note_tag(out));
    EXPECT_EQ("<note type=\"warn\">t</note>", out);
}

TEST(utl_lib_xml_vexa_error_response_service, unknown_note_type_fails_and_leaves_out_unchanged)
{
    utl_lib_xml_vexa_error_response_service service;
    char text[] = "t";
    service.set_note(static_cast<norvane::UTL_LIB_XML_VEXA_XMPP_NOTE_TYPE_>(4), text);
    std::string out = "kept";

    testing::internal::CaptureStderr();
    int ret = service.create_note_tag(out);
    std::string trace = testing::internal::GetCapturedStderr();

    EXPECT_EQ(1, ret);
    EXPECT_EQ("kept", out);
    EXPECT_EQ("[XML][ERROR! ]note type error[4]\n", trace);
}

TEST(utl_lib_xml_vexa_error_response_service, note_text_goes_in_unescaped)
{
    utl_lib_xml_vexa_error_response_service service;
    char text[] = "a<b>&c";
    service.set_note(norvane::UTL_LIB_XML_VEXA_XMPP_NOTE_INFO, text);
    std::string out;
    EXPECT_EQ(0, service.create_note_tag(out));
    EXPECT_EQ("<note type=\"info\">a<b>&c</note>", out);
}

TEST(utl_lib_xml_vexa_error_response_service, set_note_with_null_text_keeps_the_earlier_text)
{
    utl_lib_xml_vexa_error_response_service service;
    char text[] = "first";
    service.set_note(norvane::UTL_LIB_XML_VEXA_XMPP_NOTE_ERROR, text);
    EXPECT_EQ(0, service.set_note(norvane::UTL_LIB_XML_VEXA_XMPP_NOTE_WARN, nullptr));
    EXPECT_EQ(norvane::UTL_LIB_XML_VEXA_XMPP_NOTE_WARN, peer::note_type(service));
    EXPECT_EQ("first", peer::note_value(service));
}

TEST(utl_lib_xml_vexa_error_response_service, null_request_id_is_ignored_silently)
{
    utl_lib_xml_vexa_error_response_service service;
    testing::internal::CaptureStderr();
    int ret = service.set_rexid(nullptr);
    std::string trace = testing::internal::GetCapturedStderr();
    EXPECT_EQ(0, ret);
    EXPECT_EQ("", trace);
    EXPECT_EQ(0, peer::error(service).exist_rexid);
}

TEST(utl_lib_xml_vexa_error_response_service, request_id_is_cut_to_38_characters)
{
    utl_lib_xml_vexa_error_response_service service;
    const std::string long_id(45, 'r');
    EXPECT_EQ(0, service.set_rexid(long_id.c_str()));
    const auto& error = peer::error(service);
    EXPECT_EQ(1, error.exist_rexid);
    EXPECT_EQ(std::string(38, 'r'), std::string(error.rexid));
    EXPECT_EQ('\0', error.rexid[38]);
}

TEST(utl_lib_xml_vexa_error_response_service, set_cmd_error_copies_fields_and_cuts_message_to_256)
{
    utl_lib_xml_vexa_error_response_service service;
    norvane::UTL_LIB_XML_VEXA_XMPP_CMDERROR_S e = filled_cmd_error();
    std::memset(e.message, 'm', sizeof(e.message));  // no terminator at all
    EXPECT_EQ(0, service.set_cmd_error(e));
    const auto& error = peer::error(service);
    EXPECT_EQ(norvane::UTL_LIB_XML_VEXA_XMPP_CMDERROR_CODE_BUSY, error.code);
    EXPECT_EQ(norvane::UTL_LIB_XML_VEXA_XMPP_CMDERROR_SUBCODE_FAILED, error.subcode);
    EXPECT_EQ(1, error.exist_message);
    EXPECT_EQ(std::string(256, 'm'), std::string(error.message));
    EXPECT_EQ(1, error.exist_result_progress);
    EXPECT_EQ(40, error.result_progress.percentage_completed);
    EXPECT_EQ(1, error.result_progress.exist_percentage_completed);
}

TEST(utl_lib_xml_vexa_error_response_service, set_cmd_error_leaves_the_records_own_list)
{
    utl_lib_xml_vexa_error_response_service service;
    norvane::UTL_LIB_XML_VEXA_PROGRESS_INFO_S items[2];
    std::memset(items, 0, sizeof(items));
    items[0].units_total = 7;
    items[1].units_total = 8;
    ASSERT_EQ(0, service.add_result_process(items, 2));

    norvane::UTL_LIB_XML_VEXA_XMPP_CMDERROR_S e = filled_cmd_error();
    e.result_process.count = 99;  // the caller's list head is not taken over
    service.set_cmd_error(e);

    const auto& error = peer::error(service);
    EXPECT_EQ(2, error.result_process.count);
    EXPECT_EQ(1, error.exist_result_progress);
}

TEST(utl_lib_xml_vexa_error_response_service, add_result_process_appends_copies_and_records_nodes)
{
    utl_lib_xml_vexa_error_response_service service;
    norvane::UTL_LIB_XML_VEXA_PROGRESS_INFO_S items[3];
    std::memset(items, 0, sizeof(items));
    for (int i = 0; i < 3; ++i) {
        items[i].units_completed = 10 + i;
        items[i].exist_units_completed = 1;
    }
    EXPECT_EQ(0, service.add_result_process(items, 3));
    const auto& error = peer::error(service);
    ASSERT_EQ(3, error.result_process.count);
    EXPECT_EQ(3u, peer::allocated_count(service));
    LIST head = error.result_process;
    for (int i = 1; i <= 3; ++i) {
        NODE* node = zulCLBLstNth(&head, i);
        ASSERT_NE(nullptr, node);
        norvane::UTL_LIB_XML_VEXA_PROGRESS_INFO_S copy;
        std::memcpy(&copy, reinterpret_cast<char*>(node) + sizeof(NODE), sizeof(copy));
        EXPECT_EQ(10 + i - 1, copy.units_completed);
    }
    // No presence flag belongs to this list.
    EXPECT_EQ(0, error.exist_result_progress);
}

TEST(utl_lib_xml_vexa_error_response_service, add_result_process_refuses_null_items)
{
    utl_lib_xml_vexa_error_response_service service;
    EXPECT_EQ(1, service.add_result_process(nullptr, 2));
    EXPECT_EQ(0, peer::error(service).result_process.count);
}

TEST(utl_lib_xml_vexa_error_response_service, clear_frees_nodes_and_resets_everything)
{
    utl_lib_xml_vexa_error_response_service service;
    norvane::UTL_LIB_XML_VEXA_PROGRESS_INFO_S item;
    std::memset(&item, 0, sizeof(item));
    service.add_result_process(&item, 1);
    service.set_rexid("abc");
    char text[] = "n";
    service.set_note(norvane::UTL_LIB_XML_VEXA_XMPP_NOTE_INFO, text);

    EXPECT_EQ(0, service.clear());

    EXPECT_EQ(0u, peer::allocated_count(service));
    EXPECT_EQ(0, peer::error(service).result_process.count);
    EXPECT_EQ(0, peer::error(service).exist_rexid);
    EXPECT_EQ(norvane::UTL_LIB_XML_VEXA_XMPP_NOTE_TYPE_NONE, peer::note_type(service));
    EXPECT_EQ("", peer::note_value(service));
}

}  // namespace
