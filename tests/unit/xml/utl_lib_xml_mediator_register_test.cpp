// Tests of the mediator's registration phase: the order of the hooks, the
// state bits, the ID ranges, every refusal with its exact trace line, the
// element tree (q_names) and the resolution of xaddrs.
#include "utl_lib_xml_mediator.h"

#include <gtest/gtest.h>

#include <bitset>
#include <string>
#include <vector>

#include "test_mediator.h"

using norvane::UTL_LIB_XML_RULE_MAX;
using norvane::utl_lib_xml_mediator;
using namespace norvane_test;

namespace {

const std::string DOC = "<doc><title>x</title></doc>";

// Parses DOC with one registration step replaced; returns the trace text.
std::string parse_with(test_mediator& mediator, int& result)
{
    std::string xml = DOC;
    return capture_trace([&] { result = mediator.parse(xml); });
}

}  // namespace

TEST(utl_lib_xml_mediator_register, hooks_run_in_fixed_order_with_ids_ascending)
{
    test_mediator mediator;
    int result = -1;
    EXPECT_EQ("", parse_with(mediator, result));
    EXPECT_EQ(0, result);
    std::vector<std::string> expected = {"xml_spec", "namespace", "enum", "enum_member 1000001",
                                         "enum_member 1000002", "struct", "struct_member 2000001",
                                         "struct_member 2000002", "struct_member 2000003",
                                         "struct_member 2000004", "interface", "xaddr"};
    for (unsigned int id = 3000001; id <= 3000022; ++id) {
        expected.push_back("xaddr_action " + std::to_string(id));
    }
    expected.push_back("rules");
    EXPECT_EQ(expected, mediator.calls);
}

TEST(utl_lib_xml_mediator_register, every_cycle_rebuilds_the_schema)
{
    test_mediator mediator;
    std::string xml = DOC;
    ASSERT_EQ(0, mediator.parse(xml));
    size_t first = mediator.calls.size();
    ASSERT_EQ(0, mediator.parse(xml));
    std::string out;
    ASSERT_EQ(0, mediator.write(out, 0));
    EXPECT_EQ(first * 3 + 1, mediator.calls.size());  // the write adds "store"
    EXPECT_EQ("xml_spec", mediator.calls[first]);
    EXPECT_EQ("xml_spec", mediator.calls[first * 2]);
}

TEST(utl_lib_xml_mediator_register, base_hooks_make_parse_and_write_fail)
{
    utl_lib_xml_mediator mediator;
    std::string xml = "<a/>";
    std::string out;
    std::string trace = capture_trace([&] {
        EXPECT_EQ(1, mediator.parse(xml));
        EXPECT_EQ(1, mediator.write(out, 1));
    });
    EXPECT_EQ("", trace);
    EXPECT_EQ("", out);
}

namespace {

// Supplies only request_register_xml_spec, so request_store_xaddr stays the base's.
class spec_only_mediator : public utl_lib_xml_mediator {
protected:
    int request_register_xml_spec(std::string& version, std::string& encoding) override
    {
        version = "1.0";
        encoding = "UTF-8";
        return 0;
    }
};

}  // namespace

TEST(utl_lib_xml_mediator_register, base_store_hook_fails_the_write_after_the_header)
{
    spec_only_mediator mediator;
    std::string out;
    EXPECT_EQ(1, mediator.write(out, 1));
    EXPECT_EQ("<?xml version=\"1.0\" encoding=\"UTF-8\"?>", out);
    std::string xml = "<a/>";
    std::string trace = capture_trace([&] { EXPECT_EQ(0, mediator.parse(xml)); });
    EXPECT_EQ("[XML][WARNING]element not found. name=a\n[XML][WARNING]element not found. name=a\n",
              trace);
}

