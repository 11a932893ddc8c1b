// Tests of the mediator's parsing on the real accessor and expat: every kind
// of automatic target, attributes, interrupts, skipped elements, the failure
// lines, the refused file operations and hostile documents.
#include "utl_lib_xml_mediator.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "nothrow_new_fault.h"
#include "temp_dir.h"
#include "test_mediator.h"

using norvane::XADDR_DATA_TYPE_1BYTE_VAL;
using norvane::XADDR_DATA_TYPE_4BYTE_VAL;
using norvane::XADDR_DATA_TYPE_CHAR_BUFF;
using norvane::XADDR_DATA_TYPE_STRING;
using norvane::XADDR_DATA_TYPE_UNKNOWN;
using norvane::XADDR_DATA_TYPE_VECTOR_STRING;
using norvane::UTL_LIB_XADDR_DATA_TYPE;
using norvane::utl_lib_xml_file;
using namespace norvane_test;

namespace {

int parse_text(test_mediator& mediator, const std::string& text, std::string& trace)
{
    std::string xml = text;
    int result = -1;
    trace = capture_trace([&] { result = mediator.parse(xml); });
    return result;
}

size_t count_of(const std::string& text, const std::string& piece)
{
    size_t count = 0;
    for (size_t at = text.find(piece); at != std::string::npos; at = text.find(piece, at + piece.size())) {
        ++count;
    }
    return count;
}

}  // namespace

TEST(utl_lib_xml_mediator_parse, every_target_kind_receives_its_element)
{
    test_mediator mediator;
    std::string trace;
    EXPECT_EQ(0, parse_text(mediator,
                            "<doc><title>Hello</title><code>AB12</code><small>-5</small>"
                            "<medium>1234</medium><large>-70000</large><tag>a</tag><tag>b</tag>"
                            "<b>1</b><b>2</b><s>300</s><i>-1</i><i>2147483647</i><color>blue</color>"
                            "<item><name>n1</name><qty>4</qty><color>green</color></item>"
                            "<item><name>n2</name><qty>5</qty><color>red</color></item>"
                            "<opt>anything</opt></doc>",
                            trace));
    EXPECT_EQ("", trace);
    const test_targets& t = mediator.t;
    EXPECT_EQ("Hello", t.title);
    EXPECT_EQ(std::string("AB12\0\0\0\0", 8), std::string(t.code, 8));
    EXPECT_EQ(-5, t.small);
    EXPECT_EQ(1234, t.medium);
    EXPECT_EQ(-70000, t.large);
    EXPECT_EQ((std::vector<std::string>{"a", "b"}), t.tags);
    EXPECT_EQ((std::vector<char>{1, 2}), t.bytes);
    EXPECT_EQ((std::vector<short>{300}), t.shorts);
    EXPECT_EQ((std::vector<int>{-1, 2147483647}), t.ints);
    EXPECT_EQ(3, t.color);
    EXPECT_EQ(1, t.item_found);
    EXPECT_EQ((std::vector<std::string>{"n1", "n2"}), t.item_names);
    EXPECT_EQ((std::vector<int>{4, 5}), t.item_qtys);
    EXPECT_EQ((std::vector<char>{2, 1}), t.item_colors);
    EXPECT_EQ(1, t.opt_found);
    EXPECT_EQ((std::vector<unsigned int>{I_DOC_START, I_TITLE_DATA, I_COLOR_DATA, I_ITEM_START,
                                         I_ITEM_END, I_ITEM_START, I_ITEM_END, I_DOC_END}),
              mediator.interrupt_ids());
}

