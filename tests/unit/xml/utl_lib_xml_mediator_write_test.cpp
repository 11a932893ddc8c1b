// Tests of the mediator's writing: the declaration, every store with its
// exact text, enum values without a name, the state checks, the text
// conversions, the refused file operations and a written document read back.
#include "utl_lib_xml_mediator.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "nothrow_new_fault.h"
#include "temp_dir.h"
#include "test_mediator.h"

using norvane::utl_lib_xml_file;
using norvane::utl_lib_xml_mediator;
using namespace norvane_test;

namespace {

// Runs one write cycle with script as request_store_xaddr.
int write_with(test_mediator& mediator, const test_mediator::step& script, std::string& out,
               std::string& trace, int header = 0)
{
    mediator.on_store = script;
    int result = -1;
    trace = capture_trace([&] { result = mediator.write(out, header); });
    return result;
}

}  // namespace

TEST(utl_lib_xml_mediator_write, header_flag_decides_the_declaration)
{
    test_mediator mediator;
    std::string out;
    std::string trace;
    EXPECT_EQ(0, write_with(mediator, [](test_mediator&) { return 0; }, out, trace, 0));
    EXPECT_EQ("", out);
    EXPECT_EQ(0, write_with(mediator, [](test_mediator&) { return 0; }, out, trace, 1));
    EXPECT_EQ("<?xml version=\"1.0\" encoding=\"UTF-8\"?>", out);
    mediator.version = "1.1";
    mediator.encoding = "ISO-8859-1";
    std::string other;
    EXPECT_EQ(0, write_with(mediator, [](test_mediator& m) { return m.store_xaddr_element_struct_open(X_DOC); },
                            other, trace, 1));
    EXPECT_EQ("<?xml version=\"1.1\" encoding=\"ISO-8859-1\"?><doc>", other);
    EXPECT_EQ("", trace);
}

TEST(utl_lib_xml_mediator_write, write_appends_to_what_the_string_holds)
{
    test_mediator mediator;
    std::string out = "before|";
    std::string trace;
    EXPECT_EQ(0, write_with(mediator, [](test_mediator& m) { return m.store_xaddr_element(X_TITLE, std::string("t")); },
                            out, trace));
    EXPECT_EQ("before|<title>t</title>", out);
}

TEST(utl_lib_xml_mediator_write, result_is_the_store_hook_result)
{
    test_mediator mediator;
    std::string out;
    std::string trace;
    EXPECT_EQ(1, write_with(mediator, [](test_mediator& m) { m.store_xaddr_element(X_LARGE, 1); return 1; },
                            out, trace));
    EXPECT_EQ("<large>1</large>", out);
    EXPECT_EQ("", trace);
}

TEST(utl_lib_xml_mediator_write, failing_schema_step_writes_nothing)
{
    test_mediator mediator;
    mediator.on_interface = [](test_mediator&) { return 1; };
    std::string out;
    std::string trace;
    EXPECT_EQ(1, write_with(mediator, [](test_mediator&) { return 0; }, out, trace, 1));
    EXPECT_EQ("", out);
    EXPECT_EQ("interface", mediator.calls.back());
}

TEST(utl_lib_xml_mediator_write, namespace_open_declares_a_registered_namespace)
{
    test_mediator mediator;
    std::string out;
    std::string trace;
    EXPECT_EQ(0, write_with(mediator,
                            [](test_mediator& m) {
                                return m.store_xaddr_namespace_open(X_PKG, NS_T) |
                                       m.store_xaddr_namespace_close(X_PKG) |
                                       m.store_xaddr_namespace_open(X_DOC, 0) |
                                       m.store_xaddr_namespace_open(X_DOC, 5) |
                                       m.store_xaddr_namespace_open(X_NOTE, NS_BARE) |
                                       m.store_xaddr_namespace_close(X_NOTE);
                            },
                            out, trace));
    EXPECT_EQ("", trace);
    EXPECT_EQ("<t:pkg xmlns:t=\"urn:test\"></t:pkg><doc><doc><:note xmlns:=\"urn:bare\"></:note>", out);
}