TEST(utl_lib_xml_mediator_register, failing_spec_hook_stops_before_namespaces)
{
    test_mediator mediator;
    mediator.xml_spec_result = 1;
    int result = 0;
    EXPECT_EQ("", parse_with(mediator, result));
    EXPECT_EQ(1, result);
    EXPECT_EQ(std::vector<std::string>{"xml_spec"}, mediator.calls);
}

TEST(utl_lib_xml_mediator_register, failing_step_stops_the_build_and_the_parse)
{
    test_mediator mediator;
    mediator.on_struct = [](test_mediator&) { return 1; };
    int result = 0;
    parse_with(mediator, result);
    EXPECT_EQ(1, result);
    EXPECT_EQ("struct", mediator.calls.back());
    EXPECT_TRUE(mediator.events.empty());
}

TEST(utl_lib_xml_mediator_register, per_id_hooks_all_run_before_the_result_counts)
{
    test_mediator mediator;
    mediator.on_enum_member = [](test_mediator&, unsigned int id) { return id == 1000001 ? 1 : 0; };
    int result = 0;
    parse_with(mediator, result);
    EXPECT_EQ(1, result);
    EXPECT_EQ((std::vector<std::string>{"xml_spec", "namespace", "enum", "enum_member 1000001",
                                        "enum_member 1000002"}),
              mediator.calls);
}

TEST(utl_lib_xml_mediator_register, failing_rules_hook_fails_the_parse)
{
    test_mediator mediator;
    mediator.on_rules = [](test_mediator&) { return 1; };
    int result = 0;
    parse_with(mediator, result);
    EXPECT_EQ(1, result);
    EXPECT_TRUE(mediator.events.empty());
}

TEST(utl_lib_xml_mediator_register, registration_outside_a_cycle_is_refused)
{
    test_mediator mediator;
    std::bitset<UTL_LIB_XML_RULE_MAX> rules;
    std::string trace = capture_trace([&] {
        EXPECT_EQ(1, mediator.register_namespace(1, "t", "urn:test"));
        EXPECT_EQ(1, mediator.register_enum(1000001, 0));
        EXPECT_EQ(1, mediator.register_enum_member("red", 1));
        EXPECT_EQ(1, mediator.register_struct(2000001, 0));
        EXPECT_EQ(1, mediator.register_struct_member_string("a", 0));
        EXPECT_EQ(1, mediator.register_struct_member_value("a", 0));
        EXPECT_EQ(1, mediator.register_struct_member_enum("a", 1000001));
        EXPECT_EQ(1, mediator.register_struct_member_struct("a", 2000001));
        EXPECT_EQ(1, mediator.register_interface("doc", 2000001));
        EXPECT_EQ(1, mediator.register_xaddr(3000001, "/doc"));
        EXPECT_EQ(1, mediator.register_xaddr_data_auto_setting(&mediator.t.title));
        EXPECT_EQ(1, mediator.register_xaddr_data_auto_setting(&mediator.t.tags));
        EXPECT_EQ(1, mediator.register_xaddr_data_auto_setting(&mediator.t.item_found));
        EXPECT_EQ(1, mediator.register_xaddr_data_auto_setting(&mediator.t.large, 4,
                                                               UTL_LIB_XADDR_VALUE_OPTION_NONE));
        EXPECT_EQ(1, mediator.register_xaddr_attr_auto_setting("id", &mediator.t.doc_id));
        EXPECT_EQ(1, mediator.register_xaddr_attr_auto_setting("lang", mediator.t.lang, 4));
        EXPECT_EQ(1, mediator.register_xaddr_interrupt(UTL_LIB_XML_INTERRUPT_TYPE_START, 4000001));
        EXPECT_EQ(1, mediator.register_rules(rules));
    });
    std::string line = "[XML][ERROR! ]Out of reception time. state=0x00000000\n";
    std::string expected;
    for (int i = 0; i < 18; ++i) {
        expected += line;
    }
    EXPECT_EQ(expected, trace);
}

