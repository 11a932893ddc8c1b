// A schema of our own for the mediator's tests.
//
// It registers a namespace with a prefix and one with an empty prefix, two
// enums, nested structs, three interfaces and xaddrs carrying every kind of
// automatic target (string, char buffer, 1/2/4-byte values, the three number
// vectors and the string vector, the occurrence flag, enum conversion), two
// attribute targets and every interrupt type. Each registration step can be
// replaced by a test (the on_* functions), every hook call is recorded in
// calls, every interrupt in events, and request_store_xaddr runs store_script.
#ifndef NORVANE_TESTS_XML_TEST_MEDIATOR_H
#define NORVANE_TESTS_XML_TEST_MEDIATOR_H

#include <cstdint>
#include <cstdio>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "utl_lib_xml_mediator.h"

namespace norvane_test {

// Runs action and returns what it wrote to standard error (trace lines).
inline std::string capture_trace(const std::function<void()>& action)
{
    testing::internal::CaptureStderr();
    action();
    return testing::internal::GetCapturedStderr();
}

// The text "0x%08x" prints for a pointer.
inline std::string hex_address(const void* address)
{
    char text[16] = {};
    std::snprintf(text, sizeof(text), "0x%08x",
                  static_cast<unsigned int>(reinterpret_cast<uintptr_t>(address)));
    return text;
}

using norvane::UTL_LIB_XADDR_VALUE_OPTION_NONE;
using norvane::UTL_LIB_XADDR_VALUE_OPTION_VECTOR;
using norvane::UTL_LIB_XML_INTERRUPT_TYPE_ATTR;
using norvane::UTL_LIB_XML_INTERRUPT_TYPE_DATA;
using norvane::UTL_LIB_XML_INTERRUPT_TYPE_END;
using norvane::UTL_LIB_XML_INTERRUPT_TYPE_ERROR;
using norvane::UTL_LIB_XML_INTERRUPT_TYPE_START;

// namespaces
constexpr unsigned int NS_T = 1;     // prefix "t"
constexpr unsigned int NS_BARE = 2;  // empty prefix
// enums
constexpr unsigned int ENUM_COLOR = 1000001;  // red 1, green 2, blue 3, crimson 1
constexpr unsigned int ENUM_SHAPE = 1000002;  // in NS_T: box 7, ball 8
// structs
constexpr unsigned int STRUCT_ITEM = 2000001;  // name, qty, color
constexpr unsigned int STRUCT_DOC = 2000002;   // the "doc" interface
constexpr unsigned int STRUCT_PKG = 2000003;   // in NS_T: ver, shape
constexpr unsigned int STRUCT_NOTE = 2000004;  // in NS_BARE: text
// xaddrs
constexpr unsigned int X_DOC = 3000001;
constexpr unsigned int X_TITLE = 3000002;
constexpr unsigned int X_CODE = 3000003;
constexpr unsigned int X_SMALL = 3000004;
constexpr unsigned int X_MEDIUM = 3000005;
constexpr unsigned int X_LARGE = 3000006;
constexpr unsigned int X_TAG = 3000007;
constexpr unsigned int X_B = 3000008;
constexpr unsigned int X_S = 3000009;
constexpr unsigned int X_I = 3000010;
constexpr unsigned int X_COLOR = 3000011;
constexpr unsigned int X_ITEM = 3000012;
constexpr unsigned int X_ITEM_NAME = 3000013;
constexpr unsigned int X_ITEM_QTY = 3000014;
constexpr unsigned int X_ITEM_COLOR = 3000015;
constexpr unsigned int X_OPT = 3000016;
constexpr unsigned int X_PKG = 3000017;
constexpr unsigned int X_PKG_VER = 3000018;
constexpr unsigned int X_PKG_SHAPE = 3000019;
constexpr unsigned int X_TITLE_AGAIN = 3000020;
constexpr unsigned int X_NOTE = 3000021;
constexpr unsigned int X_NOTE_TEXT = 3000022;
// interrupts
constexpr unsigned int I_DOC_START = 4000001;
constexpr unsigned int I_DOC_ATTR = 4000002;
constexpr unsigned int I_DOC_DATA = 4000003;
constexpr unsigned int I_DOC_END = 4000004;
constexpr unsigned int I_DOC_ERROR = 4000005;
constexpr unsigned int I_TITLE_DATA = 4000006;
constexpr unsigned int I_COLOR_DATA = 4000007;
constexpr unsigned int I_ITEM_START = 4000008;
constexpr unsigned int I_ITEM_END = 4000009;
constexpr unsigned int I_PKG_ATTR = 4000010;
constexpr unsigned int I_PKG_START = 4000011;

// The caller's memory that the automatic targets fill.
struct test_targets {
    std::string doc_id;             // attribute "id" of doc
    char lang[4] = {};              // attribute "lang" of doc (char buffer)
    std::string title;
    char code[8] = {};              // char buffer of a string element
    int8_t small = 0;               // 1-byte value
    int16_t medium = 0;             // 2-byte value
    int32_t large = 0;              // 4-byte value
    std::vector<std::string> tags;
    std::vector<char> bytes;
    std::vector<short> shorts;
    std::vector<int> ints;
    int32_t color = 0;              // enum, 4 bytes
    int item_found = 0;             // occurrence flag of a struct element
    std::vector<std::string> item_names;
    std::vector<int> item_qtys;
    std::vector<char> item_colors;  // enum, vector of 1 byte
    int opt_found = 0;              // occurrence flag of a string element
    std::string ver;
    int16_t shape = 0;              // enum in a namespace, 2 bytes
    char title_copy[4] = {};        // second xaddr on the title element
    std::string note;
};

// One call of notify_xaddr_interrupt.
struct interrupt_event {
    unsigned int interrupt_id;
    std::map<std::string, std::string> attributes;
    std::string data;
};

class test_mediator : public norvane::utl_lib_xml_mediator {
public:
    typedef std::function<int(test_mediator&)> step;
    typedef std::function<int(test_mediator&, unsigned int)> id_step;