TEST(utl_lib_xml_mediator_parse, numbers_are_read_with_strtol_and_cut_to_their_width)
{
    test_mediator mediator;
    std::string trace;
    EXPECT_EQ(0, parse_text(mediator,
                            "<doc><small>300</small><medium>70000</medium><large>  -12abc</large>"
                            "<b>300</b><s>-70000</s><i>+7</i><i>abc</i></doc>",
                            trace));
    EXPECT_EQ("", trace);
    EXPECT_EQ(44, mediator.t.small);
    EXPECT_EQ(4464, mediator.t.medium);
    EXPECT_EQ(-12, mediator.t.large);
    EXPECT_EQ((std::vector<char>{44}), mediator.t.bytes);
    EXPECT_EQ((std::vector<short>{-4464}), mediator.t.shorts);
    EXPECT_EQ((std::vector<int>{7, 0}), mediator.t.ints);
}

TEST(utl_lib_xml_mediator_parse, empty_element_clears_string_and_zeroes_numbers)
{
    test_mediator mediator;
    mediator.t.title = "old";
    mediator.t.large = 99;
    mediator.t.small = 9;
    std::fill(std::begin(mediator.t.code), std::end(mediator.t.code), 'z');
    std::string trace;
    EXPECT_EQ(0, parse_text(mediator,
                            "<doc><title></title><large/><small/><code/><tag/><i/><opt/></doc>", trace));
    EXPECT_EQ("", trace);
    EXPECT_EQ("", mediator.t.title);
    EXPECT_EQ(0, mediator.t.large);
    EXPECT_EQ(0, mediator.t.small);
    EXPECT_EQ(std::string(8, '\0'), std::string(mediator.t.code, 8));
    EXPECT_EQ(std::vector<std::string>{""}, mediator.t.tags);
    EXPECT_EQ(std::vector<int>{0}, mediator.t.ints);
    EXPECT_EQ(1, mediator.t.opt_found);
}

TEST(utl_lib_xml_mediator_parse, absent_elements_leave_their_targets_alone)
{
    test_mediator mediator;
    mediator.t.title = "old";
    mediator.t.large = 99;
    std::string trace;
    EXPECT_EQ(0, parse_text(mediator, "<doc></doc>", trace));
    EXPECT_EQ("old", mediator.t.title);
    EXPECT_EQ(99, mediator.t.large);
    EXPECT_EQ(0, mediator.t.opt_found);
    EXPECT_EQ(0, mediator.t.item_found);
}

TEST(utl_lib_xml_mediator_parse, same_xaddr_twice_appends_two_entries_in_document_order)
{
    test_mediator mediator;
    std::string trace;
    EXPECT_EQ(0, parse_text(mediator, "<doc><tag>first</tag><tag/><tag>third</tag><i>2</i><i>1</i></doc>", trace));
    EXPECT_EQ("", trace);
    EXPECT_EQ((std::vector<std::string>{"first", "", "third"}), mediator.t.tags);
    EXPECT_EQ((std::vector<int>{2, 1}), mediator.t.ints);
}

TEST(utl_lib_xml_mediator_parse, text_split_by_a_comment_arrives_as_one_text)
{
    test_mediator mediator;
    std::string trace;
    EXPECT_EQ(0, parse_text(mediator, "<doc><title>ab<!-- gap -->cd</title></doc>", trace));
    EXPECT_EQ("", trace);
    EXPECT_EQ("abcd", mediator.t.title);
    ASSERT_EQ(3u, mediator.events.size());
    EXPECT_EQ(I_TITLE_DATA, mediator.events[1].interrupt_id);
    EXPECT_EQ("abcd", mediator.events[1].data);
    EXPECT_EQ((std::map<std::string, std::string>{{"title", "abcd"}}), mediator.events[1].attributes);
}