TEST(utl_lib_xml_mediator_register, registration_in_another_step_shows_the_whole_state)
{
    test_mediator mediator;
    mediator.on_enum = [](test_mediator& m) {
        return m.register_enum(ENUM_COLOR, 0) | m.register_enum(ENUM_SHAPE, NS_T) |
               m.register_namespace(9, "x", "urn:x");
    };
    int result = 0;
    // parsing (bit 0), enum step (bit 3), buffer (bit 13)
    EXPECT_EQ("[XML][ERROR! ]Out of reception time. state=0x00002009\n", parse_with(mediator, result));
    EXPECT_EQ(1, result);

    test_mediator writer;
    writer.on_rules = [](test_mediator& m) { return m.register_struct(2000009, 0); };
    std::string out;
    std::string trace = capture_trace([&] { EXPECT_EQ(1, writer.write(out, 0)); });
    // writing (bit 1), rule step (bit 10), buffer (bit 13)
    EXPECT_EQ("[XML][ERROR! ]Out of reception time. state=0x00002402\n", trace);
}

TEST(utl_lib_xml_mediator_register, rules_are_taken_in_their_step)
{
    test_mediator mediator;
    mediator.on_rules = [](test_mediator& m) {
        std::bitset<UTL_LIB_XML_RULE_MAX> rules("1010");
        return m.register_rules(rules);
    };
    int result = 1;
    EXPECT_EQ("", parse_with(mediator, result));
    EXPECT_EQ(0, result);
}

TEST(utl_lib_xml_mediator_register, ids_outside_their_range_are_refused)
{
    int result = 0;
    test_mediator namespaces;
    namespaces.on_namespace = [](test_mediator& m) {
        return m.register_namespace(0, "a", "u") | m.register_namespace(1000001, "b", "u") |
               m.register_namespace(1000000, "c", "u");
    };
    EXPECT_EQ("[XML][ERROR! ]namespace ID out of range. ID=0\n"
              "[XML][ERROR! ]namespace ID out of range. ID=1000001\n",
              parse_with(namespaces, result));
    EXPECT_EQ(1, result);

    test_mediator enums;
    enums.on_enum = [](test_mediator& m) {
        return m.register_enum(1000000, 0) | m.register_enum(2000001, 0) | m.register_enum(2000000, 0);
    };
    EXPECT_EQ("[XML][ERROR! ]enum ID out of range. ID=1000000\n"
              "[XML][ERROR! ]enum ID out of range. ID=2000001\n",
              parse_with(enums, result));
    EXPECT_EQ(1, result);

    test_mediator structs;
    structs.on_struct = [](test_mediator& m) {
        return m.register_struct(2000000, 0) | m.register_struct(3000001, 0) | m.register_struct(3000000, 0);
    };
    EXPECT_EQ("[XML][ERROR! ]struct ID out of range. ID=2000000\n"
              "[XML][ERROR! ]struct ID out of range. ID=3000001\n",
              parse_with(structs, result));
    EXPECT_EQ(1, result);

    test_mediator xaddrs;
    xaddrs.on_xaddr = [](test_mediator& m) {
        return m.register_xaddr(3000000, "/doc") | m.register_xaddr(4000001, "/doc") |
               m.register_xaddr(4000000, "/doc");
    };
    EXPECT_EQ("[XML][ERROR! ]xaddr ID out of range. ID=3000000\n"
              "[XML][ERROR! ]xaddr ID out of range. ID=4000001\n",
              parse_with(xaddrs, result));
    EXPECT_EQ(1, result);
}