TEST(utl_lib_xml_mediator_write, struct_open_forms_write_attributes_in_ascending_name_order)
{
    test_mediator mediator;
    std::string out;
    std::string trace;
    EXPECT_EQ(0, write_with(mediator,
                            [](test_mediator& m) {
                                std::map<std::string, std::string> attributes;
                                attributes["z"] = "1";
                                attributes["a"] = "2";
                                attributes["m"] = "3";
                                return m.store_xaddr_element_struct_open(X_DOC, attributes) |
                                       m.store_xaddr_element_struct_open(X_ITEM, "id", "x\"y") |
                                       m.store_xaddr_element_struct_open(X_ITEM) |
                                       m.store_xaddr_element_struct_close(X_ITEM) |
                                       m.store_xaddr_element_struct_close(X_DOC);
                            },
                            out, trace));
    EXPECT_EQ("", trace);
    EXPECT_EQ("<doc a=\"2\" m=\"3\" z=\"1\"><item id=\"x\"y\"><item></item></doc>", out);
}

TEST(utl_lib_xml_mediator_write, signed_number_forms_follow_the_element_kind)
{
    test_mediator mediator;
    std::string out;
    std::string trace;
    EXPECT_EQ(0, write_with(mediator,
                            [](test_mediator& m) {
                                std::map<std::string, std::string> attributes{{"u", "m"}, {"b", "a"}};
                                return m.store_xaddr_element(X_LARGE, -42) |
                                       m.store_xaddr_element(X_LARGE, 7, attributes) |
                                       m.store_xaddr_element(X_SMALL, 300, "k", "v") |
                                       m.store_xaddr_element(X_COLOR, 3) |
                                       m.store_xaddr_element(X_COLOR, 1) |
                                       m.store_xaddr_element(X_TITLE, 5) |
                                       m.store_xaddr_element(X_ITEM, 5) |
                                       m.store_xaddr_element(X_LARGE, -70000L);
                            },
                            out, trace));
    EXPECT_EQ("", trace);
    EXPECT_EQ("<large>-42</large><large b=\"a\" u=\"m\">7</large><small k=\"v\">300</small>"
              "<color>blue</color><color>crimson</color><title></title><item></item><large>-70000</large>",
              out);
}

TEST(utl_lib_xml_mediator_write, unsigned_number_forms_print_the_unsigned_reading)
{
    test_mediator mediator;
    std::string out;
    std::string trace;
    EXPECT_EQ(0, write_with(mediator,
                            [](test_mediator& m) {
                                std::map<std::string, std::string> attributes{{"x", "1"}};
                                return m.store_xaddr_element(X_LARGE, static_cast<unsigned int>(-1)) |
                                       m.store_xaddr_element(X_LARGE, 5u, attributes) |
                                       m.store_xaddr_element(X_MEDIUM, 6u, "n", "v") |
                                       m.store_xaddr_element(X_COLOR, 2u) |
                                       m.store_xaddr_element(X_LARGE, 4294967295ul);
                            },
                            out, trace));
    EXPECT_EQ("", trace);
    EXPECT_EQ("<large>4294967295</large><large x=\"1\">5</large><medium n=\"v\">6</medium>"
              "<color>green</color><large>4294967295</large>",
              out);
}

TEST(utl_lib_xml_mediator_write, string_forms_write_the_text_raw)
{
    test_mediator mediator;
    std::string out;
    std::string trace;
    EXPECT_EQ(0, write_with(mediator,
                            [](test_mediator& m) {
                                std::map<std::string, std::string> attributes{{"q", "<&>"}};
                                std::string escaped;
                                m.convert_string_to_xml("a<b&c", escaped);
                                return m.store_xaddr_element(X_TITLE, std::string("a<b&c")) |
                                       m.store_xaddr_element(X_TITLE, escaped) |
                                       m.store_xaddr_element(X_TAG, std::string("t"), attributes) |
                                       m.store_xaddr_element(X_COLOR, std::string("free"), "k", "v") |
                                       m.store_xaddr_element(X_LARGE, std::string(""));
                            },
                            out, trace));
    EXPECT_EQ("", trace);
    EXPECT_EQ("<title>a<b&c</title><title>a&lt;b&amp;c</title><tag q=\"<&>\">t</tag>"
              "<color k=\"v\">free</color><large></large>",
              out);
}