TEST(utl_lib_xml_mediator_parse, enum_text_converts_through_the_enum_and_unknown_names_are_skipped)
{
    test_mediator mediator;
    mediator.t.color = 42;
    std::string trace;
    EXPECT_EQ(0, parse_text(mediator,
                            "<doc><color>purple</color><item><color>blue</color></item>"
                            "<item><color>Blue</color></item></doc>",
                            trace));
    EXPECT_EQ("[XML][WARNING]enum not found. name=purple\n"
              "[XML][IMP    ]skip convert enum. enum_id=1000001 string=purple\n"
              "[XML][WARNING]enum not found. name=Blue\n"
              "[XML][IMP    ]skip convert enum. enum_id=1000001 string=Blue\n",
              trace);
    EXPECT_EQ(42, mediator.t.color);  // nothing stored, and no empty store at the end
    EXPECT_EQ(std::vector<char>{3}, mediator.t.item_colors);
}

TEST(utl_lib_xml_mediator_parse, enum_in_a_namespace_converts_with_prefixed_names)
{
    test_mediator mediator;
    std::string trace;
    EXPECT_EQ(0, parse_text(mediator,
                            "<t:pkg xmlns:t=\"urn:test\" t:k=\"v\"><t:ver>1.2</t:ver><t:shape>ball</t:shape></t:pkg>",
                            trace));
    EXPECT_EQ("", trace);
    EXPECT_EQ("1.2", mediator.t.ver);
    EXPECT_EQ(8, mediator.t.shape);
    ASSERT_EQ(2u, mediator.events.size());
    // registration order: the ATTR interrupt, then the START one
    EXPECT_EQ(I_PKG_ATTR, mediator.events[0].interrupt_id);
    EXPECT_EQ((std::map<std::string, std::string>{{"k", "v"}, {"t", "urn:test"}}), mediator.events[0].attributes);
    EXPECT_EQ("", mediator.events[0].data);
    EXPECT_EQ(I_PKG_START, mediator.events[1].interrupt_id);
    EXPECT_TRUE(mediator.events[1].attributes.empty());
}

TEST(utl_lib_xml_mediator_parse, document_must_use_the_registered_prefixes)
{
    test_mediator mediator;
    std::string trace;
    EXPECT_EQ(0, parse_text(mediator, "<pkg><ver>1</ver></pkg>", trace));
    EXPECT_EQ("[XML][WARNING]element not found. name=pkg\n"
              "[XML][WARNING]element not found. name=ver\n"
              "[XML][ERROR! ]element not found. data=1\n"
              "[XML][WARNING]element not found. name=ver\n"
              "[XML][WARNING]element not found. name=pkg\n",
              trace);
    EXPECT_EQ("", mediator.t.ver);
}

TEST(utl_lib_xml_mediator_parse, root_matching_no_interface_skips_everything_and_succeeds)
{
    test_mediator mediator;
    std::string trace;
    EXPECT_EQ(0, parse_text(mediator, "<other><title>x</title><doc/></other>", trace));
    EXPECT_EQ("[XML][WARNING]element not found. name=other\n"
              "[XML][WARNING]element not found. name=title\n"
              "[XML][ERROR! ]element not found. data=x\n"
              "[XML][WARNING]element not found. name=title\n"
              // an interface name opens as an interface: the stack is empty
              "[XML][WARNING]element not found. name=other\n",
              trace);
    EXPECT_EQ("", mediator.t.title);
    // <doc/> inside the unknown root was matched as the interface
    EXPECT_EQ((std::vector<unsigned int>{I_DOC_START, I_DOC_END}), mediator.interrupt_ids());
}

TEST(utl_lib_xml_mediator_parse, attributes_fill_targets_by_local_name_and_reach_the_attr_interrupt)
{
    test_mediator mediator;
    std::string trace;
    EXPECT_EQ(0, parse_text(mediator, "<doc x:id=\"8\" id=\"7\" lang=\"en-GB\"></doc>", trace));
    EXPECT_EQ("", trace);
    // ascending name order: "id", "lang", "x:id"; the prefixed variant comes last
    EXPECT_EQ("8", mediator.t.doc_id);
    EXPECT_EQ(std::string("en-G"), std::string(mediator.t.lang, 4));
    ASSERT_EQ(3u, mediator.events.size());
    EXPECT_EQ(I_DOC_START, mediator.events[0].interrupt_id);
    EXPECT_TRUE(mediator.events[0].attributes.empty());
    EXPECT_EQ(I_DOC_ATTR, mediator.events[1].interrupt_id);
    EXPECT_EQ((std::map<std::string, std::string>{{"id", "8"}, {"lang", "en-GB"}}), mediator.events[1].attributes);
    EXPECT_EQ(I_DOC_END, mediator.events[2].interrupt_id);
}