    using utl_lib_xml_mediator::proc_xaddr_auto_setting_;
    using utl_lib_xml_mediator::register_enum;
    using utl_lib_xml_mediator::register_enum_member;
    using utl_lib_xml_mediator::register_interface;
    using utl_lib_xml_mediator::register_namespace;
    using utl_lib_xml_mediator::register_rules;
    using utl_lib_xml_mediator::register_struct;
    using utl_lib_xml_mediator::register_struct_member_enum;
    using utl_lib_xml_mediator::register_struct_member_string;
    using utl_lib_xml_mediator::register_struct_member_struct;
    using utl_lib_xml_mediator::register_struct_member_value;
    using utl_lib_xml_mediator::register_xaddr;
    using utl_lib_xml_mediator::register_xaddr_attr_auto_setting;
    using utl_lib_xml_mediator::register_xaddr_data_auto_setting;
    using utl_lib_xml_mediator::register_xaddr_interrupt;
    using utl_lib_xml_mediator::store_xaddr_element;
    using utl_lib_xml_mediator::store_xaddr_element_struct_close;
    using utl_lib_xml_mediator::store_xaddr_element_struct_open;
    using utl_lib_xml_mediator::store_xaddr_fix;
    using utl_lib_xml_mediator::store_xaddr_namespace_close;
    using utl_lib_xml_mediator::store_xaddr_namespace_open;

    test_targets t;
    std::vector<std::string> calls;
    std::vector<interrupt_event> events;
    std::map<unsigned int, int> interrupt_results;  // what an interrupt returns (default 0)
    std::string version = "1.0";
    std::string encoding = "UTF-8";
    int xml_spec_result = 0;

    // Replace one registration step; unset, the standard schema is registered.
    step on_namespace, on_enum, on_struct, on_interface, on_xaddr, on_rules, on_store;
    id_step on_enum_member, on_struct_member, on_xaddr_action;
    // Runs inside notify_xaddr_interrupt, after the event is recorded.
    std::function<void(test_mediator&, unsigned int)> on_interrupt;

    std::vector<unsigned int> interrupt_ids() const
    {
        std::vector<unsigned int> ids;
        for (const auto& event : events) {
            ids.push_back(event.interrupt_id);
        }
        return ids;
    }

protected:
    int request_register_xml_spec(std::string& v, std::string& e) override
    {
        calls.push_back("xml_spec");
        v = version;
        e = encoding;
        return xml_spec_result;
    }

    int request_register_namespace() override
    {
        calls.push_back("namespace");
        if (on_namespace) {
            return on_namespace(*this);
        }
        return register_namespace(NS_T, "t", "urn:test") | register_namespace(NS_BARE, "", "urn:bare");
    }

    int request_register_enum() override
    {
        calls.push_back("enum");
        if (on_enum) {
            return on_enum(*this);
        }
        return register_enum(ENUM_COLOR, 0) | register_enum(ENUM_SHAPE, NS_T);
    }