TEST(utl_lib_xml_mediator_write, enum_value_without_a_name_leaves_the_element_out)
{
    test_mediator mediator;
    std::string out;
    std::string trace;
    int results = -1;
    EXPECT_EQ(0, write_with(mediator,
                            [&](test_mediator& m) {
                                results = m.store_xaddr_element(X_COLOR, 9) |
                                          m.store_xaddr_element(X_COLOR, static_cast<unsigned int>(-1)) |
                                          m.store_xaddr_element(X_PKG_SHAPE, 7, "a", "b") |
                                          m.store_xaddr_element(X_PKG_SHAPE, 0u);
                                return 0;
                            },
                            out, trace));
    EXPECT_EQ(0, results);
    EXPECT_EQ("<t:shape a=\"b\">box</t:shape>", out);
    EXPECT_EQ("[XML][WARNING]value not found. value=9\n"
              "[XML][IMP    ]Skip store enum(not found enum). xaddr_id=3000011 data=9\n"
              "[XML][WARNING]value not found. value=-1\n"
              "[XML][IMP    ]Skip store enum(not found enum). xaddr_id=3000011 data=4294967295\n"
              "[XML][WARNING]value not found. value=0\n"
              "[XML][IMP    ]Skip store enum(not found enum). xaddr_id=3000019 data=0\n",
              trace);
}

TEST(utl_lib_xml_mediator_write, unregistered_xaddr_fails_the_store_and_appends_nothing)
{
    test_mediator mediator;
    std::string out;
    std::string trace;
    std::vector<int> results;
    EXPECT_EQ(0, write_with(mediator,
                            [&](test_mediator& m) {
                                std::map<std::string, std::string> none;
                                results = {m.store_xaddr_namespace_open(3000099, NS_T),
                                           m.store_xaddr_namespace_close(3000099),
                                           m.store_xaddr_element_struct_open(3000099),
                                           m.store_xaddr_element_struct_open(3000099, none),
                                           m.store_xaddr_element_struct_open(3000099, "a", "b"),
                                           m.store_xaddr_element_struct_close(3000099),
                                           m.store_xaddr_element(3000099, 1),
                                           m.store_xaddr_element(3000099, 1u),
                                           m.store_xaddr_element(3000099, std::string("x")),
                                           m.store_xaddr_fix(3000099)};
                                return 0;
                            },
                            out, trace));
    EXPECT_EQ(std::vector<int>(10, 1), results);
    EXPECT_EQ("", out);
    std::string expected;
    for (int i = 0; i < 10; ++i) {
        expected += "[XML][ERROR! ]element not found. xaddr_id=3000099\n";
    }
    EXPECT_EQ(expected, trace);
}

TEST(utl_lib_xml_mediator_write, fix_in_buffer_mode_writes_nothing)
{
    test_mediator mediator;
    std::string out;
    std::string trace;
    int fixed = -1;
    EXPECT_EQ(0, write_with(mediator,
                            [&](test_mediator& m) {
                                m.store_xaddr_element(X_TITLE, std::string("a"));
                                fixed = m.store_xaddr_fix(X_TITLE);
                                return m.store_xaddr_element(X_TITLE, std::string("b"));
                            },
                            out, trace));
    EXPECT_EQ(0, fixed);
    EXPECT_EQ("<title>a</title><title>b</title>", out);
    EXPECT_EQ("", trace);
}

TEST(utl_lib_xml_mediator_write, store_outside_the_store_hook_is_reported_and_appended)
{
    test_mediator mediator;
    int during_rules = -1;
    int fix_during_rules = -1;
    mediator.on_rules = [&](test_mediator& m) {
        during_rules = m.store_xaddr_element(X_TITLE, std::string("early"));
        fix_during_rules = m.store_xaddr_fix(X_TITLE);
        return 0;
    };
    std::string out;
    std::string trace;
    EXPECT_EQ(0, write_with(mediator, [](test_mediator& m) { return m.store_xaddr_element(X_LARGE, 2); }, out, trace));
    EXPECT_EQ(0, during_rules);
    EXPECT_EQ(1, fix_during_rules);
    EXPECT_EQ("<title>early</title><large>2</large>", out);
    // writing (bit 1), rule step (bit 10), buffer (bit 13)
    EXPECT_EQ("[XML][ERROR! ]Out of reception time. state=0x00002402\n"
              "[XML][ERROR! ]Out of reception time. state=0x00002402\n",
              trace);

    // after the cycle there is no output string: reported, nothing written
    std::string after = capture_trace([&] {
        EXPECT_EQ(0, mediator.store_xaddr_element(X_LARGE, 3));
        EXPECT_EQ(1, mediator.store_xaddr_fix(X_LARGE));
    });
    EXPECT_EQ("[XML][ERROR! ]Out of reception time. state=0x00000000\n"
              "[XML][ERROR! ]Out of reception time. state=0x00000000\n",
              after);
    EXPECT_EQ("<title>early</title><large>2</large>", out);
}