TEST(utl_lib_xml_mediator_parse, attr_interrupt_needs_at_least_one_attribute)
{
    test_mediator mediator;
    std::string trace;
    EXPECT_EQ(0, parse_text(mediator, "<doc/>", trace));
    EXPECT_EQ((std::vector<unsigned int>{I_DOC_START, I_DOC_END}), mediator.interrupt_ids());
    EXPECT_EQ("", mediator.t.doc_id);
}

TEST(utl_lib_xml_mediator_parse, trailing_text_of_a_struct_element_reaches_its_data_interrupt)
{
    test_mediator mediator;
    std::string trace;
    EXPECT_EQ(0, parse_text(mediator, "<doc>\n<title>x</title>\n</doc>", trace));
    EXPECT_EQ("", trace);
    ASSERT_EQ(4u, mediator.events.size());
    EXPECT_EQ(I_DOC_DATA, mediator.events[2].interrupt_id);
    EXPECT_EQ("\n", mediator.events[2].data);
    EXPECT_EQ((std::map<std::string, std::string>{{"doc", "\n"}}), mediator.events[2].attributes);
}

TEST(utl_lib_xml_mediator_parse, descendant_of_a_skipped_element_matches_a_child_of_the_open_element)
{
    test_mediator mediator;
    std::string trace;
    EXPECT_EQ(0, parse_text(mediator, "<doc><unknown><title>inner</title></unknown><large>3</large></doc>", trace));
    EXPECT_EQ("[XML][WARNING]element not found. name=unknown\n"
              "[XML][WARNING]element name mismatch. name=unknown:doc\n",
              trace);
    EXPECT_EQ("inner", mediator.t.title);
    EXPECT_EQ(3, mediator.t.large);
}

TEST(utl_lib_xml_mediator_parse, end_interrupt_returning_one_keeps_the_element_open)
{
    test_mediator mediator;
    mediator.interrupt_results[I_ITEM_END] = 1;
    std::string trace;
    EXPECT_EQ(0, parse_text(mediator, "<doc><item><qty>1</qty></item><large>5</large></doc>", trace));
    // the text of the skipped element lands on the open item (its flag)
    EXPECT_EQ("[XML][WARNING]element not found. name=large\n"
              "[XML][WARNING]element name mismatch. name=large:item\n"
              "[XML][WARNING]element name mismatch. name=doc:item\n",
              trace);
    EXPECT_EQ(0, mediator.t.large);
    EXPECT_EQ(std::vector<int>{1}, mediator.t.item_qtys);
    EXPECT_EQ((std::vector<unsigned int>{I_DOC_START, I_ITEM_START, I_ITEM_END}), mediator.interrupt_ids());
}

TEST(utl_lib_xml_mediator_parse, notifications_outside_a_parse_are_ignored)
{
    test_mediator mediator;
    std::string name = "doc";
    std::string data = "x";
    std::map<std::string, std::string> attributes;
    std::string version = "1.0";
    std::string encoding = "UTF-8";
    std::string trace = capture_trace([&] {
        mediator.notify_xml_header(version, encoding);
        mediator.notify_element_start(name, attributes);
        mediator.notify_character_data(data);
        mediator.notify_element_end(name);
        mediator.notify_error();
    });
    EXPECT_EQ("[XML][ERROR! ]Out of reception time. state=0x00000000\n"
              "[XML][ERROR! ]Out of reception time. state=0x00000000\n"
              "[XML][ERROR! ]Out of reception time. state=0x00000000\n",
              trace);
    EXPECT_TRUE(mediator.events.empty());
}

