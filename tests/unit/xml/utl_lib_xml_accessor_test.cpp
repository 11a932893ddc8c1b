// Tests of the engine's accessor on the real expat: the notification
// sequences a recording observer sees, text collection, the failure trace
// and the refused file operations.
#include "utl_lib_xml_accessor.h"
#include "utl_lib_xml_accessor_impl.h"

#include <dlfcn.h>
#include <expat.h>
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

using norvane::utl_lib_xml_accessor;
using norvane::utl_lib_xml_accessor_factory;
using norvane::utl_lib_xml_accessor_impl;
using norvane::utl_lib_xml_file;
using norvane::utl_lib_xml_parse_observer;

namespace {

// When set, the next XML_ParserCreate fails as it does when memory runs out.
bool fail_parser_create = false;

}  // namespace

// Stands in front of expat's XML_ParserCreate, so that a test can make the
// creation fail; otherwise it hands over to the real one.
extern "C" XML_Parser XML_ParserCreate(const XML_Char* encoding)
{
    if (fail_parser_create) {
        fail_parser_create = false;
        return nullptr;
    }
    using create_function = XML_Parser (*)(const XML_Char*);
    static create_function real_create =
        reinterpret_cast<create_function>(dlsym(RTLD_NEXT, "XML_ParserCreate"));
    return real_create(encoding);
}

namespace {

// Writes every notification as one line of text, attributes in map order.
class recording_observer : public utl_lib_xml_parse_observer {
public:
    void notify_xml_header(std::string& version, std::string& encoding) override
    {
        events.push_back("header " + version + " " + encoding);
    }
    void notify_element_start(std::string& name,
                              std::map<std::string, std::string>& attributes) override
    {
        std::string text = "start " + name + " {";
        for (const auto& attribute : attributes) {
            text += attribute.first + "=" + attribute.second + ";";
        }
        events.push_back(text + "}");
        if (accessor != nullptr) {
            positions.push_back(accessor->get_current_parse_position());
        }
    }
    void notify_element_end(std::string& name) override { events.push_back("end " + name); }
    void notify_character_data(std::string& data) override { events.push_back("data " + data); }
    void notify_error() override { events.push_back("error"); }

    std::vector<std::string> events;
    std::vector<unsigned long> positions;
    utl_lib_xml_accessor* accessor = nullptr;
};

// Runs one parse through a factory-made accessor; the trace is captured.
struct parse_outcome {
    int result;
    std::vector<std::string> events;
    std::string trace;
};

parse_outcome parse_text(const std::string& xml)
{
    recording_observer observer;
    std::unique_ptr<utl_lib_xml_accessor> accessor(
        utl_lib_xml_accessor_factory::create_accessor(&observer));
    std::string text = xml;
    testing::internal::CaptureStderr();
    int result = accessor->parse(text);
    std::string trace = testing::internal::GetCapturedStderr();
    return parse_outcome{result, observer.events, trace};
}

using events = std::vector<std::string>;

// A factory-made accessor bound to a recording observer.
class utl_lib_xml_accessor_fixture : public testing::Test {
protected:
    recording_observer observer_;
    std::unique_ptr<utl_lib_xml_accessor> accessor_{
        utl_lib_xml_accessor_factory::create_accessor(&observer_)};
};

// Reaches the handler installation on its own.
class handler_installer : public utl_lib_xml_accessor_impl {
public:
    handler_installer() : utl_lib_xml_accessor_impl(nullptr) {}
    static int install(XML_Parser parser) { return set_handler_(parser); }
};

}  // namespace

TEST(utl_lib_xml_accessor_test, element_with_text_gives_start_with_attributes_data_end)
{
    parse_outcome outcome = parse_text("<a k=\"v\" b=\"2\">x</a>");
    EXPECT_EQ(0, outcome.result);
    EXPECT_EQ((events{"start a {b=2;k=v;}", "data x", "end a"}), outcome.events);
    EXPECT_EQ("", outcome.trace);
}

TEST(utl_lib_xml_accessor_test, text_before_a_child_is_lost)
{
    parse_outcome outcome = parse_text("<a>x<b/>y</a>");
    EXPECT_EQ(0, outcome.result);
    EXPECT_EQ((events{"start a {}", "start b {}", "end b", "data y", "end a"}), outcome.events);
}

TEST(utl_lib_xml_accessor_test, empty_element_gives_no_data)
{
    EXPECT_EQ((events{"start a {}", "end a"}), parse_text("<a></a>").events);
    EXPECT_EQ((events{"start a {}", "end a"}), parse_text("<a/>").events);
    EXPECT_EQ((events{"start a {}", "start b {}", "end b", "end a"}),
              parse_text("<a><b></b></a>").events);
}