TEST(utl_lib_xml_mediator_register, duplicate_ids_are_refused_with_their_own_wording)
{
    test_mediator mediator;
    mediator.on_namespace = [](test_mediator& m) {
        return m.register_namespace(1, "t", "urn:test") | m.register_namespace(2, "", "urn:bare") |
               m.register_namespace(1, "again", "urn:again");
    };
    int result = 0;
    EXPECT_EQ("[XML][ERROR! ] Duplicate registration. ID=1 name=again\n", parse_with(mediator, result));
    EXPECT_EQ(1, result);

    test_mediator enums;
    enums.on_enum = [](test_mediator& m) {
        return m.register_enum(ENUM_COLOR, 0) | m.register_enum(ENUM_SHAPE, NS_T) |
               m.register_enum(ENUM_COLOR, NS_T);
    };
    EXPECT_EQ("[XML][ERROR! ] Duplicate registration. ID=1000001\n", parse_with(enums, result));
    EXPECT_EQ(1, result);

    test_mediator structs;
    structs.on_struct = [](test_mediator& m) { return m.register_struct(STRUCT_ITEM, 0) | m.register_struct(STRUCT_ITEM, 0); };
    EXPECT_EQ("[XML][ERROR! ]Duplicate registration. ID=2000001\n", parse_with(structs, result));
    EXPECT_EQ(1, result);

    test_mediator xaddrs;
    xaddrs.on_xaddr = [](test_mediator& m) {
        return m.register_xaddr(X_DOC, "/doc") | m.register_xaddr(X_DOC, "/t:pkg");
    };
    EXPECT_EQ("[XML][ERROR! ]Duplicate registration. ID=3000001 xaddr=/t:pkg\n", parse_with(xaddrs, result));
    EXPECT_EQ(1, result);
}

TEST(utl_lib_xml_mediator_register, unknown_namespace_is_refused_and_zero_is_always_accepted)
{
    test_mediator mediator;
    mediator.on_enum = [](test_mediator& m) {
        return m.register_enum(ENUM_COLOR, 0) | m.register_enum(ENUM_SHAPE, NS_T) |
               m.register_enum(1000005, 5);
    };
    int result = 0;
    EXPECT_EQ("[XML][ERROR! ]namespace ID not found. ID=5\n", parse_with(mediator, result));
    EXPECT_EQ(1, result);

    test_mediator structs;
    structs.on_struct = [](test_mediator& m) { return m.register_struct(STRUCT_DOC, 0) | m.register_struct(2000005, 6); };
    EXPECT_EQ("[XML][ERROR! ]namespace ID not found. ID=6\n", parse_with(structs, result));
    EXPECT_EQ(1, result);

    test_mediator members;
    members.on_struct_member = [](test_mediator& m, unsigned int id) {
        return id == STRUCT_ITEM ? m.register_struct_member_string("name", 7) |
                                       m.register_struct_member_value("qty", 8)
                                 : 0;
    };
    EXPECT_EQ("[XML][ERROR! ]namespace ID not found. ID=7\n"
              "[XML][ERROR! ]namespace ID not found. ID=8\n",
              parse_with(members, result));
    EXPECT_EQ(1, result);
}

TEST(utl_lib_xml_mediator_register, missing_enum_or_struct_member_reference_uses_the_enum_wording)
{
    test_mediator mediator;
    mediator.on_struct_member = [](test_mediator& m, unsigned int id) {
        return id == STRUCT_ITEM ? m.register_struct_member_enum("color", 1000009) |
                                       m.register_struct_member_struct("sub", 2000009)
                                 : 0;
    };
    int result = 0;
    EXPECT_EQ("[XML][ERROR! ]enum ID not found. ID=1000009\n"
              "[XML][ERROR! ]enum ID not found. ID=2000009\n",
              parse_with(mediator, result));
    EXPECT_EQ(1, result);
}

TEST(utl_lib_xml_mediator_register, duplicate_member_names_are_refused_by_the_registries)
{
    test_mediator mediator;
    mediator.on_enum_member = [](test_mediator& m, unsigned int id) {
        return id == ENUM_COLOR ? m.register_enum_member("red", 1) | m.register_enum_member("red", 2) : 0;
    };
    int result = 0;
    EXPECT_EQ("[XML][ERROR! ]previously register_member. name=red\n", parse_with(mediator, result));
    EXPECT_EQ(1, result);

    test_mediator structs;
    structs.on_struct_member = [](test_mediator& m, unsigned int id) {
        return id == STRUCT_PKG ? m.register_struct_member_string("ver", NS_T) |
                                      m.register_struct_member_value("ver", 0)
                                : 0;
    };
    EXPECT_EQ("[XML][ERROR! ]Duplicate register. name=ver ID=0\n", parse_with(structs, result));
    EXPECT_EQ(1, result);
}