    int request_register_enum_member(unsigned int enum_id) override
    {
        calls.push_back("enum_member " + std::to_string(enum_id));
        if (on_enum_member) {
            return on_enum_member(*this, enum_id);
        }
        if (enum_id == ENUM_COLOR) {
            return register_enum_member("red", 1) | register_enum_member("green", 2) |
                   register_enum_member("blue", 3) | register_enum_member("crimson", 1);
        }
        return register_enum_member("box", 7) | register_enum_member("ball", 8);
    }

    int request_register_struct() override
    {
        calls.push_back("struct");
        if (on_struct) {
            return on_struct(*this);
        }
        return register_struct(STRUCT_ITEM, 0) | register_struct(STRUCT_DOC, 0) |
               register_struct(STRUCT_PKG, NS_T) | register_struct(STRUCT_NOTE, NS_BARE);
    }

    int request_register_struct_member(unsigned int struct_id) override
    {
        calls.push_back("struct_member " + std::to_string(struct_id));
        if (on_struct_member) {
            return on_struct_member(*this, struct_id);
        }
        switch (struct_id) {
        case STRUCT_ITEM:
            return register_struct_member_string("name", 0) | register_struct_member_value("qty", 0) |
                   register_struct_member_enum("color", ENUM_COLOR);
        case STRUCT_DOC:
            return register_struct_member_string("title", 0) | register_struct_member_string("code", 0) |
                   register_struct_member_value("small", 0) | register_struct_member_value("medium", 0) |
                   register_struct_member_value("large", 0) | register_struct_member_string("tag", 0) |
                   register_struct_member_value("b", 0) | register_struct_member_value("s", 0) |
                   register_struct_member_value("i", 0) |
                   register_struct_member_enum("color", ENUM_COLOR) |
                   register_struct_member_struct("item", STRUCT_ITEM) |
                   register_struct_member_string("opt", 0);
        case STRUCT_PKG:
            return register_struct_member_string("ver", NS_T) |
                   register_struct_member_enum("shape", ENUM_SHAPE);
        default:
            return register_struct_member_string("text", 0);
        }
    }

    int request_register_interface() override
    {
        calls.push_back("interface");
        if (on_interface) {
            return on_interface(*this);
        }
        return register_interface("doc", STRUCT_DOC) | register_interface("pkg", STRUCT_PKG) |
               register_interface("note", STRUCT_NOTE);
    }

    int request_register_xaddr() override
    {
        calls.push_back("xaddr");
        if (on_xaddr) {
            return on_xaddr(*this);
        }
        const std::pair<unsigned int, const char*> paths[] = {
            {X_DOC, "/doc"},
            {X_TITLE, "/doc/title"},
            {X_CODE, "/doc/code"},
            {X_SMALL, "/doc/small"},
            {X_MEDIUM, "/doc/medium"},
            {X_LARGE, "/doc/large"},
            {X_TAG, "/doc/tag"},
            {X_B, "/doc/b"},
            {X_S, "/doc/s"},
            {X_I, "/doc/i"},
            {X_COLOR, "/doc/color"},
            {X_ITEM, "/doc/item"},
            {X_ITEM_NAME, "/doc/item/name"},
            {X_ITEM_QTY, "/doc/item/qty"},
            {X_ITEM_COLOR, "/doc/item/color"},
            {X_OPT, "/doc/opt"},
            {X_PKG, "/t:pkg"},
            {X_PKG_VER, "/t:pkg/t:ver"},
            {X_PKG_SHAPE, "pkg/shape"},
            {X_TITLE_AGAIN, "/doc/title"},
            {X_NOTE, "/:note"},
            {X_NOTE_TEXT, "/note/text"},
        };
        int result = 0;
        for (const auto& path : paths) {
            result |= register_xaddr(path.first, path.second);
        }
        return result;
    }

    int request_register_xaddr_action(unsigned int xaddr_id) override
    {
        calls.push_back("xaddr_action " + std::to_string(xaddr_id));
        if (on_xaddr_action) {
            return on_xaddr_action(*this, xaddr_id);
        }
        return register_standard_action(xaddr_id);
    }

    int request_register_rules() override
    {
        calls.push_back("rules");
        if (on_rules) {
            return on_rules(*this);
        }
        return 0;
    }

    int notify_xaddr_interrupt(unsigned int interrupt_id,
                               std::map<std::string, std::string>& attributes,
                               std::string& data) override
    {
        events.push_back(interrupt_event{interrupt_id, attributes, data});
        if (on_interrupt) {
            on_interrupt(*this, interrupt_id);
        }
        auto found = interrupt_results.find(interrupt_id);
        return found == interrupt_results.end() ? 0 : found->second;
    }