TEST(utl_lib_xml_mediator_parse, cycle_started_inside_a_parse_is_refused)
{
    test_mediator mediator;
    int nested_parse = -1;
    int nested_write = -1;
    mediator.on_interrupt = [&](test_mediator& m, unsigned int id) {
        if (id == I_TITLE_DATA) {
            std::string inner = "<doc/>";
            std::string out;
            nested_parse = m.parse(inner);
            nested_write = m.write(out, 1);
        }
    };
    std::string trace;
    EXPECT_EQ(0, parse_text(mediator, "<doc><title>x</title></doc>", trace));
    EXPECT_EQ(1, nested_parse);
    EXPECT_EQ(1, nested_write);
    // parsing (bit 0) with a buffer (bit 13)
    EXPECT_EQ("[XML][ERROR! ]Out of reception time. state=0x00002001\n"
              "[XML][ERROR! ]Out of reception time. state=0x00002001\n",
              trace);
    EXPECT_EQ("x", mediator.t.title);
    EXPECT_EQ((std::vector<unsigned int>{I_DOC_START, I_TITLE_DATA, I_DOC_END}), mediator.interrupt_ids());
}

TEST(utl_lib_xml_mediator_parse, malformed_document_fails_with_the_accessor_line)
{
    test_mediator mediator;
    std::string trace;
    EXPECT_EQ(1, parse_text(mediator, "<doc><title>x</doc>", trace));
    EXPECT_EQ("[XML][ERROR! ]XML perser error. 0 EOF=1 line=1 msg=mismatched tag\n", trace);
    EXPECT_EQ((std::vector<unsigned int>{I_DOC_START}), mediator.interrupt_ids());
    // the cycle has ended: the next parse runs
    EXPECT_EQ(0, parse_text(mediator, "<doc><title>y</title></doc>", trace));
    EXPECT_EQ("y", mediator.t.title);
}

TEST(utl_lib_xml_mediator_parse, empty_document_fails)
{
    test_mediator mediator;
    std::string trace;
    EXPECT_EQ(1, parse_text(mediator, "", trace));
    EXPECT_EQ("[XML][ERROR! ]XML perser error. 0 EOF=1 line=1 msg=no element found\n", trace);
}

TEST(utl_lib_xml_mediator_parse, accessor_that_cannot_be_created_fails_the_parse)
{
    test_mediator mediator;
    std::string xml = "<doc><title>x</title></doc>";
    std::string trace = capture_trace([&] {
        fail_nothrow_new = true;
        EXPECT_EQ(1, mediator.parse(xml));
    });
    fail_nothrow_new = false;
    EXPECT_EQ("[XML][ERROR! ]failed create utl_lib_xml_accessor. 0x00000000\n", trace);
    EXPECT_EQ("", mediator.t.title);
    EXPECT_EQ("rules", mediator.calls.back());
    std::string retry_trace;
    EXPECT_EQ(0, parse_text(mediator, xml, retry_trace));
    EXPECT_EQ("x", mediator.t.title);
}

TEST(utl_lib_xml_mediator_parse, parse_position_comes_from_the_running_parse)
{
    test_mediator mediator;
    EXPECT_EQ(0u, mediator.get_current_parse_position());
    unsigned long position = 0;
    mediator.on_interrupt = [&](test_mediator& m, unsigned int id) {
        if (id == I_TITLE_DATA) {
            position = m.get_current_parse_position();
        }
    };
    std::string trace;
    EXPECT_EQ(0, parse_text(mediator, "<doc><title>x</title></doc>", trace));
    EXPECT_EQ(13u, position);  // the text arrives at its end tag
    EXPECT_EQ(0u, mediator.get_current_parse_position());
}

