// Firmware-upgrade message: parsing a package description through the schema
// mediator and handing out its header, download groups and files; writing
// response, status and error documents.
#include "utl_lib_xml_vexa_firmware_upgrade_service.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace norvane {

// Reads the private records of the object under test.
class utl_lib_xml_vexa_firmware_upgrade_service_peer {
public:
    static UTL_LIB_XML_VEXA_INTERFACE_REQUEST_S& request(
        utl_lib_xml_vexa_firmware_upgrade_service& s)
    {
        return *s.request_;
    }
    static UTL_LIB_XML_VEXA_INTERFACE_RESPONSE_S& response(
        utl_lib_xml_vexa_firmware_upgrade_service& s)
    {
        return *s.response_;
    }
};

}  // namespace norvane

namespace {

using norvane::UTL_LIB_XML_VEXA_FIRMWARE_DATA_INFORMATION_S;
using norvane::UTL_LIB_XML_VEXA_FIRMWARE_DOWNLOAD_INFORMATION_S;
using norvane::UTL_LIB_XML_VEXA_RESULT;
using norvane::utl_lib_xml_vexa_firmware_upgrade_service;
using peer = norvane::utl_lib_xml_vexa_firmware_upgrade_service_peer;

const char* const FULL_PACKAGE =
    "<firmware_package>"
    "<is_encrypted_url>OFF</is_encrypted_url>"
    "<device_id>DEV-0001</device_id>"
    "<package_version>1.02.003</package_version>"
    "<total_size>4096</total_size>"
    "<description>Main firmware set</description>"
    "<download_information><type>MAIN</type><version>2.0</version>"
    "<data_information><name>main image</name><filename>a.bin</filename>"
    "<download_url>http://host/a.bin</download_url><checksum>01234</checksum>"
    "<size>100</size><version>2.0.1</version></data_information>"
    "<data_information><filename>b.bin</filename><checksum>55555</checksum>"
    "<size>7</size></data_information>"
    "</download_information>"
    "<download_information><type>OCR_DICTIONARY_DATA</type>"
    "<data_information><filename>c.dat</filename><checksum>00001</checksum>"
    "<size>1</size></data_information>"
    "</download_information>"
    "<package_type>DEVICE_ENHANCEMENT</package_type>"
    "</firmware_package>";

const char* const PACKAGE_WITHOUT_VERSION =
    "<firmware_package><device_id>DEV-9</device_id>"
    "<download_information><type>MAIN</type></download_information>"
    "</firmware_package>";

// Parses text as a package description with the trace captured away.
int parse_quietly(utl_lib_xml_vexa_firmware_upgrade_service& service, const std::string& xml,
                  UTL_LIB_XML_VEXA_RESULT& result,
                  norvane::UTL_LIB_XML_VEXA_PROTOCOL_TYPE_ protocol =
                      norvane::UTL_LIB_XML_VEXA_PROTOCOL_BTSPP)
{
    testing::internal::CaptureStderr();
    int ret = service.parse_xml(xml, result, protocol);
    testing::internal::GetCapturedStderr();
    return ret;
}

struct package_header {
    int exist_device_id = -1;
    char device_id[22] = {};
    int exist_package_version = -1;
    char package_version[33] = {};
    int exist_description = -1;
    char description[129] = {};
    int exist_total_size = -1;
    int total_size = -1;
    norvane::UTL_LIB_XML_VEXA_PACKAGE_TYPE_ package_type =
        static_cast<norvane::UTL_LIB_XML_VEXA_PACKAGE_TYPE_>(-1);
};

int get_header(utl_lib_xml_vexa_firmware_upgrade_service& service, package_header& h)
{
    return service.get_firmware_upgrade(h.exist_device_id, h.device_id, h.exist_package_version,
                                        h.package_version, h.exist_description, h.description,
                                        h.exist_total_size, &h.total_size, h.package_type);
}

TEST(utl_lib_xml_vexa_firmware_upgrade_service, parse_of_a_package_fills_the_header)
{
    utl_lib_xml_vexa_firmware_upgrade_service service;
    UTL_LIB_XML_VEXA_RESULT result = norvane::UTL_LIB_XML_VEXA_RESULT_NO_ERR;
    ASSERT_EQ(0, parse_quietly(service, FULL_PACKAGE, result));
    EXPECT_EQ(norvane::UTL_LIB_XML_VEXA_RESULT_NO_ERR, result);

    package_header h;
    EXPECT_EQ(0, get_header(service, h));
    EXPECT_EQ(1, h.exist_device_id);
    EXPECT_STREQ("DEV-0001", h.device_id);
    EXPECT_EQ(1, h.exist_package_version);
    EXPECT_STREQ("1.02.003", h.package_version);
    EXPECT_EQ(1, h.exist_description);
    EXPECT_STREQ("Main firmware set", h.description);
    EXPECT_EQ(1, h.exist_total_size);
    EXPECT_EQ(4096, h.total_size);
    EXPECT_EQ(norvane::UTL_LIB_XML_VEXA_PACKAGE_DEVICE_ENHANCEMENT, h.package_type);
    // The firmware package went into the request's member alone.
    EXPECT_EQ(norvane::UTL_LIB_XML_VEXA_STATE_OFF,
              peer::request(service).firmware_package.is_encrypted_url);
    EXPECT_EQ(0, peer::request(service).exist_rexid);
}

TEST(utl_lib_xml_vexa_firmware_upgrade_service, parse_of_a_package_traces_in_and_out)
{
    utl_lib_xml_vexa_firmware_upgrade_service service;
    UTL_LIB_XML_VEXA_RESULT result = norvane::UTL_LIB_XML_VEXA_RESULT_NO_ERR;
    const std::string xml = PACKAGE_WITHOUT_VERSION;
    testing::internal::CaptureStderr();
    ASSERT_EQ(0, service.parse_xml(xml, result, norvane::UTL_LIB_XML_VEXA_PROTOCOL_HTTP));
    std::string trace = testing::internal::GetCapturedStderr();
    EXPECT_EQ(0u, trace.find("[XML][IMP    ]Parse IN  type[7] size[" +
                             std::to_string(xml.size()) + "]<<\n"));
    EXPECT_NE(std::string::npos, trace.find("[XML][IMP    ]Parse OUT ret[0] result[0] size[" +
                                            std::to_string(xml.size()) + "] >>\n"));
}

TEST(utl_lib_xml_vexa_firmware_upgrade_service, groups_and_files_come_out_in_document_order)
{
    utl_lib_xml_vexa_firmware_upgrade_service service;
    UTL_LIB_XML_VEXA_RESULT result = norvane::UTL_LIB_XML_VEXA_RESULT_NO_ERR;
    ASSERT_EQ(0, parse_quietly(service, FULL_PACKAGE, result));

    int groups = -1;
    EXPECT_EQ(0, service.get_download_information_count(groups));
    ASSERT_EQ(2, groups);

    UTL_LIB_XML_VEXA_FIRMWARE_DOWNLOAD_INFORMATION_S first;
    std::memset(&first, 0, sizeof(first));
    ASSERT_EQ(0, service.get_download_information(1, first));
    EXPECT_EQ(norvane::UTL_LIB_XML_VEXA_VERSION_INFORMATION_MAIN, first.type);
    EXPECT_EQ(1, first.exist_version);
    EXPECT_STREQ("2.0", first.version);
    int files = -1;
    EXPECT_EQ(0, service.get_firmware_data_information_count(&first, files));
    ASSERT_EQ(2, files);

    UTL_LIB_XML_VEXA_FIRMWARE_DATA_INFORMATION_S file;
    std::memset(&file, 0, sizeof(file));
    ASSERT_EQ(0, service.get_firmware_data_information(1, &first, file));
    EXPECT_EQ(1, file.exist_name);
    EXPECT_STREQ("main image", file.name);
    EXPECT_STREQ("a.bin", file.filename);
    EXPECT_EQ(1, file.exist_download_url);
    EXPECT_STREQ("http://host/a.bin", file.download_url);
    EXPECT_EQ(1, file.exist_checksum);
    EXPECT_STREQ("01234", file.checksum);
    EXPECT_EQ(1, file.exist_size);
    EXPECT_EQ(100, file.size);
    EXPECT_EQ(1, file.exist_version);
    EXPECT_STREQ("2.0.1", file.version);

    ASSERT_EQ(0, service.get_firmware_data_information(2, &first, file));
    EXPECT_STREQ("b.bin", file.filename);
    EXPECT_EQ(0, file.exist_name);
    EXPECT_EQ(0, file.exist_version);
    EXPECT_EQ(7, file.size);

    UTL_LIB_XML_VEXA_FIRMWARE_DOWNLOAD_INFORMATION_S second;
    std::memset(&second, 0, sizeof(second));
    ASSERT_EQ(0, service.get_download_information(2, second));
    EXPECT_EQ(norvane::UTL_LIB_XML_VEXA_VERSION_INFORMATION_OCR_DICTIONARY_DATA, second.type);
    EXPECT_EQ(0, second.exist_version);
    EXPECT_EQ(0, service.get_firmware_data_information_count(&second, files));
    ASSERT_EQ(1, files);
    ASSERT_EQ(0, service.get_firmware_data_information(1, &second, file));
    EXPECT_STREQ("c.dat", file.filename);
    EXPECT_STREQ("00001", file.checksum);
    EXPECT_EQ(1, file.size);
}

TEST(utl_lib_xml_vexa_firmware_upgrade_service, missing_package_version_leaves_buffer_but_writes_type)
{
    utl_lib_xml_vexa_firmware_upgrade_service service;
    UTL_LIB_XML_VEXA_RESULT result = norvane::UTL_LIB_XML_VEXA_RESULT_NO_ERR;
    ASSERT_EQ(0, parse_quietly(service, PACKAGE_WITHOUT_VERSION, result));

    package_header h;
    std::strcpy(h.package_version, "caller's text");
    EXPECT_EQ(0, get_header(service, h));
    EXPECT_EQ(0, h.exist_package_version);
    EXPECT_STREQ("caller's text", h.package_version);
    EXPECT_EQ(norvane::UTL_LIB_XML_VEXA_PACKAGE_TYPE_NONE, h.package_type);
    EXPECT_EQ(1, h.exist_device_id);
    EXPECT_STREQ("DEV-9", h.device_id);
    EXPECT_EQ(0, h.exist_total_size);
    EXPECT_EQ(-1, h.total_size);
    EXPECT_EQ(0, h.exist_description);
}

TEST(utl_lib_xml_vexa_firmware_upgrade_service, header_copies_stop_at_the_limit_without_terminator)
{
    utl_lib_xml_vexa_firmware_upgrade_service service;
    auto& package = peer::request(service).firmware_package;
    package.exist_device_id = 1;
    std::memset(package.device_id, 'd', sizeof(package.device_id));  // no NUL inside
    package.exist_package_version = 1;
    std::memset(package.package_version, 'v', sizeof(package.package_version));
    package.exist_description = 1;
    std::memset(package.description, 'e', sizeof(package.description));

    package_header h;
    std::memset(h.device_id, '#', sizeof(h.device_id));
    std::memset(h.package_version, '#', sizeof(h.package_version));
    std::memset(h.description, '#', sizeof(h.description));
    EXPECT_EQ(0, get_header(service, h));
    EXPECT_EQ(std::string(21, 'd') + "#", std::string(h.device_id, 22));
    EXPECT_EQ(std::string(32, 'v') + "#", std::string(h.package_version, 33));
    EXPECT_EQ(std::string(128, 'e') + "#", std::string(h.description, 129));
}

TEST(utl_lib_xml_vexa_firmware_upgrade_service, header_values_skip_null_destinations)
{
    utl_lib_xml_vexa_firmware_upgrade_service service;
    UTL_LIB_XML_VEXA_RESULT result = norvane::UTL_LIB_XML_VEXA_RESULT_NO_ERR;
    ASSERT_EQ(0, parse_quietly(service, FULL_PACKAGE, result));
    int exist_device_id = -1;
    int exist_package_version = -1;
    int exist_description = -1;
    int exist_total_size = -1;
    EXPECT_EQ(0, service.get_firmware_upgrade(exist_device_id, nullptr, exist_package_version,
                                              nullptr, exist_description, nullptr,
                                              exist_total_size, nullptr));
    EXPECT_EQ(1, exist_device_id);
    EXPECT_EQ(1, exist_package_version);
    EXPECT_EQ(1, exist_description);
    EXPECT_EQ(1, exist_total_size);
}

TEST(utl_lib_xml_vexa_firmware_upgrade_service, download_information_index_0_and_count_plus_1_fail)
{
    utl_lib_xml_vexa_firmware_upgrade_service service;
    UTL_LIB_XML_VEXA_RESULT result = norvane::UTL_LIB_XML_VEXA_RESULT_NO_ERR;
    ASSERT_EQ(0, parse_quietly(service, FULL_PACKAGE, result));
    UTL_LIB_XML_VEXA_FIRMWARE_DOWNLOAD_INFORMATION_S group;
    std::memset(&group, 0, sizeof(group));

    testing::internal::CaptureStderr();
    EXPECT_EQ(1, service.get_download_information(0, group));
    EXPECT_EQ(1, service.get_download_information(3, group));
    std::string trace = testing::internal::GetCapturedStderr();

    EXPECT_EQ("[XML][ERROR! ]DataUtl get list error. out of range. index[0] cnt[2]\n"
              "[XML][ERROR! ]DataUtl get list error. out of range. index[3] cnt[2]\n",
              trace);
}

TEST(utl_lib_xml_vexa_firmware_upgrade_service, data_information_index_out_of_range_fails)
{
    utl_lib_xml_vexa_firmware_upgrade_service service;
    UTL_LIB_XML_VEXA_RESULT result = norvane::UTL_LIB_XML_VEXA_RESULT_NO_ERR;
    ASSERT_EQ(0, parse_quietly(service, FULL_PACKAGE, result));
    UTL_LIB_XML_VEXA_FIRMWARE_DOWNLOAD_INFORMATION_S group;
    ASSERT_EQ(0, service.get_download_information(2, group));
    UTL_LIB_XML_VEXA_FIRMWARE_DATA_INFORMATION_S file;

    testing::internal::CaptureStderr();
    EXPECT_EQ(1, service.get_firmware_data_information(2, &group, file));
    std::string trace = testing::internal::GetCapturedStderr();
    EXPECT_EQ("[XML][ERROR! ]DataUtl get list error. out of range. index[2] cnt[1]\n", trace);
}

TEST(utl_lib_xml_vexa_firmware_upgrade_service, null_group_is_refused)
{
    utl_lib_xml_vexa_firmware_upgrade_service service;
    int count = 5;
    EXPECT_EQ(1, service.get_firmware_data_information_count(nullptr, count));
    EXPECT_EQ(5, count);
    UTL_LIB_XML_VEXA_FIRMWARE_DATA_INFORMATION_S file;
    EXPECT_EQ(1, service.get_firmware_data_information(1, nullptr, file));
}

TEST(utl_lib_xml_vexa_firmware_upgrade_service, package_without_groups_counts_0)
{
    utl_lib_xml_vexa_firmware_upgrade_service service;
    UTL_LIB_XML_VEXA_RESULT result = norvane::UTL_LIB_XML_VEXA_RESULT_NO_ERR;
    ASSERT_EQ(0, parse_quietly(service,
                               "<firmware_package><package_version>1</package_version>"
                               "</firmware_package>",
                               result));
    int groups = -1;
    EXPECT_EQ(0, service.get_download_information_count(groups));
    EXPECT_EQ(0, groups);
}

TEST(utl_lib_xml_vexa_firmware_upgrade_service, create_xml_of_a_request_is_refused_with_trace)
{
    utl_lib_xml_vexa_firmware_upgrade_service service;
    std::string xml = "kept";
    UTL_LIB_XML_VEXA_RESULT result = norvane::UTL_LIB_XML_VEXA_RESULT_MEMORY_ERR;
    testing::internal::CaptureStderr();
    int ret = service.create_xml(norvane::UTL_LIB_XML_VEXA_MESSAGE_REQUEST, xml, result);
    std::string trace = testing::internal::GetCapturedStderr();
    EXPECT_EQ(1, ret);
    EXPECT_EQ("[XML][ERROR! ]create message_type invalid [1]\n", trace);
    EXPECT_EQ(norvane::UTL_LIB_XML_VEXA_RESULT_MEMORY_ERR, result);
    EXPECT_EQ("kept", xml);
}

TEST(utl_lib_xml_vexa_firmware_upgrade_service, create_xml_of_a_firmware_package_is_refused)
{
    utl_lib_xml_vexa_firmware_upgrade_service service;
    std::string xml;
    UTL_LIB_XML_VEXA_RESULT result = norvane::UTL_LIB_XML_VEXA_RESULT_NO_ERR;
    testing::internal::CaptureStderr();
    int ret = service.create_xml(norvane::UTL_LIB_XML_VEXA_MESSAGE_FIRMWARE_PACKAGE, xml, result);
    std::string trace = testing::internal::GetCapturedStderr();
    EXPECT_EQ(1, ret);
    EXPECT_EQ("[XML][ERROR! ]create message_type invalid [7]\n", trace);
}

TEST(utl_lib_xml_vexa_firmware_upgrade_service, create_xml_of_a_response_writes_no_body)
{
    utl_lib_xml_vexa_firmware_upgrade_service service;
    service.set_rexid("rex", nullptr);
    std::string xml;
    UTL_LIB_XML_VEXA_RESULT result = norvane::UTL_LIB_XML_VEXA_RESULT_NO_ERR;
    testing::internal::CaptureStderr();
    int ret = service.create_xml(norvane::UTL_LIB_XML_VEXA_MESSAGE_RESPONSE, xml, result);
    std::string trace = testing::internal::GetCapturedStderr();
    EXPECT_EQ(0, ret);
    EXPECT_EQ("", xml);
    EXPECT_EQ("[XML][IMP    ]Create IN  type[2]<<\n"
              "[XML][IMP    ]Create OUT ret[0] result[0] size[0] >>\n",
              trace);
}

TEST(utl_lib_xml_vexa_firmware_upgrade_service, create_xml_of_an_error_writes_the_note)
{
    utl_lib_xml_vexa_firmware_upgrade_service service;
    char note[] = "bad package";
    EXPECT_EQ(0, service.set_note(norvane::UTL_LIB_XML_VEXA_XMPP_NOTE_ERROR, note));
    std::string xml;
    UTL_LIB_XML_VEXA_RESULT result = norvane::UTL_LIB_XML_VEXA_RESULT_NO_ERR;
    testing::internal::CaptureStderr();
    EXPECT_EQ(0, service.create_xml(norvane::UTL_LIB_XML_VEXA_MESSAGE_ERROR, xml, result));
    testing::internal::GetCapturedStderr();
    EXPECT_EQ("<note type=\"error\">bad package</note>", xml);
}

TEST(utl_lib_xml_vexa_firmware_upgrade_service, create_xml_of_an_error_without_note_fails)
{
    utl_lib_xml_vexa_firmware_upgrade_service service;
    norvane::UTL_LIB_XML_VEXA_XMPP_CMDERROR_S error;
    std::memset(&error, 0, sizeof(error));
    error.code = norvane::UTL_LIB_XML_VEXA_XMPP_CMDERROR_CODE_DEVICE_ERROR;
    EXPECT_EQ(0, service.set_cmd_error(error));
    std::string xml;
    UTL_LIB_XML_VEXA_RESULT result = norvane::UTL_LIB_XML_VEXA_RESULT_NO_ERR;
    testing::internal::CaptureStderr();
    int ret = service.create_xml(norvane::UTL_LIB_XML_VEXA_MESSAGE_ERROR, xml, result);
    std::string trace = testing::internal::GetCapturedStderr();
    EXPECT_EQ(1, ret);
    EXPECT_EQ("", xml);
    EXPECT_EQ("[XML][ERROR! ]note type error[0]\n", trace);
}

TEST(utl_lib_xml_vexa_firmware_upgrade_service, status_xml_uses_only_the_status_fields)
{
    utl_lib_xml_vexa_firmware_upgrade_service service;
    service.set_rexid("rex-status", nullptr);
    norvane::UTL_LIB_XML_VEXA_TASK_STATUS_INFO_ info;
    info.status = norvane::UTL_LIB_XML_VEXA_TASK_STATUS_PROCESSING;
    info.detailed_status = norvane::UTL_LIB_XML_VEXA_TASK_DETAIL_STATUS_NO_RESPONSE;
    std::string xml;
    UTL_LIB_XML_VEXA_RESULT result = norvane::UTL_LIB_XML_VEXA_RESULT_NO_ERR;
    testing::internal::CaptureStderr();
    int ret = service.create_status_xml(info, xml, result);
    std::string trace = testing::internal::GetCapturedStderr();
    EXPECT_EQ(0, ret);
    EXPECT_EQ("", xml);
    EXPECT_EQ("[XML][IMP    ]Create IN  type[2]<<\n"
              "[XML][IMP    ]Create OUT ret[0] result[0] size[0] >>\n",
              trace);
    // The member response keeps its identifier and gets no status.
    EXPECT_EQ(1, peer::response(service).exist_rexid);
    EXPECT_EQ(norvane::UTL_LIB_XML_VEXA_TASK_STATUS_TYPE_NONE, peer::response(service).status);
}

TEST(utl_lib_xml_vexa_firmware_upgrade_service, failed_parse_has_discarded_the_previous_message)
{
    utl_lib_xml_vexa_firmware_upgrade_service service;
    UTL_LIB_XML_VEXA_RESULT result = norvane::UTL_LIB_XML_VEXA_RESULT_NO_ERR;
    ASSERT_EQ(0, parse_quietly(service, FULL_PACKAGE, result));

    const std::string broken = "<firmware_package><device_id>X";
    testing::internal::CaptureStderr();
    EXPECT_EQ(1, service.parse_xml(broken, result, norvane::UTL_LIB_XML_VEXA_PROTOCOL_BTSPP));
    EXPECT_EQ("[XML][IMP    ]Parse IN  type[7] size[30]<<\n"
              "[XML][IMP    ]Parse [<firmware_package><device_id>X]\n"
              "[XML][ERROR! ]XML perser error. 0 EOF=1 line=1 msg=no element found\n"
              "[XML][IMP    ]Parse OUT ret[1] result[2] size[30] >>\n",
              testing::internal::GetCapturedStderr());
    EXPECT_EQ(norvane::UTL_LIB_XML_VEXA_RESULT_PARSER_ERR, result);

    // What the failed parse wrote before its error is all that is left: the
    // device id's element had begun, its text had not been stored yet.
    package_header h;
    EXPECT_EQ(0, get_header(service, h));
    EXPECT_EQ(1, h.exist_device_id);
    EXPECT_STREQ("", h.device_id);
    EXPECT_EQ(0, h.exist_package_version);
    EXPECT_EQ(0, h.exist_description);
    EXPECT_EQ(0, h.exist_total_size);
    EXPECT_EQ(norvane::UTL_LIB_XML_VEXA_PACKAGE_TYPE_NONE, h.package_type);
    int groups = -1;
    service.get_download_information_count(groups);
    EXPECT_EQ(0, groups);
}

TEST(utl_lib_xml_vexa_firmware_upgrade_service, get_rexid_refuses_null_and_leaves_exist)
{
    utl_lib_xml_vexa_firmware_upgrade_service service;
    int exist = 9;
    EXPECT_EQ(1, service.get_rexid(exist, nullptr));
    EXPECT_EQ(9, exist);
    char rexid[39] = {};
    EXPECT_EQ(0, service.get_rexid(exist, rexid));
    EXPECT_EQ(0, exist);
}

TEST(utl_lib_xml_vexa_firmware_upgrade_service, set_rexid_cuts_to_38_and_copies_progress)
{
    utl_lib_xml_vexa_firmware_upgrade_service service;
    const std::string id = std::string(38, 'k') + "tail";
    norvane::UTL_LIB_XML_VEXA_XMPP_PROGRESS_RESPONSE_S progress;
    std::memset(&progress, 0, sizeof(progress));
    progress.percentage = 75;
    progress.exist_percentage = 1;
    EXPECT_EQ(0, service.set_rexid(id.c_str(), &progress));
    const auto& response = peer::response(service);
    EXPECT_EQ(1, response.exist_rexid);
    EXPECT_EQ(std::string(38, 'k'), std::string(response.rexid));
    EXPECT_EQ('\0', response.rexid[38]);
    EXPECT_EQ(1, response.exist_progress);
    EXPECT_EQ(75, response.progress.percentage);
}

TEST(utl_lib_xml_vexa_firmware_upgrade_service, xmpp_request_binds_no_identifier_with_this_builds_tables)
{
    utl_lib_xml_vexa_firmware_upgrade_service service;
    // A request that arrives over XMPP is parsed whole; this build's tables
    // bind none of its elements, so no identifier is carried over.
    UTL_LIB_XML_VEXA_RESULT result = norvane::UTL_LIB_XML_VEXA_RESULT_NO_ERR;
    EXPECT_EQ(0, parse_quietly(service, "<request><rexid>r-7</rexid></request>", result,
                               norvane::UTL_LIB_XML_VEXA_PROTOCOL_XMPP));
    EXPECT_EQ(0, peer::request(service).exist_rexid);
    EXPECT_EQ(0, peer::response(service).exist_rexid);
    int exist = -1;
    norvane::UTL_LIB_XML_VEXA_XMPP_REQUEST_PARAM_S param;
    std::memset(&param, 0xAB, sizeof(param));
    EXPECT_EQ(0, service.get_xmpp_request_parameter(exist, param));
    EXPECT_EQ(0, exist);
}

TEST(utl_lib_xml_vexa_firmware_upgrade_service, get_xmpp_request_parameter_copies_when_present)
{
    utl_lib_xml_vexa_firmware_upgrade_service service;
    peer::request(service).exist_param = 1;
    peer::request(service).param.ack_interval = 12;
    int exist = 0;
    norvane::UTL_LIB_XML_VEXA_XMPP_REQUEST_PARAM_S param;
    std::memset(&param, 0, sizeof(param));
    EXPECT_EQ(0, service.get_xmpp_request_parameter(exist, param));
    EXPECT_EQ(1, exist);
    EXPECT_EQ(12, param.ack_interval);
}

}  // namespace
