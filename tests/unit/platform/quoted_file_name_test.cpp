// File names as the busybox front quotes them in its messages: known cases
// written out, and many generated names checked against the message of
// coreutils sum for the same missing file.
#include "quoted_file_name.h"

#include "command_output.h"

#include <gtest/gtest.h>

#include <clocale>
#include <random>
#include <string>

namespace {

using norvane::quoted_file_name;

// The quoted name in coreutils sum's message for a missing file of that name
// (run in the C locale), or "" when there is no such message.
std::string coreutils_quoting(const std::string& name)
{
    const std::string output =
        norvane_test::run_command("LC_ALL=C sum -- " + norvane_test::shell_word(name) + " 2>&1").out;
    const std::string prefix = "sum: ";
    const std::string suffix = ": No such file or directory\n";
    if (output.size() < prefix.size() + suffix.size()) {
        return "";
    }
    return output.substr(prefix.size(), output.size() - prefix.size() - suffix.size());
}

class quoted_file_name_test : public testing::Test {
protected:
    void SetUp() override { std::setlocale(LC_CTYPE, "C"); }
};

TEST_F(quoted_file_name_test, plain_names_stand_bare)
{
    EXPECT_EQ("firmware.bin", quoted_file_name("firmware.bin"));
    EXPECT_EQ("/tmp/fwupdate/update/a-b_c+d,e%f@g]h{i}", quoted_file_name("/tmp/fwupdate/update/a-b_c+d,e%f@g]h{i}"));
    EXPECT_EQ("a#b~c", quoted_file_name("a#b~c"));
}

TEST_F(quoted_file_name_test, shell_characters_and_colons_take_single_quotes)
{
    EXPECT_EQ("'a b'", quoted_file_name("a b"));
    EXPECT_EQ("'a:b'", quoted_file_name("a:b"));
    EXPECT_EQ("'~a'", quoted_file_name("~a"));
    EXPECT_EQ("'#a'", quoted_file_name("#a"));
    EXPECT_EQ("'{'", quoted_file_name("{"));
    EXPECT_EQ("'a\\b'", quoted_file_name("a\\b"));
    EXPECT_EQ("'a$b'", quoted_file_name("a$b"));
    EXPECT_EQ("''", quoted_file_name(""));
}

TEST_F(quoted_file_name_test, an_apostrophe_takes_double_quotes_when_nothing_else_needs_escaping)
{
    EXPECT_EQ("\"it's\"", quoted_file_name("it's"));
    EXPECT_EQ("\"a'b c\"", quoted_file_name("a'b c"));
    EXPECT_EQ("'a'\\''$b'", quoted_file_name("a'$b"));
}

TEST_F(quoted_file_name_test, unprintable_bytes_are_escaped_in_their_own_part)
{
    EXPECT_EQ("'a'$'\\t''b'", quoted_file_name("a\tb"));
    EXPECT_EQ("''$'\\n'", quoted_file_name("\n"));
    EXPECT_EQ("'a'$'\\177''b'", quoted_file_name("a\x7f" "b"));
    EXPECT_EQ("''$'\\303\\251'", quoted_file_name("\xc3\xa9"));
    EXPECT_EQ("'a'\\'''$'\\n''b'", quoted_file_name("a'\nb"));
}

TEST_F(quoted_file_name_test, printable_characters_of_a_utf8_locale_stand_as_they_are)
{
    if (std::setlocale(LC_CTYPE, "C.UTF-8") == nullptr) {
        GTEST_SKIP() << "no C.UTF-8 locale";
    }
    EXPECT_EQ("caf\xc3\xa9", quoted_file_name("caf\xc3\xa9"));
    EXPECT_EQ("'caf\xc3\xa9 x'", quoted_file_name("caf\xc3\xa9 x"));
    EXPECT_EQ("'a'$'\\200''b'", quoted_file_name("a\x80" "b"));
}

TEST_F(quoted_file_name_test, generated_names_are_quoted_as_coreutils_quotes_them)
{
    ASSERT_EQ("'a b'", coreutils_quoting("a b"));
    const std::string alphabet = "ab:'\" \\$!#~{}?*\t\n@%,-.=^`|[]()&;<>\x01\x7f\x80\xc3\xa9";
    std::mt19937 generator(20240611);
    std::uniform_int_distribution<size_t> length(1, 6);
    std::uniform_int_distribution<size_t> pick(0, alphabet.size() - 1);
    for (int round = 0; round < 300; ++round) {
        std::string name;
        const size_t size = length(generator);
        for (size_t index = 0; index < size; ++index) {
            name += alphabet[pick(generator)];
        }
        // In a folder that does not exist, so that every name is missing.
        const std::string path = "/no-such-folder/" + name;
        EXPECT_EQ(coreutils_quoting(path), quoted_file_name(path)) << "name of " << size << " bytes";
    }
}

}  // namespace
