// Tests of the enum registry: registration, both conversions and their trace.
#include "utl_lib_xml_enum.h"

#include <gtest/gtest.h>

#include <string>

using norvane::utl_lib_xml_enum;

TEST(utl_lib_xml_enum_test, keeps_the_namespace_given_at_construction)
{
    utl_lib_xml_enum with_namespace(17);
    utl_lib_xml_enum without_namespace(0);
    EXPECT_EQ(17u, with_namespace.get_namespace_id());
    EXPECT_EQ(0u, without_namespace.get_namespace_id());
}

TEST(utl_lib_xml_enum_test, registered_name_converts_both_ways_without_trace)
{
    utl_lib_xml_enum registry(1);
    testing::internal::CaptureStderr();
    EXPECT_EQ(0, registry.register_member("ON", 1));
    EXPECT_EQ(0, registry.register_member("OFF", 0));
    EXPECT_EQ(0, registry.register_member("NEG", -5));
    int value = 99;
    EXPECT_EQ(0, registry.convert(std::string("OFF"), value));
    EXPECT_EQ(0, value);
    EXPECT_EQ(0, registry.convert(std::string("NEG"), value));
    EXPECT_EQ(-5, value);
    std::string name;
    EXPECT_EQ(0, registry.convert(1, name));
    EXPECT_EQ("ON", name);
    EXPECT_EQ("", testing::internal::GetCapturedStderr());
}

TEST(utl_lib_xml_enum_test, second_registration_of_a_name_is_refused_and_keeps_the_old_value)
{
    utl_lib_xml_enum registry(1);
    ASSERT_EQ(0, registry.register_member("A", 3));
    testing::internal::CaptureStderr();
    EXPECT_EQ(1, registry.register_member("A", 4));
    EXPECT_EQ("[XML][ERROR! ]previously register_member. name=A\n",
              testing::internal::GetCapturedStderr());
    int value = 0;
    EXPECT_EQ(0, registry.convert(std::string("A"), value));
    EXPECT_EQ(3, value);
    std::string name = "untouched";
    testing::internal::CaptureStderr();
    EXPECT_EQ(1, registry.convert(4, name));
    testing::internal::GetCapturedStderr();
    EXPECT_EQ("untouched", name);
}

TEST(utl_lib_xml_enum_test, value_with_several_names_converts_to_the_smallest_name)
{
    utl_lib_xml_enum registry(0);
    testing::internal::CaptureStderr();
    EXPECT_EQ(0, registry.register_member("B", 1));
    EXPECT_EQ(0, registry.register_member("A", 1));
    std::string name;
    EXPECT_EQ(0, registry.convert(1, name));
    EXPECT_EQ("", testing::internal::GetCapturedStderr());
    EXPECT_EQ("A", name);
}

TEST(utl_lib_xml_enum_test, names_are_ordered_by_bytes_so_upper_case_comes_first)
{
    utl_lib_xml_enum registry(0);
    ASSERT_EQ(0, registry.register_member("b", 2));
    ASSERT_EQ(0, registry.register_member("Z", 2));
    ASSERT_EQ(0, registry.register_member("ba", 2));
    std::string name;
    EXPECT_EQ(0, registry.convert(2, name));
    EXPECT_EQ("Z", name);
}

TEST(utl_lib_xml_enum_test, absent_value_traces_a_warning_and_leaves_the_name)
{
    utl_lib_xml_enum registry(0);
    ASSERT_EQ(0, registry.register_member("A", 1));
    std::string name = "before";
    testing::internal::CaptureStderr();
    EXPECT_EQ(1, registry.convert(-7, name));
    EXPECT_EQ("[XML][WARNING]value not found. value=-7\n", testing::internal::GetCapturedStderr());
    EXPECT_EQ("before", name);
}

TEST(utl_lib_xml_enum_test, absent_name_traces_a_warning_and_leaves_the_value)
{
    utl_lib_xml_enum registry(0);
    ASSERT_EQ(0, registry.register_member("A", 1));
    int value = 42;
    testing::internal::CaptureStderr();
    EXPECT_EQ(1, registry.convert(std::string("a"), value));
    EXPECT_EQ("[XML][WARNING]enum not found. name=a\n", testing::internal::GetCapturedStderr());
    EXPECT_EQ(42, value);
}

TEST(utl_lib_xml_enum_test, empty_registry_finds_nothing)
{
    utl_lib_xml_enum registry(0);
    int value = 5;
    std::string name = "x";
    testing::internal::CaptureStderr();
    EXPECT_EQ(1, registry.convert(std::string(""), value));
    EXPECT_EQ(1, registry.convert(0, name));
    EXPECT_EQ("[XML][WARNING]enum not found. name=\n[XML][WARNING]value not found. value=0\n",
              testing::internal::GetCapturedStderr());
    EXPECT_EQ(5, value);
    EXPECT_EQ("x", name);
}

TEST(utl_lib_xml_enum_test, trace_of_a_long_name_is_not_cut)
{
    utl_lib_xml_enum registry(0);
    std::string long_name(5000, 'n');
    int value = 0;
    testing::internal::CaptureStderr();
    EXPECT_EQ(1, registry.convert(long_name, value));
    EXPECT_EQ("[XML][WARNING]enum not found. name=" + long_name + "\n",
              testing::internal::GetCapturedStderr());
}
