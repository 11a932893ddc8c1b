#include "qav_mnt_fwupdate_lib_verify_file_info.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <string>
#include <vector>

#include "qav_mnt_fwupdate_lib_util_test_support.h"

namespace {

using norvane::asc;
using norvane::verify_file_info;
using norvane_test::make_info;
using norvane_test::names_of;

TEST(verify_file_info, DefaultConstructedRecordHasEmptyStringsAndSizeZero)
{
    // Built in memory full of ones, so that a size the constructor left
    // alone could not read as 0 by luck.
    alignas(verify_file_info) unsigned char memory[sizeof(verify_file_info)];
    std::memset(memory, 0xFF, sizeof(memory));
    verify_file_info* info = new (memory) verify_file_info;
    EXPECT_EQ(info->file_name, "");
    EXPECT_EQ(info->check_sum, "");
    EXPECT_EQ(info->file_size, 0);
    info->~verify_file_info();
}

TEST(verify_file_info, CopyConstructionCopiesAllThreeFields)
{
    const verify_file_info original = make_info("a.bin", 100, "12345");
    verify_file_info copy(original);
    EXPECT_EQ(copy.file_name, "a.bin");
    EXPECT_EQ(copy.file_size, 100);
    EXPECT_EQ(copy.check_sum, "12345");
}

TEST(verify_file_info, CopyAssignmentReplacesAllThreeFields)
{
    verify_file_info target = make_info("old.bin", 1, "00001");
    target = make_info("new.bin", -7, "54321");
    EXPECT_EQ(target.file_name, "new.bin");
    EXPECT_EQ(target.file_size, -7);
    EXPECT_EQ(target.check_sum, "54321");
}

TEST(asc, EarlierNameSortsFirst)
{
    EXPECT_EQ(asc(make_info("a.bin", 0, ""), make_info("b.bin", 0, "")), 1);
    EXPECT_EQ(asc(make_info("b.bin", 0, ""), make_info("a.bin", 0, "")), 0);
}

TEST(asc, EqualNamesAreEquivalentWhateverSizeAndChecksum)
{
    const verify_file_info small = make_info("a.bin", 1, "00001");
    const verify_file_info large = make_info("a.bin", 999, "99999");
    EXPECT_EQ(asc(small, large), 0);
    EXPECT_EQ(asc(large, small), 0);
}

TEST(asc, ShorterPrefixSortsFirst)
{
    EXPECT_EQ(asc(make_info("a", 0, ""), make_info("ab", 0, "")), 1);
    EXPECT_EQ(asc(make_info("ab", 0, ""), make_info("a", 0, "")), 0);
    EXPECT_EQ(asc(make_info("", 0, ""), make_info("a", 0, "")), 1);
}

TEST(asc, ComparesBytesAsUnsigned)
{
    // 0xE9 is above 'z' as an unsigned byte (it would be negative as signed).
    const verify_file_info high = make_info("\xE9t\xE9.bin", 0, "");
    const verify_file_info z = make_info("z.bin", 0, "");
    EXPECT_EQ(asc(z, high), 1);
    EXPECT_EQ(asc(high, z), 0);
}

TEST(asc, IsCaseSensitiveWithUpperCaseFirst)
{
    EXPECT_EQ(asc(make_info("A.bin", 0, ""), make_info("a.bin", 0, "")), 1);
    EXPECT_EQ(asc(make_info("a.bin", 0, ""), make_info("A.bin", 0, "")), 0);
    EXPECT_EQ(asc(make_info("Z.bin", 0, ""), make_info("a.bin", 0, "")), 1);
}

TEST(asc, SortsAListBytewiseWithPrefixesFirst)
{
    std::vector<verify_file_info> list = {
        make_info("b", 0, ""),  make_info("ab", 0, ""), make_info("\xC3\xA9", 0, ""),
        make_info("a", 0, ""),  make_info("B", 0, ""),  make_info("a.bin", 0, ""),
        make_info("_x", 0, ""), make_info("1", 0, ""),
    };
    std::sort(list.begin(), list.end(), asc);
    const std::vector<std::string> expected = {"1", "B", "_x", "a", "a.bin", "ab", "b", "\xC3\xA9"};
    EXPECT_EQ(names_of(list), expected);
}

}  // namespace
