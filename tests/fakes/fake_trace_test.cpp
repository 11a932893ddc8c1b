// The fake trace keeps formatted lines with their channel.
#include "fake_trace.h"

#include <gtest/gtest.h>

#include "gen_trace.h"

using norvane_fake::fake_trace;

TEST(fake_trace, keeps_each_formatted_line_with_its_channel)
{
    fake_trace::reset();
    zulGENTrcPrintf(0x3002, 0x102, 0, "[XML][IMP    ]value [%d]", 7);
    std::vector<norvane_fake::fake_trace_line> lines = fake_trace::lines();
    ASSERT_EQ(1u, lines.size());
    EXPECT_EQ(0x3002u, lines[0].category);
    EXPECT_EQ(0x102u, lines[0].level);
    EXPECT_EQ(0u, lines[0].flag);
    EXPECT_EQ("[XML][IMP    ]value [7]", lines[0].text);
    fake_trace::reset();
    EXPECT_TRUE(fake_trace::texts().empty());
}
