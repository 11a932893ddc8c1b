// The host list library: linear lists walked forward from the head, and list
// heads copied by value.
#include "clb_list.h"

#include <gtest/gtest.h>

#include <cstddef>

namespace {

// One element block: the node header followed by the element's record.
struct element {
    NODE node;
    int value;
};

int value_of(NODE* node)
{
    return reinterpret_cast<element*>(reinterpret_cast<char*>(node) - offsetof(element, node))->value;
}

TEST(host_list_test, empty_list_counts_zero_and_has_no_first)
{
    LIST list = {};
    EXPECT_EQ(0, list.count);
    EXPECT_EQ(nullptr, zulCLBLstNth(&list, 1));
}

TEST(host_list_test, add_counts_and_nth_returns_in_order)
{
    LIST list = {};
    element a = {{}, 10};
    element b = {{}, 20};
    element c = {{}, 30};
    EXPECT_EQ(0, zulCLBLstAdd(&list, &a.node));
    EXPECT_EQ(1, list.count);
    EXPECT_EQ(0, zulCLBLstAdd(&list, &b.node));
    EXPECT_EQ(0, zulCLBLstAdd(&list, &c.node));
    EXPECT_EQ(3, list.count);
    EXPECT_EQ(&a.node, zulCLBLstNth(&list, 1));
    EXPECT_EQ(&b.node, zulCLBLstNth(&list, 2));
    EXPECT_EQ(&c.node, zulCLBLstNth(&list, 3));
    EXPECT_EQ(20, value_of(zulCLBLstNth(&list, 2)));
}

TEST(host_list_test, nth_out_of_range_is_null)
{
    LIST list = {};
    element a = {{}, 1};
    element b = {{}, 2};
    zulCLBLstAdd(&list, &a.node);
    zulCLBLstAdd(&list, &b.node);
    EXPECT_EQ(nullptr, zulCLBLstNth(&list, 0));
    EXPECT_EQ(nullptr, zulCLBLstNth(&list, 3));  // count + 1
    EXPECT_EQ(nullptr, zulCLBLstNth(&list, -1));
    EXPECT_EQ(nullptr, zulCLBLstNth(nullptr, 1));
}

TEST(host_list_test, links_are_linear_from_head_to_last)
{
    LIST list = {};
    element a = {{}, 1};
    element b = {{}, 2};
    zulCLBLstAdd(&list, &a.node);
    zulCLBLstAdd(&list, &b.node);
    EXPECT_EQ(&a.node, list.node.next);
    EXPECT_EQ(&b.node, list.node.previous);
    EXPECT_EQ(&b.node, a.node.next);
    EXPECT_EQ(nullptr, b.node.next);  // no link back to the head
    EXPECT_EQ(&a.node, b.node.previous);
}

TEST(host_list_test, head_copied_by_value_still_reaches_elements)
{
    LIST list = {};
    element a = {{}, 7};
    element b = {{}, 8};
    zulCLBLstAdd(&list, &a.node);
    zulCLBLstAdd(&list, &b.node);
    LIST copy = list;
    EXPECT_EQ(2, copy.count);
    EXPECT_EQ(&a.node, zulCLBLstNth(&copy, 1));
    EXPECT_EQ(&b.node, zulCLBLstNth(&copy, 2));
    EXPECT_EQ(nullptr, zulCLBLstNth(&copy, 3));
}

TEST(host_list_test, record_with_inner_list_copied_into_a_node_reaches_children)
{
    // A parent record holds the head of its children's list; after the children
    // were appended, the whole record is copied into the parent's list node.
    struct parent_record {
        int id;
        LIST children;
    };
    struct parent_element {
        NODE node;
        parent_record record;
    };
    parent_record built = {5, {}};
    element child1 = {{}, 51};
    element child2 = {{}, 52};
    zulCLBLstAdd(&built.children, &child1.node);
    zulCLBLstAdd(&built.children, &child2.node);

    parent_element stored = {{}, built};
    LIST parents = {};
    zulCLBLstAdd(&parents, &stored.node);

    parent_element* first = reinterpret_cast<parent_element*>(zulCLBLstNth(&parents, 1));
    ASSERT_NE(nullptr, first);
    EXPECT_EQ(5, first->record.id);
    EXPECT_EQ(51, value_of(zulCLBLstNth(&first->record.children, 1)));
    EXPECT_EQ(52, value_of(zulCLBLstNth(&first->record.children, 2)));
}

TEST(host_list_test, add_refuses_null_arguments)
{
    LIST list = {};
    element a = {{}, 1};
    EXPECT_NE(0, zulCLBLstAdd(nullptr, &a.node));
    EXPECT_NE(0, zulCLBLstAdd(&list, nullptr));
    EXPECT_EQ(0, list.count);
}

TEST(host_list_test, element_record_starts_after_the_node_header)
{
    element a = {{}, 99};
    EXPECT_EQ(sizeof(NODE), offsetof(element, value));
    EXPECT_EQ(2 * sizeof(NODE*), sizeof(NODE));
    LIST list = {};
    zulCLBLstAdd(&list, &a.node);
    NODE* node = zulCLBLstNth(&list, 1);
    EXPECT_EQ(99, *reinterpret_cast<int*>(reinterpret_cast<char*>(node) + sizeof(NODE)));
}

}  // namespace
