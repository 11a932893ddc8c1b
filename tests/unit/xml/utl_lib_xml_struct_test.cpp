// Tests of the struct registry: member kinds, lookups with and without a
// namespace, the duplicate rule and its trace.
#include "utl_lib_xml_struct.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using norvane::utl_lib_xml_struct;
using norvane::utl_lib_xml_struct_member_info;

namespace {

// A struct in namespace 5 with one member of each kind.
class utl_lib_xml_struct_fixture : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_EQ(0, registry_.register_string_member("text", 1));
        ASSERT_EQ(0, registry_.register_value_member("number", 2));
        ASSERT_EQ(0, registry_.register_enum_member("choice", 1, 1000007));
        ASSERT_EQ(0, registry_.register_struct_member("child", 3, 2000009));
    }

    utl_lib_xml_struct registry_{5};
};

}  // namespace

TEST(utl_lib_xml_struct_test, keeps_the_namespace_given_at_construction)
{
    utl_lib_xml_struct registry(9);
    EXPECT_EQ(9u, registry.get_namespace_id());
}

TEST_F(utl_lib_xml_struct_fixture, member_list_holds_the_members_in_registration_order)
{
    std::vector<utl_lib_xml_struct_member_info> list;
    EXPECT_EQ(0, registry_.get_member_list(list));
    ASSERT_EQ(4u, list.size());
    EXPECT_EQ("text", list[0].name);
    EXPECT_EQ(1u, list[0].namespace_id);
    EXPECT_EQ(norvane::UTL_LIB_XML_ELEMENT_TYPE_STRING, list[0].type);
    EXPECT_EQ(0u, list[0].id);
    EXPECT_EQ("number", list[1].name);
    EXPECT_EQ(2u, list[1].namespace_id);
    EXPECT_EQ(norvane::UTL_LIB_XML_ELEMENT_TYPE_VALUE, list[1].type);
    EXPECT_EQ(0u, list[1].id);
    EXPECT_EQ("choice", list[2].name);
    EXPECT_EQ(1u, list[2].namespace_id);
    EXPECT_EQ(norvane::UTL_LIB_XML_ELEMENT_TYPE_ENUM, list[2].type);
    EXPECT_EQ(1000007u, list[2].id);
    EXPECT_EQ("child", list[3].name);
    EXPECT_EQ(3u, list[3].namespace_id);
    EXPECT_EQ(norvane::UTL_LIB_XML_ELEMENT_TYPE_STRUCT, list[3].type);
    EXPECT_EQ(2000009u, list[3].id);
}

TEST_F(utl_lib_xml_struct_fixture, member_list_replaces_what_the_caller_held)
{
    std::vector<utl_lib_xml_struct_member_info> list(7);
    EXPECT_EQ(0, registry_.get_member_list(list));
    EXPECT_EQ(4u, list.size());
}

TEST_F(utl_lib_xml_struct_fixture, element_type_of_each_kind)
{
    EXPECT_EQ(1, registry_.get_element_type("text", 1));
    EXPECT_EQ(2, registry_.get_element_type("number", 2));
    EXPECT_EQ(3, registry_.get_element_type("choice", 1));
    EXPECT_EQ(4, registry_.get_element_type("child", 3));
}

TEST_F(utl_lib_xml_struct_fixture, element_type_of_an_unknown_name_is_0)
{
    EXPECT_EQ(0, registry_.get_element_type("missing", 0));
    EXPECT_EQ(norvane::UTL_LIB_XML_ELEMENT_TYPE_UNKNOWN, registry_.get_element_type("tex", 1));
    EXPECT_EQ(norvane::UTL_LIB_XML_ELEMENT_TYPE_UNKNOWN, registry_.get_element_type("texts", 1));
}

TEST_F(utl_lib_xml_struct_fixture, kind_queries_are_true_only_for_their_own_kind)
{
    EXPECT_TRUE(registry_.is_string_member("text", 1));
    EXPECT_FALSE(registry_.is_value_member("text", 1));
    EXPECT_TRUE(registry_.is_value_member("number", 2));
    EXPECT_FALSE(registry_.is_enum_member("number", 2));
    EXPECT_TRUE(registry_.is_enum_member("choice", 1));
    EXPECT_FALSE(registry_.is_struct_member("choice", 1));
    EXPECT_TRUE(registry_.is_struct_member("child", 3));
    EXPECT_FALSE(registry_.is_string_member("child", 3));
}

TEST_F(utl_lib_xml_struct_fixture, kind_queries_are_false_when_no_member_matches)
{
    EXPECT_FALSE(registry_.is_exist_member("missing", 0));
    EXPECT_FALSE(registry_.is_string_member("missing", 0));
    EXPECT_FALSE(registry_.is_value_member("missing", 0));
    EXPECT_FALSE(registry_.is_enum_member("missing", 0));
    EXPECT_FALSE(registry_.is_struct_member("missing", 0));
}