TEST(utl_lib_xml_mediator_register, interface_needs_a_struct_and_a_unique_name_per_namespace)
{
    test_mediator mediator;
    mediator.on_interface = [](test_mediator& m) {
        return m.register_interface("doc", STRUCT_DOC) | m.register_interface("gone", 2000009) |
               m.register_interface("doc", STRUCT_ITEM) | m.register_interface("doc", STRUCT_PKG);
    };
    mediator.on_xaddr = [](test_mediator& m) { return m.register_xaddr(X_DOC, "/doc") | m.register_xaddr(X_TITLE, "/doc/title"); };
    int result = 0;
    std::string trace = parse_with(mediator, result);
    EXPECT_EQ(1, result);
    // "doc" of STRUCT_PKG is in namespace 1 and therefore not a duplicate.
    EXPECT_EQ("[XML][ERROR! ]struct ID not found. ID=2000009\n"
              "[XML][ERROR! ]Duplicate registration. name=doc namespace_id=0\n",
              trace);
}

TEST(utl_lib_xml_mediator_register, refused_interface_leaves_the_first_in_place)
{
    test_mediator mediator;
    mediator.on_interface = [](test_mediator& m) {
        m.register_interface("doc", STRUCT_DOC);
        m.register_interface("doc", STRUCT_ITEM);  // refused
        return 0;
    };
    mediator.on_xaddr = [](test_mediator& m) {
        return m.register_xaddr(X_DOC, "/doc") | m.register_xaddr(X_TITLE, "/doc/title");
    };
    std::string xml = "<doc><title>kept</title></doc>";
    std::string trace = capture_trace([&] { EXPECT_EQ(0, mediator.parse(xml)); });
    EXPECT_EQ("[XML][ERROR! ]Duplicate registration. name=doc namespace_id=0\n", trace);
    EXPECT_EQ("kept", mediator.t.title);
}

TEST(utl_lib_xml_mediator_register, q_names_carry_the_prefix_and_an_empty_prefix_leaves_a_colon)
{
    test_mediator mediator;
    mediator.on_store = [](test_mediator& m) {
        return m.store_xaddr_element_struct_open(X_PKG) | m.store_xaddr_element(X_PKG_VER, std::string("2")) |
               m.store_xaddr_element(X_PKG_SHAPE, 8) | m.store_xaddr_element_struct_close(X_PKG) |
               m.store_xaddr_element_struct_open(X_NOTE) | m.store_xaddr_element(X_NOTE_TEXT, std::string("n")) |
               m.store_xaddr_element_struct_close(X_NOTE);
    };
    std::string out;
    EXPECT_EQ(0, mediator.write(out, 0));
    // The enum member takes the enum's namespace (t); text is in no namespace.
    EXPECT_EQ("<t:pkg><t:ver>2</t:ver><t:shape>ball</t:shape></t:pkg><:note><text>n</text></:note>", out);
}

