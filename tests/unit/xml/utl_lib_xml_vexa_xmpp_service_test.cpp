// XMPP service message: request identifier handling, the response's progress
// and command-result sections with their lists, and the mediator calls that
// this build's tables answer with nothing.
#include "utl_lib_xml_vexa_xmpp_service.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace norvane {

// Reads and writes the private records of the object under test.
class utl_lib_xml_vexa_xmpp_service_peer {
public:
    static UTL_LIB_XML_VEXA_INTERFACE_RESPONSE_S& response(utl_lib_xml_vexa_xmpp_service& s)
    {
        return *s.response_;
    }
    static UTL_LIB_XML_VEXA_INTERFACE_REQUEST_S& request(utl_lib_xml_vexa_xmpp_service& s)
    {
        return *s.request_;
    }
    static size_t allocated_count(const utl_lib_xml_vexa_xmpp_service& s)
    {
        return s.allocated_memory_.size();
    }
};

}  // namespace norvane

namespace {

using norvane::UTL_LIB_XML_VEXA_PROGRESS_INFO_S;
using norvane::utl_lib_xml_vexa_xmpp_service;
using peer = norvane::utl_lib_xml_vexa_xmpp_service_peer;

UTL_LIB_XML_VEXA_PROGRESS_INFO_S progress_item(int units_total)
{
    UTL_LIB_XML_VEXA_PROGRESS_INFO_S item;
    std::memset(&item, 0, sizeof(item));
    item.units_total = units_total;
    item.exist_units_total = 1;
    return item;
}

// units_total of the n-th entry (from 1) of a progress list.
int units_total_at(const LIST& list, int n)
{
    LIST head = list;
    NODE* node = zulCLBLstNth(&head, n);
    if (node == nullptr) {
        return -1;
    }
    UTL_LIB_XML_VEXA_PROGRESS_INFO_S item;
    std::memcpy(&item, reinterpret_cast<char*>(node) + sizeof(NODE), sizeof(item));
    return item.units_total;
}

TEST(utl_lib_xml_vexa_xmpp_service, null_request_id_is_refused_with_trace)
{
    utl_lib_xml_vexa_xmpp_service service;
    testing::internal::CaptureStderr();
    int ret = service.set_rexid(nullptr);
    std::string trace = testing::internal::GetCapturedStderr();
    EXPECT_EQ(1, ret);
    EXPECT_EQ("[XML][ERROR! ]param Error. p[0x00000000]\n", trace);
    EXPECT_EQ(0, peer::response(service).exist_rexid);
}

TEST(utl_lib_xml_vexa_xmpp_service, request_id_of_38_or_more_characters_is_cut_to_38)
{
    utl_lib_xml_vexa_xmpp_service service;
    const std::string long_id = std::string(38, 'a') + "bcdef";
    EXPECT_EQ(0, service.set_rexid(long_id.c_str()));
    const auto& response = peer::response(service);
    EXPECT_EQ(1, response.exist_rexid);
    EXPECT_EQ(std::string(38, 'a'), std::string(response.rexid));
    EXPECT_EQ('\0', response.rexid[38]);
}

TEST(utl_lib_xml_vexa_xmpp_service, request_id_of_exactly_38_characters_is_kept_whole)
{
    utl_lib_xml_vexa_xmpp_service service;
    const std::string id(38, 'z');
    EXPECT_EQ(0, service.set_rexid(id.c_str()));
    EXPECT_EQ(id, std::string(peer::response(service).rexid));
    EXPECT_EQ('\0', peer::response(service).rexid[38]);
}

TEST(utl_lib_xml_vexa_xmpp_service, get_rexid_with_null_output_is_refused_with_trace)
{
    utl_lib_xml_vexa_xmpp_service service;
    int exist = 7;
    testing::internal::CaptureStderr();
    int ret = service.get_rexid(exist, nullptr);
    std::string trace = testing::internal::GetCapturedStderr();
    EXPECT_EQ(1, ret);
    EXPECT_EQ(7, exist);
    EXPECT_EQ("[XML][ERROR! ]param Error. p[0x00000000]\n", trace);
}

TEST(utl_lib_xml_vexa_xmpp_service, get_rexid_copies_the_requests_identifier_at_most_38)
{
    utl_lib_xml_vexa_xmpp_service service;
    auto& request = peer::request(service);
    request.exist_rexid = 1;
    std::memset(request.rexid, 'q', 38);
    char out[39];
    std::memset(out, 0, sizeof(out));
    int exist = 0;
    EXPECT_EQ(0, service.get_rexid(exist, out));
    EXPECT_EQ(1, exist);
    EXPECT_EQ(std::string(38, 'q'), std::string(out));
}

TEST(utl_lib_xml_vexa_xmpp_service, get_rexid_without_identifier_leaves_output)
{
    utl_lib_xml_vexa_xmpp_service service;
    char out[39] = "untouched";
    int exist = 5;
    EXPECT_EQ(0, service.get_rexid(exist, out));
    EXPECT_EQ(0, exist);
    EXPECT_STREQ("untouched", out);
}

TEST(utl_lib_xml_vexa_xmpp_service, get_xmpp_request_parameter_copies_flag_and_record)
{
    utl_lib_xml_vexa_xmpp_service service;
    auto& request = peer::request(service);
    request.exist_param = 1;
    request.param.ack_interval = 30;
    request.param.exist_ack_interval = 1;
    int exist = 0;
    norvane::UTL_LIB_XML_VEXA_XMPP_REQUEST_PARAM_S param;
    std::memset(&param, 0, sizeof(param));
    EXPECT_EQ(0, service.get_xmpp_request_parameter(exist, param));
    EXPECT_EQ(1, exist);
    EXPECT_EQ(30, param.ack_interval);
    EXPECT_EQ(1, param.exist_ack_interval);
}

TEST(utl_lib_xml_vexa_xmpp_service, set_response_after_add_progress_info_keeps_the_entries)
{
    utl_lib_xml_vexa_xmpp_service service;
    UTL_LIB_XML_VEXA_PROGRESS_INFO_S items[2] = {progress_item(11), progress_item(12)};
    ASSERT_EQ(0, service.add_progress_info(items, 2));

    norvane::UTL_LIB_XML_VEXA_XMPP_PROGRESS_RESPONSE_S progress;
    std::memset(&progress, 0, sizeof(progress));
    std::strcpy(progress.cmd_status, "running");
    progress.exist_cmd_status = 1;
    progress.percentage = 55;
    progress.exist_percentage = 1;
    progress.process_info.count = 42;  // the caller's head is ignored
    EXPECT_EQ(0, service.set_response(&progress, nullptr));

    const auto& response = peer::response(service);
    EXPECT_EQ(1, response.exist_progress);
    EXPECT_STREQ("running", response.progress.cmd_status);
    EXPECT_EQ(55, response.progress.percentage);
    ASSERT_EQ(2, response.progress.process_info.count);
    EXPECT_EQ(11, units_total_at(response.progress.process_info, 1));
    EXPECT_EQ(12, units_total_at(response.progress.process_info, 2));
    EXPECT_EQ(0, response.exist_command_result);
}

TEST(utl_lib_xml_vexa_xmpp_service, add_progress_info_after_set_response_appends_to_the_same_list)
{
    utl_lib_xml_vexa_xmpp_service service;
    norvane::UTL_LIB_XML_VEXA_XMPP_PROGRESS_RESPONSE_S progress;
    std::memset(&progress, 0, sizeof(progress));
    progress.estimate = 9;
    service.set_response(&progress, nullptr);
    UTL_LIB_XML_VEXA_PROGRESS_INFO_S item = progress_item(3);
    EXPECT_EQ(0, service.add_progress_info(&item, 1));
    const auto& response = peer::response(service);
    EXPECT_EQ(9, response.progress.estimate);
    ASSERT_EQ(1, response.progress.process_info.count);
    EXPECT_EQ(3, units_total_at(response.progress.process_info, 1));
}

TEST(utl_lib_xml_vexa_xmpp_service, add_progress_info_with_count_0_still_sets_exist_progress)
{
    utl_lib_xml_vexa_xmpp_service service;
    UTL_LIB_XML_VEXA_PROGRESS_INFO_S item = progress_item(1);
    EXPECT_EQ(0, service.add_progress_info(&item, 0));
    const auto& response = peer::response(service);
    EXPECT_EQ(1, response.exist_progress);
    EXPECT_EQ(0, response.progress.process_info.count);
    EXPECT_EQ(0u, peer::allocated_count(service));
}

TEST(utl_lib_xml_vexa_xmpp_service, add_progress_info_refuses_null_items)
{
    utl_lib_xml_vexa_xmpp_service service;
    EXPECT_EQ(1, service.add_progress_info(nullptr, 3));
    EXPECT_EQ(0, peer::response(service).exist_progress);
}

TEST(utl_lib_xml_vexa_xmpp_service, add_result_process_fills_command_result_list)
{
    utl_lib_xml_vexa_xmpp_service service;
    UTL_LIB_XML_VEXA_PROGRESS_INFO_S items[3] = {progress_item(1), progress_item(2),
                                                 progress_item(3)};
    EXPECT_EQ(0, service.add_result_process(items, 3));
    const auto& response = peer::response(service);
    EXPECT_EQ(1, response.exist_command_result);
    ASSERT_EQ(3, response.command_result.result_process.count);
    EXPECT_EQ(3, units_total_at(response.command_result.result_process, 3));
    EXPECT_EQ(3u, peer::allocated_count(service));
    EXPECT_EQ(1, service.add_result_process(nullptr, 1));
}

TEST(utl_lib_xml_vexa_xmpp_service, set_response_keeps_result_process_and_copies_command_result)
{
    utl_lib_xml_vexa_xmpp_service service;
    UTL_LIB_XML_VEXA_PROGRESS_INFO_S item = progress_item(21);
    service.add_result_process(&item, 1);
    norvane::UTL_LIB_XML_VEXA_XMPP_COMMAND_RESULT_S command_result;
    std::memset(&command_result, 0, sizeof(command_result));
    command_result.result_code.code = norvane::UTL_LIB_XML_VEXA_XMPP_COMMAND_RESULT_CODE_NORMAL;
    command_result.exist_result_code = 1;
    EXPECT_EQ(0, service.set_response(nullptr, &command_result));
    const auto& response = peer::response(service);
    EXPECT_EQ(0, response.exist_progress);
    EXPECT_EQ(1, response.exist_command_result);
    EXPECT_EQ(norvane::UTL_LIB_XML_VEXA_XMPP_COMMAND_RESULT_CODE_NORMAL,
              response.command_result.result_code.code);
    ASSERT_EQ(1, response.command_result.result_process.count);
    EXPECT_EQ(21, units_total_at(response.command_result.result_process, 1));
}

TEST(utl_lib_xml_vexa_xmpp_service, set_response_with_nulls_clears_both_presence_flags)
{
    utl_lib_xml_vexa_xmpp_service service;
    UTL_LIB_XML_VEXA_PROGRESS_INFO_S item = progress_item(1);
    service.add_progress_info(&item, 1);
    service.add_result_process(&item, 1);
    EXPECT_EQ(0, service.set_response(nullptr, nullptr));
    const auto& response = peer::response(service);
    EXPECT_EQ(0, response.exist_progress);
    EXPECT_EQ(0, response.exist_command_result);
    EXPECT_EQ(1, response.progress.process_info.count);
}

TEST(utl_lib_xml_vexa_xmpp_service, clear_frees_the_added_nodes_and_zeroes_the_records)
{
    utl_lib_xml_vexa_xmpp_service service;
    UTL_LIB_XML_VEXA_PROGRESS_INFO_S items[2] = {progress_item(1), progress_item(2)};
    service.add_progress_info(items, 2);
    service.set_rexid("id");
    EXPECT_EQ(2u, peer::allocated_count(service));
    EXPECT_EQ(0, service.clear());
    EXPECT_EQ(0u, peer::allocated_count(service));
    EXPECT_EQ(0, peer::response(service).exist_rexid);
    EXPECT_EQ(0, peer::response(service).progress.process_info.count);
}

TEST(utl_lib_xml_vexa_xmpp_service, create_xml_resets_result_and_writes_no_response_body)
{
    utl_lib_xml_vexa_xmpp_service service;
    service.set_rexid("id-1");
    std::string out = "pre";
    norvane::UTL_LIB_XML_VEXA_RESULT result = norvane::UTL_LIB_XML_VEXA_RESULT_PARSER_ERR;
    testing::internal::CaptureStderr();
    int ret = service.create_xml(out, result);
    std::string trace = testing::internal::GetCapturedStderr();
    EXPECT_EQ(0, ret);
    EXPECT_EQ(norvane::UTL_LIB_XML_VEXA_RESULT_NO_ERR, result);
    // This build's tables define no response message.
    EXPECT_EQ("pre", out);
    EXPECT_EQ("[XML][IMP    ]Create IN  type[2]<<\n"
              "[XML][IMP    ]Create OUT ret[0] result[0] size[3] >>\n",
              trace);
}

TEST(utl_lib_xml_vexa_xmpp_service, parse_xml_binds_nothing_of_a_request)
{
    utl_lib_xml_vexa_xmpp_service service;
    norvane::UTL_LIB_XML_VEXA_RESULT result = norvane::UTL_LIB_XML_VEXA_RESULT_MEMORY_ERR;
    testing::internal::CaptureStderr();
    int ret = service.parse_xml("<request><rexid>r1</rexid></request>", result);
    std::string trace = testing::internal::GetCapturedStderr();
    // The root matches no interface of this build: skipped, yet well formed.
    EXPECT_EQ(0, ret);
    EXPECT_EQ(norvane::UTL_LIB_XML_VEXA_RESULT_NO_ERR, result);
    EXPECT_EQ(0, peer::request(service).exist_rexid);
    EXPECT_NE(std::string::npos,
              trace.find("[XML][IMP    ]Parse IN  type[1] size[36]<<\n"));
    EXPECT_NE(std::string::npos, trace.find("[XML][WARNING]element not found. name=request\n"));
}

TEST(utl_lib_xml_vexa_xmpp_service, parse_xml_of_malformed_text_reports_parser_error)
{
    utl_lib_xml_vexa_xmpp_service service;
    norvane::UTL_LIB_XML_VEXA_RESULT result = norvane::UTL_LIB_XML_VEXA_RESULT_NO_ERR;
    testing::internal::CaptureStderr();
    int ret = service.parse_xml("<request><open></request>", result);
    testing::internal::GetCapturedStderr();
    EXPECT_NE(0, ret);
    EXPECT_EQ(norvane::UTL_LIB_XML_VEXA_RESULT_PARSER_ERR, result);
}

}  // namespace