TEST(utl_lib_xml_mediator_write, cycle_started_inside_a_write_is_refused)
{
    test_mediator mediator;
    std::string out;
    std::string inner_out = "untouched";
    std::string trace;
    int nested_write = -1;
    int nested_parse = -1;
    EXPECT_EQ(0, write_with(mediator,
                            [&](test_mediator& m) {
                                std::string xml = "<doc/>";
                                nested_write = m.write(inner_out, 1);
                                nested_parse = m.parse(xml);
                                return m.store_xaddr_element(X_LARGE, 1);
                            },
                            out, trace));
    EXPECT_EQ(1, nested_write);
    EXPECT_EQ(1, nested_parse);
    EXPECT_EQ("untouched", inner_out);
    EXPECT_EQ("<large>1</large>", out);
    // writing (bit 1), storing (bit 11), buffer (bit 13)
    EXPECT_EQ("[XML][ERROR! ]Out of reception time. state=0x00002802\n"
              "[XML][ERROR! ]Out of reception time. state=0x00002802\n",
              trace);
}

TEST(utl_lib_xml_mediator_write, string_to_xml_escapes_the_five_characters)
{
    utl_lib_xml_mediator mediator;
    std::string out = "old";
    EXPECT_EQ(0, mediator.convert_string_to_xml("a<b&c", out));
    EXPECT_EQ("a&lt;b&amp;c", out);
    EXPECT_EQ(0, mediator.convert_string_to_xml("&&'\"<>x", out));
    EXPECT_EQ("&amp;&amp;&apos;&quot;&lt;&gt;x", out);
    EXPECT_EQ(0, mediator.convert_string_to_xml("", out));
    EXPECT_EQ("", out);
}

TEST(utl_lib_xml_mediator_write, xml_to_string_decodes_row_by_row)
{
    utl_lib_xml_mediator mediator;
    std::string out;
    EXPECT_EQ(0, mediator.convert_xml_to_string("&amp;lt;", out));
    EXPECT_EQ("<", out);
    EXPECT_EQ(0, mediator.convert_xml_to_string("&amp;amp;&quot;&apos;&gt;&lt;&unknown;", out));
    EXPECT_EQ("&amp;\"'><&unknown;", out);
    std::string round;
    mediator.convert_string_to_xml("x<y>&'\"", round);
    EXPECT_EQ(0, mediator.convert_xml_to_string(round, out));
    EXPECT_EQ("x<y>&'\"", out);
}

TEST(utl_lib_xml_mediator_write, conversions_of_a_mebibyte_of_specials_finish)
{
    utl_lib_xml_mediator mediator;
    const std::string big(1024 * 1024, '&');
    std::string escaped;
    EXPECT_EQ(0, mediator.convert_string_to_xml(big, escaped));
    EXPECT_EQ(big.size() * 5, escaped.size());
    std::string back;
    EXPECT_EQ(0, mediator.convert_xml_to_string(escaped, back));
    EXPECT_EQ(big, back);
}

TEST(utl_lib_xml_mediator_write, file_writes_fail_at_the_accessor)
{
    temp_dir dir;
    utl_lib_xml_file file;
    file.file_name = dir.file("out.xml");
    test_mediator mediator;
    mediator.on_store = [](test_mediator& m) { return m.store_xaddr_element(X_TITLE, std::string("t")); };
    std::string data = "<doc/>";
    std::string trace = capture_trace([&] {
        EXPECT_EQ(1, mediator.write(file, 1));
        EXPECT_EQ(1, mediator.write_direct(file, data));
    });
    EXPECT_EQ("", trace);
    // the schema was built, then the accessor refused to open the file
    EXPECT_EQ("rules", mediator.calls.back());
    EXPECT_EQ("", read_file_bytes(file.file_name));
    std::string out;
    EXPECT_EQ(0, mediator.write(out, 0));
    EXPECT_EQ("<title>t</title>", out);
}