TEST(utl_lib_xml_mediator_register, xaddr_paths_match_prefixed_components_by_q_name)
{
    test_mediator mediator;
    mediator.on_xaddr = [](test_mediator& m) {
        return m.register_xaddr(3000001, "t:pkg/ver") | m.register_xaddr(3000002, "//pkg//t:shape/") |
               m.register_xaddr(3000003, "/x:pkg") | m.register_xaddr(3000004, "/pkg/t:ver/deeper") |
               m.register_xaddr(3000005, "/pkg/x:ver");
    };
    mediator.on_xaddr_action = [](test_mediator& m, unsigned int id) {
        return id == 3000001 ? m.register_xaddr_data_auto_setting(&m.t.ver)
                             : m.register_xaddr_data_auto_setting(&m.t.shape, 2, UTL_LIB_XADDR_VALUE_OPTION_NONE);
    };
    int result = 0;
    std::string trace = parse_with(mediator, result);
    EXPECT_EQ(1, result);
    EXPECT_EQ("[XML][ERROR! ]interface not found. /x:pkg\n"
              "[XML][ERROR! ]element not found. /pkg/t:ver/deeper\n"
              "[XML][ERROR! ]element not found. /pkg/x:ver\n",
              trace);

    test_mediator good;
    good.on_xaddr = [](test_mediator& m) {
        return m.register_xaddr(3000001, "t:pkg/ver") | m.register_xaddr(3000002, "//pkg//t:shape/");
    };
    good.on_xaddr_action = mediator.on_xaddr_action;
    std::string xml = "<t:pkg><t:ver>3.1</t:ver><t:shape>box</t:shape></t:pkg>";
    EXPECT_EQ("", capture_trace([&] { EXPECT_EQ(0, good.parse(xml)); }));
    EXPECT_EQ("3.1", good.t.ver);
    EXPECT_EQ(7, good.t.shape);
}

TEST(utl_lib_xml_mediator_register, empty_xaddr_is_refused)
{
    test_mediator mediator;
    mediator.on_xaddr = [](test_mediator& m) {
        return m.register_xaddr(3000001, "") | m.register_xaddr(3000002, "/") | m.register_xaddr(3000003, "//");
    };
    int result = 0;
    EXPECT_EQ("[XML][ERROR! ]XAddr is empty! xaddr=\n"
              "[XML][ERROR! ]XAddr is empty! xaddr=/\n"
              "[XML][ERROR! ]XAddr is empty! xaddr=//\n",
              parse_with(mediator, result));
    EXPECT_EQ(1, result);
}

TEST(utl_lib_xml_mediator_register, number_target_checks_address_size_and_element_kind)
{
    test_mediator mediator;
    int32_t value = 0;
    mediator.on_xaddr_action = [&](test_mediator& m, unsigned int id) {
        if (id == X_DOC) {
            return m.register_xaddr_data_auto_setting(&value, 4, UTL_LIB_XADDR_VALUE_OPTION_NONE);
        }
        if (id == X_SMALL) {
            return m.register_xaddr_data_auto_setting(nullptr, 4, UTL_LIB_XADDR_VALUE_OPTION_NONE) |
                   m.register_xaddr_data_auto_setting(&value, 0, UTL_LIB_XADDR_VALUE_OPTION_NONE) |
                   m.register_xaddr_data_auto_setting(&value, 3, UTL_LIB_XADDR_VALUE_OPTION_NONE) |
                   m.register_xaddr_data_auto_setting(&value, 8, UTL_LIB_XADDR_VALUE_OPTION_VECTOR);
        }
        return 0;
    };
    int result = 0;
    std::string trace = parse_with(mediator, result);
    EXPECT_EQ(1, result);
    EXPECT_EQ("[XML][ERROR! ]Invalid element tyep. ID=3000001 type=4\n"
              "[XML][ERROR! ]Invalid parameter. addr=0x00000000 size=4\n"
              "[XML][ERROR! ]Invalid parameter. addr=" + hex_address(&value) + " size=0\n"
              "[XML][ERROR! ]Invalid data size. ID=3000004 size=3\n"
              "[XML][ERROR! ]Invalid data size. ID=3000004 size=8\n",
              trace);
}