TEST(utl_lib_xml_accessor_test, attributes_keep_their_prefix)
{
    parse_outcome outcome =
        parse_text("<p:root xmlns:p=\"urn:example\" p:kind=\"x\" plain=\"y\"><p:leaf/></p:root>");
    EXPECT_EQ(0, outcome.result);
    EXPECT_EQ((events{"start p:root {p:kind=x;plain=y;xmlns:p=urn:example;}", "start p:leaf {}",
                      "end p:leaf", "end p:root"}),
              outcome.events);
}

TEST(utl_lib_xml_accessor_test, text_split_across_callbacks_is_concatenated)
{
    // expat delivers line breaks and references as pieces of their own.
    parse_outcome outcome = parse_text("<a>one\ntwo&amp;three&#65;\r\nfour</a>");
    EXPECT_EQ(0, outcome.result);
    EXPECT_EQ((events{"start a {}", "data one\ntwo&threeA\nfour", "end a"}), outcome.events);
}

TEST(utl_lib_xml_accessor_test, whitespace_after_the_last_child_is_delivered_as_data)
{
    parse_outcome outcome = parse_text("<a>\n  <b>t</b>\n</a>");
    EXPECT_EQ((events{"start a {}", "start b {}", "data t", "end b", "data \n", "end a"}),
              outcome.events);
}

TEST(utl_lib_xml_accessor_test, cdata_is_data_and_comments_and_instructions_are_dropped)
{
    parse_outcome outcome =
        parse_text("<?xml version=\"1.0\" encoding=\"UTF-8\"?><!--c--><a><?pi x?>1<![CDATA[<b>]]>"
                   "<!--n-->2</a>");
    EXPECT_EQ(0, outcome.result);
    EXPECT_EQ((events{"start a {}", "data 1<b>2", "end a"}), outcome.events);
}

TEST(utl_lib_xml_accessor_test, xml_declaration_is_not_passed_on)
{
    parse_outcome outcome = parse_text("<?xml version=\"1.0\" encoding=\"UTF-8\"?><a/>");
    EXPECT_EQ(0, outcome.result);
    EXPECT_EQ((events{"start a {}", "end a"}), outcome.events);
}

TEST(utl_lib_xml_accessor_test, internal_entity_is_expanded_into_the_data)
{
    parse_outcome outcome =
        parse_text("<!DOCTYPE a [<!ELEMENT a (#PCDATA)><!ATTLIST a k CDATA \"d\">"
                   "<!ENTITY e \"val\">]><a>x&e;y</a>");
    EXPECT_EQ(0, outcome.result);
    EXPECT_EQ((events{"start a {k=d;}", "data xvaly", "end a"}), outcome.events);
    EXPECT_EQ("", outcome.trace);
}

TEST(utl_lib_xml_accessor_test, empty_string_gives_parser_error_and_notify_error)
{
    parse_outcome outcome = parse_text("");
    EXPECT_EQ(1, outcome.result);
    EXPECT_EQ((events{"error"}), outcome.events);
    EXPECT_EQ("[XML][ERROR! ]XML perser error. 0 EOF=1 line=1 msg=no element found\n",
              outcome.trace);
}

TEST(utl_lib_xml_accessor_test, malformed_document_reports_line_and_expat_message)
{
    parse_outcome outcome = parse_text("<a>\n<b>text\n</a>");
    EXPECT_EQ(1, outcome.result);
    EXPECT_EQ((events{"start a {}", "start b {}", "error"}), outcome.events);
    EXPECT_EQ("[XML][ERROR! ]XML perser error. 0 EOF=1 line=3 msg=mismatched tag\n",
              outcome.trace);
}

TEST(utl_lib_xml_accessor_test, unclosed_element_reports_no_element_found_at_the_last_line)
{
    parse_outcome outcome = parse_text("<a>\n<b/>\n");
    EXPECT_EQ(1, outcome.result);
    EXPECT_EQ((events{"start a {}", "start b {}", "end b", "error"}), outcome.events);
    EXPECT_EQ("[XML][ERROR! ]XML perser error. 0 EOF=1 line=3 msg=no element found\n",
              outcome.trace);
}

TEST(utl_lib_xml_accessor_test, external_entity_reference_is_refused)
{
    parse_outcome outcome =
        parse_text("<!DOCTYPE a [<!ENTITY e SYSTEM \"e.xml\">]>\n<a>&e;</a>");
    EXPECT_EQ(1, outcome.result);
    EXPECT_EQ((events{"start a {}", "error"}), outcome.events);
    EXPECT_EQ("[XML][ERROR! ]XML perser error. 0 EOF=1 line=2 "
              "msg=error in processing external entity reference\n",
              outcome.trace);
}