TEST(utl_lib_xml_mediator_parse, error_interrupt_is_never_called)
{
    test_mediator mediator;
    std::string trace;
    EXPECT_EQ(1, parse_text(mediator, "<doc><title>", trace));
    for (unsigned int id : mediator.interrupt_ids()) {
        EXPECT_NE(I_DOC_ERROR, id);
    }
    EXPECT_EQ((std::vector<unsigned int>{I_DOC_START}), mediator.interrupt_ids());
}

TEST(utl_lib_xml_mediator_parse, targets_of_the_current_call_are_filled_on_reuse)
{
    test_mediator mediator;
    std::string first_title;
    std::string second_title;
    std::string* destination = &first_title;
    mediator.on_xaddr_action = [&](test_mediator& m, unsigned int id) {
        return id == X_TITLE ? m.register_xaddr_data_auto_setting(destination) : 0;
    };
    std::string trace;
    EXPECT_EQ(0, parse_text(mediator, "<doc><title>one</title></doc>", trace));
    destination = &second_title;
    EXPECT_EQ(0, parse_text(mediator, "<doc><title>two</title></doc>", trace));
    EXPECT_EQ("one", first_title);
    EXPECT_EQ("two", second_title);
}

TEST(utl_lib_xml_mediator_parse, store_step_reports_target_problems)
{
    test_mediator mediator;
    std::string text;
    int32_t number = 5;
    std::string trace = capture_trace([&] {
        EXPECT_EQ(1, mediator.proc_xaddr_auto_setting_(XADDR_DATA_TYPE_STRING, nullptr, 0, "x", 0));
        EXPECT_EQ(1, mediator.proc_xaddr_auto_setting_(XADDR_DATA_TYPE_STRING, &text, 32, "x", ENUM_COLOR));
        EXPECT_EQ(1, mediator.proc_xaddr_auto_setting_(XADDR_DATA_TYPE_CHAR_BUFF, &text, 4, "x", ENUM_COLOR));
        EXPECT_EQ(1, mediator.proc_xaddr_auto_setting_(XADDR_DATA_TYPE_VECTOR_STRING, &text, 24, "x", ENUM_COLOR));
        EXPECT_EQ(1, mediator.proc_xaddr_auto_setting_(XADDR_DATA_TYPE_UNKNOWN, &number, 4, "x", 0));
        EXPECT_EQ(1, mediator.proc_xaddr_auto_setting_(static_cast<UTL_LIB_XADDR_DATA_TYPE>(11), &number, 4, "x", 0));
    });
    EXPECT_EQ("[XML][ERROR! ]Auto setting address is NULL! type=1 0x00000000 0\n"
              "[XML][ERROR! ]Invalid data types. type=1 enum_id=1000001\n"
              "[XML][ERROR! ]Invalid data types. type=5 enum_id=1000001\n"
              "[XML][ERROR! ]Invalid data types. type=6 enum_id=1000001\n"
              "[XML][ERROR! ]Invalid data type. type=0 size=4\n"
              "[XML][ERROR! ]Invalid data type. type=11 size=4\n",
              trace);
    EXPECT_EQ("", text);
    EXPECT_EQ(5, number);
}

TEST(utl_lib_xml_mediator_parse, enum_that_is_not_registered_converts_to_zero)
{
    test_mediator mediator;
    int32_t number = 5;
    int8_t byte = 5;
    std::string trace = capture_trace([&] {
        EXPECT_EQ(0, mediator.proc_xaddr_auto_setting_(XADDR_DATA_TYPE_4BYTE_VAL, &number, 4, "red", 1000099));
        EXPECT_EQ(0, mediator.proc_xaddr_auto_setting_(XADDR_DATA_TYPE_1BYTE_VAL, &byte, 1, "7", 1000099));
    });
    EXPECT_EQ("", trace);
    EXPECT_EQ(0, number);
    EXPECT_EQ(0, byte);
}