TEST(utl_lib_xml_mediator_register, string_targets_need_a_string_element)
{
    test_mediator mediator;
    std::string text;
    std::vector<std::string> texts;
    mediator.on_xaddr_action = [&](test_mediator& m, unsigned int id) {
        if (id == X_LARGE) {
            return m.register_xaddr_data_auto_setting(static_cast<std::string*>(nullptr)) |
                   m.register_xaddr_data_auto_setting(static_cast<std::vector<std::string>*>(nullptr)) |
                   m.register_xaddr_data_auto_setting(&text) | m.register_xaddr_data_auto_setting(&texts);
        }
        if (id == X_ITEM) {
            return m.register_xaddr_data_auto_setting(&text);
        }
        return 0;
    };
    int result = 0;
    EXPECT_EQ("[XML][ERROR! ]Invalid parameter. addr=0x00000000\n"
              "[XML][ERROR! ]Invalid parameter. addr=0x00000000\n"
              "[XML][ERROR! ]Missmatch element type. ID=3000006\n"
              "[XML][ERROR! ]Missmatch element type. ID=3000006\n"
              "[XML][ERROR! ]Missmatch element type. ID=3000012\n",
              parse_with(mediator, result));
    EXPECT_EQ(1, result);
}

TEST(utl_lib_xml_mediator_register, flag_and_attribute_targets_need_an_address)
{
    test_mediator mediator;
    char buffer[4] = {};
    mediator.on_xaddr_action = [&](test_mediator& m, unsigned int id) {
        if (id != X_DOC) {
            return 0;
        }
        return m.register_xaddr_data_auto_setting(static_cast<int*>(nullptr)) |
               m.register_xaddr_attr_auto_setting("", buffer, 4) |
               m.register_xaddr_attr_auto_setting("lang", nullptr, 4) |
               m.register_xaddr_attr_auto_setting("lang", buffer, 0) |
               m.register_xaddr_attr_auto_setting("id", static_cast<std::string*>(nullptr));
    };
    int result = 0;
    EXPECT_EQ("[XML][ERROR! ]Invalid parameter. addr=0x00000000\n"
              "[XML][ERROR! ]Invalid parameter. attr= addr=" + hex_address(buffer) + " size=4\n"
              "[XML][ERROR! ]Invalid parameter. attr=lang addr=0x00000000 size=4\n"
              "[XML][ERROR! ]Invalid parameter. attr=lang addr=" + hex_address(buffer) + " size=0\n"
              "[XML][ERROR! ]Invalid parameter. attr=id addr=0x00000000\n",
              parse_with(mediator, result));
    EXPECT_EQ(1, result);
}

TEST(utl_lib_xml_mediator_register, several_targets_and_interrupts_hang_on_one_xaddr)
{
    test_mediator mediator;
    std::string xml = "<doc><title>abcdef</title></doc>";
    EXPECT_EQ("", capture_trace([&] { EXPECT_EQ(0, mediator.parse(xml)); }));
    EXPECT_EQ("abcdef", mediator.t.title);
    // The second xaddr's char buffer of 4 bytes holds 4 bytes, unterminated.
    EXPECT_EQ(std::string("abcd"), std::string(mediator.t.title_copy, 4));
    EXPECT_EQ((std::vector<unsigned int>{I_DOC_START, I_TITLE_DATA, I_DOC_END}), mediator.interrupt_ids());
}

TEST(utl_lib_xml_mediator_register, string_element_takes_a_char_buffer_whatever_the_option)
{
    test_mediator mediator;
    char buffer[6] = {};
    mediator.on_xaddr_action = [&](test_mediator& m, unsigned int id) {
        return id == X_CODE ? m.register_xaddr_data_auto_setting(buffer, sizeof(buffer),
                                                                 UTL_LIB_XADDR_VALUE_OPTION_VECTOR)
                            : 0;
    };
    std::string xml = "<doc><code>xy</code></doc>";
    EXPECT_EQ("", capture_trace([&] { EXPECT_EQ(0, mediator.parse(xml)); }));
    EXPECT_EQ(std::string("xy\0\0\0\0", 6), std::string(buffer, 6));
}