TEST_F(utl_lib_xml_struct_fixture, enum_id_of_a_string_member_is_0)
{
    EXPECT_EQ(0u, registry_.get_enum_id("text", 1));
    EXPECT_EQ(0u, registry_.get_enum_id("child", 3));
    EXPECT_EQ(0u, registry_.get_enum_id("missing", 0));
    EXPECT_EQ(1000007u, registry_.get_enum_id("choice", 1));
}

TEST_F(utl_lib_xml_struct_fixture, struct_id_only_for_a_struct_member)
{
    EXPECT_EQ(2000009u, registry_.get_struct_id("child", 3));
    EXPECT_EQ(0u, registry_.get_struct_id("choice", 1));
    EXPECT_EQ(0u, registry_.get_struct_id("number", 2));
    EXPECT_EQ(0u, registry_.get_struct_id("missing", 0));
}

TEST_F(utl_lib_xml_struct_fixture, lookup_with_namespace_0_finds_a_member_of_any_namespace)
{
    EXPECT_TRUE(registry_.is_exist_member("text", 0));
    EXPECT_TRUE(registry_.is_exist_member("child", 0));
    EXPECT_EQ(4, registry_.get_element_type("child", 0));
    EXPECT_EQ(2000009u, registry_.get_struct_id("child", 0));
    EXPECT_EQ(1000007u, registry_.get_enum_id("choice", 0));
}

TEST_F(utl_lib_xml_struct_fixture, lookup_with_another_namespace_finds_nothing)
{
    EXPECT_FALSE(registry_.is_exist_member("text", 2));
    EXPECT_EQ(0, registry_.get_element_type("child", 1));
    EXPECT_EQ(0u, registry_.get_enum_id("choice", 3));
    EXPECT_EQ(0u, registry_.get_struct_id("child", 5));
}

TEST(utl_lib_xml_struct_test, same_name_in_another_namespace_is_refused_with_trace)
{
    utl_lib_xml_struct registry(0);
    ASSERT_EQ(0, registry.register_string_member("x", 1));
    testing::internal::CaptureStderr();
    EXPECT_EQ(1, registry.register_string_member("x", 2));
    EXPECT_EQ("[XML][ERROR! ]Duplicate register. name=x ID=2\n",
              testing::internal::GetCapturedStderr());
    std::vector<utl_lib_xml_struct_member_info> list;
    registry.get_member_list(list);
    ASSERT_EQ(1u, list.size());
    EXPECT_EQ(1u, list[0].namespace_id);
    EXPECT_FALSE(registry.is_exist_member("x", 2));
}

TEST(utl_lib_xml_struct_test, duplicate_of_any_kind_is_refused_and_first_member_stays)
{
    utl_lib_xml_struct registry(0);
    ASSERT_EQ(0, registry.register_enum_member("e", 4, 1000001));
    testing::internal::CaptureStderr();
    EXPECT_EQ(1, registry.register_value_member("e", 4));
    EXPECT_EQ(1, registry.register_string_member("e", 0));
    EXPECT_EQ(1, registry.register_struct_member("e", 7, 2000001));
    EXPECT_EQ(1, registry.register_enum_member("e", 4, 1000002));
    EXPECT_EQ("[XML][ERROR! ]Duplicate register. name=e ID=4\n"
              "[XML][ERROR! ]Duplicate register. name=e ID=0\n"
              "[XML][ERROR! ]Duplicate register. name=e ID=7\n"
              "[XML][ERROR! ]Duplicate register. name=e ID=4\n",
              testing::internal::GetCapturedStderr());
    EXPECT_TRUE(registry.is_enum_member("e", 4));
    EXPECT_EQ(1000001u, registry.get_enum_id("e", 0));
}

TEST(utl_lib_xml_struct_test, names_differing_only_in_case_or_length_are_distinct)
{
    utl_lib_xml_struct registry(0);
    testing::internal::CaptureStderr();
    EXPECT_EQ(0, registry.register_string_member("name", 1));
    EXPECT_EQ(0, registry.register_string_member("Name", 1));
    EXPECT_EQ(0, registry.register_string_member("name2", 1));
    EXPECT_EQ(0, registry.register_string_member("nam", 1));
    EXPECT_EQ("", testing::internal::GetCapturedStderr());
    std::vector<utl_lib_xml_struct_member_info> list;
    registry.get_member_list(list);
    EXPECT_EQ(4u, list.size());
}

TEST(utl_lib_xml_struct_test, empty_struct_has_no_members)
{
    utl_lib_xml_struct registry(0);
    std::vector<utl_lib_xml_struct_member_info> list;
    EXPECT_EQ(0, registry.get_member_list(list));
    EXPECT_TRUE(list.empty());
    EXPECT_FALSE(registry.is_exist_member("", 0));
}