TEST(utl_lib_xml_accessor_test, document_with_external_subset_is_not_standalone)
{
    parse_outcome outcome = parse_text("<!DOCTYPE a SYSTEM \"a.dtd\">\n<a/>");
    EXPECT_EQ(1, outcome.result);
    EXPECT_EQ((events{"error"}), outcome.events);
    EXPECT_EQ("[XML][ERROR! ]XML perser error. 0 EOF=1 line=1 msg=document is not standalone\n",
              outcome.trace);
}

TEST(utl_lib_xml_accessor_test, unknown_encoding_is_refused)
{
    parse_outcome outcome = parse_text("<?xml version=\"1.0\" encoding=\"X-NORVANE\"?><a/>");
    EXPECT_EQ(1, outcome.result);
    EXPECT_EQ((events{"error"}), outcome.events);
    EXPECT_EQ("[XML][ERROR! ]XML perser error. 0 EOF=1 line=1 msg=unknown encoding\n",
              outcome.trace);
}

TEST_F(utl_lib_xml_accessor_fixture, failed_parser_creation_traces_and_notifies_error)
{
    std::string text = "<a/>";
    fail_parser_create = true;
    testing::internal::CaptureStderr();
    EXPECT_EQ(1, accessor_->parse(text));
    EXPECT_EQ("[XML][ERROR! ]Failed XML perser create. 0\n", testing::internal::GetCapturedStderr());
    EXPECT_EQ((events{"error"}), observer_.events);
    EXPECT_EQ(0u, accessor_->get_current_parse_position());
}

TEST(utl_lib_xml_accessor_test, handler_installation_on_null_parser_traces_and_fails)
{
    testing::internal::CaptureStderr();
    EXPECT_EQ(1, handler_installer::install(nullptr));
    EXPECT_EQ("[XML][ERROR! ]Invalid param. XML_Parser=0x00000000\n",
              testing::internal::GetCapturedStderr());
}

TEST(utl_lib_xml_accessor_test, handler_installation_on_a_parser_succeeds)
{
    XML_Parser parser = XML_ParserCreate(nullptr);
    ASSERT_NE(nullptr, parser);
    testing::internal::CaptureStderr();
    EXPECT_EQ(0, handler_installer::install(parser));
    EXPECT_EQ("", testing::internal::GetCapturedStderr());
    XML_ParserFree(parser);
}

TEST_F(utl_lib_xml_accessor_fixture, parse_position_is_0_outside_a_parse)
{
    EXPECT_EQ(0u, accessor_->get_current_parse_position());
    std::string text = "<a><b/></a>";
    ASSERT_EQ(0, accessor_->parse(text));
    EXPECT_EQ(0u, accessor_->get_current_parse_position());
}

TEST_F(utl_lib_xml_accessor_fixture, parse_position_during_a_parse_is_the_byte_index)
{
    observer_.accessor = accessor_.get();
    std::string text = "<a>\n  <bb x=\"1\"/><c/></a>";
    ASSERT_EQ(0, accessor_->parse(text));
    EXPECT_EQ((std::vector<unsigned long>{0, 6, 17}), observer_.positions);
}

TEST_F(utl_lib_xml_accessor_fixture, file_operations_are_refused_and_stat_succeeds)
{
    utl_lib_xml_file file;
    file.drive = 1;
    file.area = 2;
    file.file_name = "FW_package.xml";
    std::string data = "<a/>";
    unsigned long size = data.size();
    EXPECT_EQ(0, accessor_->stat(file));
    EXPECT_EQ(1, accessor_->parse(file));
    EXPECT_EQ(1, accessor_->open(file, 0));
    EXPECT_EQ(1, accessor_->open(file, 1));
    EXPECT_EQ(1, accessor_->read(data, size));
    EXPECT_EQ(1, accessor_->write(data, size));
    EXPECT_EQ(1, accessor_->close());
    EXPECT_EQ("<a/>", data);
    EXPECT_EQ(4ul, size);
    EXPECT_TRUE(observer_.events.empty());
}

TEST(utl_lib_xml_accessor_test, parse_without_observer_drops_every_notification)
{
    std::unique_ptr<utl_lib_xml_accessor> accessor(
        utl_lib_xml_accessor_factory::create_accessor(nullptr));
    std::string good = "<a k=\"v\">x<b/>y</a>";
    std::string bad = "<a>";
    testing::internal::CaptureStderr();
    EXPECT_EQ(0, accessor->parse(good));
    EXPECT_EQ(1, accessor->parse(bad));
    EXPECT_EQ("[XML][ERROR! ]XML perser error. 0 EOF=1 line=1 msg=no element found\n",
              testing::internal::GetCapturedStderr());
}