TEST(utl_lib_xml_mediator_parse, public_enum_conversion_works_in_both_directions)
{
    test_mediator mediator;
    std::string trace;
    ASSERT_EQ(0, parse_text(mediator, "<doc/>", trace));  // leaves the schema registered
    int value = 0;
    std::string name;
    std::string conversion_trace = capture_trace([&] {
        EXPECT_EQ(0, mediator.convert_enum_element(ENUM_COLOR, std::string("green"), value));
        EXPECT_EQ(2, value);
        EXPECT_EQ(0, mediator.convert_enum_element(ENUM_COLOR, 1, name));
        EXPECT_EQ("crimson", name);  // the first name of value 1 in byte order
        value = 77;
        EXPECT_EQ(1, mediator.convert_enum_element(ENUM_COLOR, std::string("purple"), value));
        EXPECT_EQ(77, value);
        std::string missing;
        EXPECT_EQ(1, mediator.convert_enum_element(ENUM_COLOR, 9, missing));
        EXPECT_EQ("", missing);
    });
    EXPECT_EQ("[XML][WARNING]enum not found. name=purple\n"
              "[XML][IMP    ]skip convert enum. enum_id=1000001 string=purple\n"
              "[XML][WARNING]value not found. value=9\n"
              "[XML][IMP    ]skip convert enum. enum_id=1000001 string=\n",
              conversion_trace);
}

TEST(utl_lib_xml_mediator_parse, file_parse_and_read_fail_at_the_accessor)
{
    temp_dir dir;
    std::string path = dir.write_file("doc.xml", "<doc><title>from file</title></doc>");
    utl_lib_xml_file file;
    file.file_name = path;
    test_mediator mediator;
    std::string out;
    unsigned int size = 99;
    std::string trace = capture_trace([&] {
        EXPECT_EQ(1, mediator.parse(file));
        EXPECT_EQ(1, mediator.read(file, out, size));
    });
    EXPECT_EQ("", trace);
    EXPECT_EQ("rules", mediator.calls.back());  // the schema was built, the accessor refused
    EXPECT_EQ("", mediator.t.title);
    EXPECT_EQ("", out);
    EXPECT_EQ(0u, size);
    EXPECT_EQ("<doc><title>from file</title></doc>", read_file_bytes(path));
    std::string no_accessor = capture_trace([&] {
        fail_nothrow_new = true;
        EXPECT_EQ(1, mediator.read(file, out, size));
    });
    fail_nothrow_new = false;
    EXPECT_EQ("[XML][ERROR! ]failed create utl_lib_xml_accessor. 0x00000000\n", no_accessor);
    std::string after;
    EXPECT_EQ(0, parse_text(mediator, "<doc><title>memory</title></doc>", after));
    EXPECT_EQ("memory", mediator.t.title);
}

// ---- hostile documents ----

TEST(utl_lib_xml_mediator_parse, ten_thousand_levels_of_unknown_elements_are_skipped)
{
    test_mediator mediator;
    std::string xml = "<doc>";
    for (int i = 0; i < 10000; ++i) {
        xml += "<u>";
    }
    for (int i = 0; i < 10000; ++i) {
        xml += "</u>";
    }
    xml += "<title>after</title></doc>";
    std::string trace;
    EXPECT_EQ(0, parse_text(mediator, xml, trace));
    EXPECT_EQ(10000u, count_of(trace, "[XML][WARNING]element not found. name=u\n"));
    EXPECT_EQ(10000u, count_of(trace, "[XML][WARNING]element name mismatch. name=u:doc\n"));
    EXPECT_EQ(20000u, count_of(trace, "\n"));
    EXPECT_EQ("after", mediator.t.title);
    EXPECT_EQ((std::vector<unsigned int>{I_DOC_START, I_TITLE_DATA, I_DOC_END}), mediator.interrupt_ids());
}

