// The proof that a call is blocked: a thread asleep in a read of an empty
// pipe is seen asleep, one that returns at once never is.
#include "blocking_call.h"

#include <gtest/gtest.h>
#include <unistd.h>

namespace {

TEST(blocking_call, read_of_an_empty_pipe_is_asleep_until_a_byte_comes)
{
    int ends[2] = {-1, -1};
    ASSERT_EQ(0, ::pipe(ends));
    {
        norvane_test::blocking_call reader([&ends] {
            char byte = 0;
            return static_cast<int>(::read(ends[0], &byte, 1));
        });
        EXPECT_TRUE(reader.wait_until_asleep());
        EXPECT_FALSE(reader.returned());
        ASSERT_EQ(1, ::write(ends[1], "x", 1));
        int result = -1;
        EXPECT_TRUE(reader.wait_returned(5000, result));
        EXPECT_EQ(1, result);
    }
    ::close(ends[0]);
    ::close(ends[1]);
}

TEST(blocking_call, call_that_returns_at_once_is_never_asleep_in_it)
{
    norvane_test::blocking_call quick([] { return 7; });
    int result = -1;
    EXPECT_TRUE(quick.wait_returned(5000, result));
    EXPECT_EQ(7, result);
    EXPECT_FALSE(quick.wait_until_asleep(100));
}

TEST(blocking_call, this_thread_is_not_asleep_while_it_asks)
{
    EXPECT_FALSE(norvane_test::thread_asleep_in_kernel(norvane_test::current_thread_id()));
}

}  // namespace