TEST_F(utl_lib_xml_accessor_fixture, accessor_parses_again_after_a_failed_parse)
{
    std::string bad = "<a><b></a>";
    std::string good = "<c>z</c>";
    testing::internal::CaptureStderr();
    EXPECT_EQ(1, accessor_->parse(bad));
    EXPECT_EQ(0, accessor_->parse(good));
    testing::internal::GetCapturedStderr();
    EXPECT_EQ((events{"start a {}", "start b {}", "error", "start c {}", "data z", "end c"}),
              observer_.events);
}

TEST(utl_lib_xml_accessor_test, each_accessor_delivers_to_its_own_observer)
{
    recording_observer first_observer;
    recording_observer second_observer;
    std::unique_ptr<utl_lib_xml_accessor> first(
        utl_lib_xml_accessor_factory::create_accessor(&first_observer));
    std::unique_ptr<utl_lib_xml_accessor> second(
        utl_lib_xml_accessor_factory::create_accessor(&second_observer));
    std::string one = "<one/>";
    std::string two = "<two/>";
    ASSERT_EQ(0, first->parse(one));
    ASSERT_EQ(0, second->parse(two));
    EXPECT_EQ((events{"start one {}", "end one"}), first_observer.events);
    EXPECT_EQ((events{"start two {}", "end two"}), second_observer.events);
}

TEST(utl_lib_xml_accessor_test, embedded_nul_cuts_the_piece_short)
{
    // expat refuses a NUL character in any form (raw byte or &#0;), so the
    // handler is fed directly, as the tokenizer callback would.
    recording_observer observer;
    utl_lib_xml_accessor_impl accessor(&observer);
    const XML_Char* no_attributes[] = {nullptr};
    accessor.element_start("a", no_attributes);
    accessor.character_data("ab\0cd", 5);
    accessor.character_data("ef", 2);
    accessor.element_end("a");
    EXPECT_EQ((events{"start a {}", "data abef", "end a"}), observer.events);
}

TEST(utl_lib_xml_accessor_test, raw_nul_byte_in_a_document_is_a_parser_error)
{
    parse_outcome outcome = parse_text(std::string("<a>x\0y</a>", 10));
    EXPECT_EQ(1, outcome.result);
    EXPECT_EQ((events{"start a {}", "error"}), outcome.events);
    EXPECT_EQ("[XML][ERROR! ]XML perser error. 0 EOF=1 line=1 msg=not well-formed (invalid token)\n",
              outcome.trace);
}

TEST(utl_lib_xml_accessor_test, empty_piece_of_character_data_is_ignored)
{
    recording_observer observer;
    utl_lib_xml_accessor_impl accessor(&observer);
    const XML_Char* no_attributes[] = {nullptr};
    accessor.element_start("a", no_attributes);
    accessor.character_data("zz", 0);
    accessor.character_data("zz", -1);
    accessor.element_end("a");
    EXPECT_EQ((events{"start a {}", "end a"}), observer.events);
}

TEST(utl_lib_xml_accessor_test, attribute_array_stops_at_the_first_incomplete_pair)
{
    recording_observer observer;
    utl_lib_xml_accessor_impl accessor(&observer);
    const XML_Char* attributes[] = {"k", "v", "x", nullptr, "y", "z", nullptr};
    accessor.element_start("a", attributes);
    EXPECT_EQ((events{"start a {k=v;}"}), observer.events);
}

TEST(utl_lib_xml_accessor_test, repeated_attribute_name_keeps_the_later_value)
{
    recording_observer observer;
    utl_lib_xml_accessor_impl accessor(&observer);
    const XML_Char* attributes[] = {"k", "1", "m", "2", "k", "3", nullptr};
    accessor.element_start("a", attributes);
    EXPECT_EQ((events{"start a {k=3;m=2;}"}), observer.events);
}

TEST(utl_lib_xml_accessor_test, element_start_discards_collected_text)
{
    recording_observer observer;
    utl_lib_xml_accessor_impl accessor(&observer);
    const XML_Char* no_attributes[] = {nullptr};
    accessor.element_start("a", no_attributes);
    accessor.character_data("lost", 4);
    accessor.element_start("b", no_attributes);
    accessor.element_end("b");
    accessor.character_data("kept", 4);
    accessor.element_end("a");
    EXPECT_EQ((events{"start a {}", "start b {}", "end b", "data kept", "end a"}), observer.events);
}