TEST(utl_lib_xml_mediator_write, file_write_reports_an_accessor_that_cannot_be_created)
{
    temp_dir dir;
    utl_lib_xml_file file;
    file.file_name = dir.file("out.xml");
    test_mediator mediator;
    std::string data = "<doc/>";
    std::string trace = capture_trace([&] {
        fail_nothrow_new = true;
        EXPECT_EQ(1, mediator.write(file, 0));
        fail_nothrow_new = true;
        EXPECT_EQ(1, mediator.write_direct(file, data));
    });
    fail_nothrow_new = false;
    EXPECT_EQ("[XML][ERROR! ]failed create utl_lib_xml_accessor. 0x00000000\n"
              "[XML][ERROR! ]failed create utl_lib_xml_accessor. 0x00000000\n",
              trace);
}

TEST(utl_lib_xml_mediator_write, written_document_is_byte_exact_and_reads_back)
{
    test_mediator writer;
    std::string out;
    std::string trace;
    EXPECT_EQ(0, write_with(writer,
                            [](test_mediator& m) {
                                std::map<std::string, std::string> attributes{{"lang", "en"}, {"id", "d-1"}};
                                std::string title;
                                m.convert_string_to_xml("Tom & \"Jerry\" <3", title);
                                return m.store_xaddr_element_struct_open(X_DOC, attributes) |
                                       m.store_xaddr_element(X_TITLE, title) |
                                       m.store_xaddr_element(X_CODE, std::string("C-7")) |
                                       m.store_xaddr_element(X_SMALL, -5) |
                                       m.store_xaddr_element(X_MEDIUM, 1234u) |
                                       m.store_xaddr_element(X_LARGE, -70000L) |
                                       m.store_xaddr_element(X_TAG, std::string("x")) |
                                       m.store_xaddr_element(X_TAG, std::string("y")) |
                                       m.store_xaddr_element(X_B, 1) | m.store_xaddr_element(X_S, 2) |
                                       m.store_xaddr_element(X_I, 3) | m.store_xaddr_element(X_I, 4ul) |
                                       m.store_xaddr_element(X_COLOR, 2) |
                                       m.store_xaddr_element_struct_open(X_ITEM) |
                                       m.store_xaddr_element(X_ITEM_NAME, std::string("n")) |
                                       m.store_xaddr_element(X_ITEM_QTY, 9) |
                                       m.store_xaddr_element(X_ITEM_COLOR, 3) |
                                       m.store_xaddr_element_struct_close(X_ITEM) |
                                       m.store_xaddr_element(X_OPT, std::string("")) |
                                       m.store_xaddr_element_struct_close(X_DOC);
                            },
                            out, trace, 1));
    EXPECT_EQ("", trace);
    const std::string expected =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>"
        "<doc id=\"d-1\" lang=\"en\"><title>Tom &amp; &quot;Jerry&quot; &lt;3</title><code>C-7</code>"
        "<small>-5</small><medium>1234</medium><large>-70000</large><tag>x</tag><tag>y</tag>"
        "<b>1</b><s>2</s><i>3</i><i>4</i><color>green</color>"
        "<item><name>n</name><qty>9</qty><color>blue</color></item><opt></opt></doc>";
    EXPECT_EQ(expected, out);

    test_mediator reader;
    std::string xml = out;
    std::string read_trace = capture_trace([&] { EXPECT_EQ(0, reader.parse(xml)); });
    EXPECT_EQ("", read_trace);
    const test_targets& t = reader.t;
    EXPECT_EQ("d-1", t.doc_id);
    EXPECT_EQ(std::string("en\0\0", 4), std::string(t.lang, 4));
    EXPECT_EQ("Tom & \"Jerry\" <3", t.title);
    EXPECT_EQ(std::string("C-7\0\0\0\0\0", 8), std::string(t.code, 8));
    EXPECT_EQ(-5, t.small);
    EXPECT_EQ(1234, t.medium);
    EXPECT_EQ(-70000, t.large);
    EXPECT_EQ((std::vector<std::string>{"x", "y"}), t.tags);
    EXPECT_EQ(std::vector<char>{1}, t.bytes);
    EXPECT_EQ(std::vector<short>{2}, t.shorts);
    EXPECT_EQ((std::vector<int>{3, 4}), t.ints);
    EXPECT_EQ(2, t.color);
    EXPECT_EQ(1, t.item_found);
    EXPECT_EQ(std::vector<std::string>{"n"}, t.item_names);
    EXPECT_EQ(std::vector<int>{9}, t.item_qtys);
    EXPECT_EQ(std::vector<char>{3}, t.item_colors);
    EXPECT_EQ(1, t.opt_found);
}