TEST(utl_lib_xml_mediator_parse, ten_thousand_levels_without_a_known_root_are_skipped)
{
    test_mediator mediator;
    std::string xml;
    for (int i = 0; i < 10000; ++i) {
        xml += "<u>";
    }
    for (int i = 0; i < 10000; ++i) {
        xml += "</u>";
    }
    std::string trace;
    EXPECT_EQ(0, parse_text(mediator, xml, trace));
    EXPECT_EQ(20000u, count_of(trace, "[XML][WARNING]element not found. name=u\n"));
    EXPECT_TRUE(mediator.events.empty());
}

TEST(utl_lib_xml_mediator_parse, one_mebibyte_of_text_fills_targets_within_their_size)
{
    test_mediator mediator;
    const std::string big(1024 * 1024, 'a');
    std::string trace;
    EXPECT_EQ(0, parse_text(mediator,
                            "<doc><title>" + big + "</title><code>" + big + "</code><large>" + big +
                                "</large><tag>" + big + "</tag></doc>",
                            trace));
    EXPECT_EQ("", trace);
    EXPECT_EQ(big, mediator.t.title);
    EXPECT_EQ(std::string(8, 'a'), std::string(mediator.t.code, 8));
    EXPECT_EQ(std::string(4, 'a'), std::string(mediator.t.title_copy, 4));
    EXPECT_EQ(0, mediator.t.large);
    ASSERT_EQ(1u, mediator.t.tags.size());
    EXPECT_EQ(big.size(), mediator.t.tags[0].size());
}

TEST(utl_lib_xml_mediator_parse, one_mebibyte_of_text_outside_known_elements_is_traced_whole)
{
    test_mediator mediator;
    const std::string big(1024 * 1024, 'b');
    std::string trace;
    EXPECT_EQ(0, parse_text(mediator, "<x>" + big + "</x>", trace));
    EXPECT_EQ("[XML][WARNING]element not found. name=x\n"
              "[XML][ERROR! ]element not found. data=" + big + "\n"
              "[XML][WARNING]element not found. name=x\n",
              trace);
}

TEST(utl_lib_xml_mediator_parse, ten_thousand_attributes_reach_targets_and_interrupt)
{
    test_mediator mediator;
    std::string xml = "<doc";
    for (int i = 0; i < 10000; ++i) {
        xml += " a" + std::to_string(i) + "=\"" + std::to_string(i) + "\"";
    }
    xml += " id=\"last\" lang=\"de\"/>";
    std::string trace;
    EXPECT_EQ(0, parse_text(mediator, xml, trace));
    EXPECT_EQ("", trace);
    EXPECT_EQ("last", mediator.t.doc_id);
    EXPECT_EQ(std::string("de\0\0", 4), std::string(mediator.t.lang, 4));
    ASSERT_EQ(3u, mediator.events.size());
    EXPECT_EQ(I_DOC_ATTR, mediator.events[1].interrupt_id);
    EXPECT_EQ(10002u, mediator.events[1].attributes.size());
    EXPECT_EQ("9999", mediator.events[1].attributes["a9999"]);
}

TEST(utl_lib_xml_mediator_parse, invalid_utf8_is_rejected_cleanly)
{
    test_mediator mediator;
    mediator.t.title = "kept";
    std::string trace;
    EXPECT_EQ(1, parse_text(mediator, "<doc><title>\xff\xfe\xc3</title></doc>", trace));
    EXPECT_EQ("[XML][ERROR! ]XML perser error. 0 EOF=1 line=1 msg=not well-formed (invalid token)\n", trace);
    EXPECT_EQ("kept", mediator.t.title);
    EXPECT_EQ(1, parse_text(mediator, "<doc><title>ok</title><\xc3\x28/></doc>", trace));
    EXPECT_EQ("[XML][ERROR! ]XML perser error. 0 EOF=1 line=1 msg=not well-formed (invalid token)\n", trace);
    EXPECT_EQ("ok", mediator.t.title);
}