    int request_store_xaddr() override
    {
        calls.push_back("store");
        return on_store ? on_store(*this) : 0;
    }

public:
    // The standard targets and interrupts of one xaddr.
    int register_standard_action(unsigned int xaddr_id)
    {
        switch (xaddr_id) {
        case X_DOC:
            return register_xaddr_attr_auto_setting("id", &t.doc_id) |
                   register_xaddr_attr_auto_setting("lang", t.lang, sizeof(t.lang)) |
                   register_xaddr_interrupt(UTL_LIB_XML_INTERRUPT_TYPE_START, I_DOC_START) |
                   register_xaddr_interrupt(UTL_LIB_XML_INTERRUPT_TYPE_ATTR, I_DOC_ATTR) |
                   register_xaddr_interrupt(UTL_LIB_XML_INTERRUPT_TYPE_DATA, I_DOC_DATA) |
                   register_xaddr_interrupt(UTL_LIB_XML_INTERRUPT_TYPE_END, I_DOC_END) |
                   register_xaddr_interrupt(UTL_LIB_XML_INTERRUPT_TYPE_ERROR, I_DOC_ERROR);
        case X_TITLE:
            return register_xaddr_data_auto_setting(&t.title) |
                   register_xaddr_interrupt(UTL_LIB_XML_INTERRUPT_TYPE_DATA, I_TITLE_DATA);
        case X_CODE:
            return register_xaddr_data_auto_setting(t.code, sizeof(t.code), UTL_LIB_XADDR_VALUE_OPTION_NONE);
        case X_SMALL:
            return register_xaddr_data_auto_setting(&t.small, sizeof(t.small), UTL_LIB_XADDR_VALUE_OPTION_NONE);
        case X_MEDIUM:
            return register_xaddr_data_auto_setting(&t.medium, sizeof(t.medium), UTL_LIB_XADDR_VALUE_OPTION_NONE);
        case X_LARGE:
            return register_xaddr_data_auto_setting(&t.large, sizeof(t.large), UTL_LIB_XADDR_VALUE_OPTION_NONE);
        case X_TAG:
            return register_xaddr_data_auto_setting(&t.tags);
        case X_B:
            return register_xaddr_data_auto_setting(&t.bytes, 1, UTL_LIB_XADDR_VALUE_OPTION_VECTOR);
        case X_S:
            return register_xaddr_data_auto_setting(&t.shorts, 2, UTL_LIB_XADDR_VALUE_OPTION_VECTOR);
        case X_I:
            return register_xaddr_data_auto_setting(&t.ints, 4, UTL_LIB_XADDR_VALUE_OPTION_VECTOR);
        case X_COLOR:
            return register_xaddr_data_auto_setting(&t.color, sizeof(t.color), UTL_LIB_XADDR_VALUE_OPTION_NONE) |
                   register_xaddr_interrupt(UTL_LIB_XML_INTERRUPT_TYPE_DATA, I_COLOR_DATA);
        case X_ITEM:
            return register_xaddr_data_auto_setting(&t.item_found) |
                   register_xaddr_interrupt(UTL_LIB_XML_INTERRUPT_TYPE_START, I_ITEM_START) |
                   register_xaddr_interrupt(UTL_LIB_XML_INTERRUPT_TYPE_END, I_ITEM_END);
        case X_ITEM_NAME:
            return register_xaddr_data_auto_setting(&t.item_names);
        case X_ITEM_QTY:
            return register_xaddr_data_auto_setting(&t.item_qtys, 4, UTL_LIB_XADDR_VALUE_OPTION_VECTOR);
        case X_ITEM_COLOR:
            return register_xaddr_data_auto_setting(&t.item_colors, 1, UTL_LIB_XADDR_VALUE_OPTION_VECTOR);
        case X_OPT:
            return register_xaddr_data_auto_setting(&t.opt_found);
        case X_PKG:
            return register_xaddr_interrupt(UTL_LIB_XML_INTERRUPT_TYPE_ATTR, I_PKG_ATTR) |
                   register_xaddr_interrupt(UTL_LIB_XML_INTERRUPT_TYPE_START, I_PKG_START);
        case X_PKG_VER:
            return register_xaddr_data_auto_setting(&t.ver);
        case X_PKG_SHAPE:
            return register_xaddr_data_auto_setting(&t.shape, sizeof(t.shape), UTL_LIB_XADDR_VALUE_OPTION_NONE);
        case X_TITLE_AGAIN:
            return register_xaddr_data_auto_setting(t.title_copy, sizeof(t.title_copy),
                                                    UTL_LIB_XADDR_VALUE_OPTION_NONE);
        case X_NOTE_TEXT:
            return register_xaddr_data_auto_setting(&t.note);
        default:
            return 0;
        }
    }
};

}  // namespace norvane_test

#endif
