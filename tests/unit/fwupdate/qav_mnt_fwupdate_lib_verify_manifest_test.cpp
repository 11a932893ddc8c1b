// The manifest reader against what sha256sum writes and against hostile
// manifests: each refusal names its line and its reason, and leaves the
// entries as they were.
#include "qav_mnt_fwupdate_lib_verify_manifest.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

namespace {

using norvane::manifest_entry;
using norvane::qav_mnt_fwupdate_lib_verify_manifest;

const std::string HASH_A = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";
const std::string HASH_B = "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855";

std::string line_of(const std::string& hash, const std::string& name)
{
    return hash + "  " + name + "\n";
}

struct read_result {
    int ret;
    int line;
    std::string reason;
    std::vector<manifest_entry> entries;
};

read_result read(const std::string& text)
{
    // Entries from before the call, to see that a refusal leaves them.
    read_result result{-1, -1, "", {{"before", HASH_A}}};
    result.ret = qav_mnt_fwupdate_lib_verify_manifest().read(text, result.entries, result.line,
                                                             result.reason);
    return result;
}

void expect_refused(const std::string& text, int line, const std::string& reason)
{
    const read_result result = read(text);
    EXPECT_EQ(1, result.ret);
    EXPECT_EQ(line, result.line);
    EXPECT_EQ(reason, result.reason);
    ASSERT_EQ(1u, result.entries.size());
    EXPECT_EQ("before", result.entries[0].file_name);
}

TEST(qav_mnt_fwupdate_lib_verify_manifest, sha256sum_lines_are_read_in_order)
{
    const read_result result =
        read(line_of(HASH_A, "FW_package.xml") + line_of(HASH_B, "a.bin") +
             line_of(HASH_A, "b file with spaces.bin"));
    ASSERT_EQ(0, result.ret);
    ASSERT_EQ(3u, result.entries.size());
    EXPECT_EQ("FW_package.xml", result.entries[0].file_name);
    EXPECT_EQ(HASH_A, result.entries[0].sha256);
    EXPECT_EQ("a.bin", result.entries[1].file_name);
    EXPECT_EQ(HASH_B, result.entries[1].sha256);
    EXPECT_EQ("b file with spaces.bin", result.entries[2].file_name);
}

TEST(qav_mnt_fwupdate_lib_verify_manifest, what_sha256sum_writes_is_read)
{
    char folder[] = "/tmp/norvane-manifest-XXXXXX";
    ASSERT_NE(nullptr, ::mkdtemp(folder));
    const std::string command = std::string("cd ") + folder +
                                " && printf abc > a.bin && printf '' > b.bin && "
                                "LC_ALL=C sha256sum -- * && rm -f a.bin b.bin";
    FILE* pipe = ::popen(command.c_str(), "r");
    ASSERT_NE(nullptr, pipe);
    std::string text;
    char buffer[256];
    while (std::fgets(buffer, sizeof buffer, pipe) != nullptr) {
        text += buffer;
    }
    ::pclose(pipe);
    ::rmdir(folder);

    EXPECT_EQ(line_of(HASH_A, "a.bin") + line_of(HASH_B, "b.bin"), text);
    EXPECT_EQ(0, read(text).ret);
}

TEST(qav_mnt_fwupdate_lib_verify_manifest, empty_manifest_is_refused)
{
    expect_refused("", 0, "the manifest is empty");
}

TEST(qav_mnt_fwupdate_lib_verify_manifest, empty_line_is_refused)
{
    expect_refused("\n", 1, "the hash is not 64 hex digits");
}

TEST(qav_mnt_fwupdate_lib_verify_manifest, crlf_line_ends_are_refused)
{
    expect_refused(line_of(HASH_A, "a.bin") + HASH_B + "  b.bin\r\n", 2,
                   "the line ends in a carriage return (CRLF line ends)");
}

TEST(qav_mnt_fwupdate_lib_verify_manifest, missing_final_line_feed_is_refused)
{
    expect_refused(line_of(HASH_A, "a.bin") + HASH_B + "  b.bin", 2,
                   "the last line does not end in a line feed");
}

TEST(qav_mnt_fwupdate_lib_verify_manifest, upper_case_hex_is_refused)
{
    std::string upper = HASH_A;
    upper[10] = 'F';
    expect_refused(line_of(upper, "a.bin"), 1, "the hash has upper-case hex digits");
}

TEST(qav_mnt_fwupdate_lib_verify_manifest, short_hex_is_refused)
{
    expect_refused(line_of(HASH_A.substr(0, 63), "a.bin"), 1, "the hash is not 64 hex digits");
}

TEST(qav_mnt_fwupdate_lib_verify_manifest, long_hex_is_refused)
{
    expect_refused(line_of(HASH_A + "0", "a.bin"), 1, "the hash is not 64 hex digits");
}

TEST(qav_mnt_fwupdate_lib_verify_manifest, binary_mode_marker_is_refused)
{
    // sha256sum -b writes " *name".
    expect_refused(HASH_A + " *a.bin\n", 1, "the hash is not followed by two spaces");
}

TEST(qav_mnt_fwupdate_lib_verify_manifest, escaped_line_is_refused)
{
    // sha256sum escapes a name with a backslash or line feed and starts the
    // line with a backslash.
    expect_refused("\\" + line_of(HASH_A, "a\\\\b"), 1, "the hash is not 64 hex digits");
}

TEST(qav_mnt_fwupdate_lib_verify_manifest, slash_in_a_name_is_refused)
{
    expect_refused(line_of(HASH_A, "sub/a.bin"), 1, "the name holds a '/'");
    expect_refused(line_of(HASH_A, "../a.bin"), 1, "the name holds a '/'");
    expect_refused(line_of(HASH_A, "/etc/passwd"), 1, "the name holds a '/'");
}

TEST(qav_mnt_fwupdate_lib_verify_manifest, dot_names_are_refused)
{
    expect_refused(line_of(HASH_A, ".."), 1, "the name is \".\" or \"..\"");
    expect_refused(line_of(HASH_A, "."), 1, "the name is \".\" or \"..\"");
}

TEST(qav_mnt_fwupdate_lib_verify_manifest, dots_inside_a_plain_name_are_a_name)
{
    const read_result result = read(line_of(HASH_A, "..a") + line_of(HASH_B, "a..b"));
    ASSERT_EQ(0, result.ret);
    EXPECT_EQ("..a", result.entries[0].file_name);
    EXPECT_EQ("a..b", result.entries[1].file_name);
}

TEST(qav_mnt_fwupdate_lib_verify_manifest, empty_name_is_refused)
{
    expect_refused(line_of(HASH_A, ""), 1, "the name is empty");
}

TEST(qav_mnt_fwupdate_lib_verify_manifest, backslash_in_a_name_is_refused)
{
    expect_refused(line_of(HASH_A, "a\\b"), 1, "the name holds a backslash");
}

TEST(qav_mnt_fwupdate_lib_verify_manifest, control_character_in_a_name_is_refused)
{
    expect_refused(line_of(HASH_A, "a\tb"), 1, "the name holds a control character");
    expect_refused(line_of(HASH_A, "a\x7f"), 1, "the name holds a control character");
}

TEST(qav_mnt_fwupdate_lib_verify_manifest, duplicate_names_are_refused)
{
    expect_refused(line_of(HASH_A, "a.bin") + line_of(HASH_B, "a.bin"), 2,
                   "the name a.bin is listed twice");
    expect_refused(line_of(HASH_A, "a.bin") + line_of(HASH_B, "b.bin") + line_of(HASH_B, "a.bin"), 3,
                   "the name a.bin is listed twice");
}

TEST(qav_mnt_fwupdate_lib_verify_manifest, unsorted_names_are_refused)
{
    expect_refused(line_of(HASH_A, "b.bin") + line_of(HASH_B, "a.bin"), 2,
                   "the names are not sorted: a.bin follows b.bin");
    // Bytewise: upper case sorts before lower case, as with LC_ALL=C.
    expect_refused(line_of(HASH_A, "a.bin") + line_of(HASH_B, "FW_package.xml"), 2,
                   "the names are not sorted: FW_package.xml follows a.bin");
}

TEST(qav_mnt_fwupdate_lib_verify_manifest, ten_thousand_lines_are_read)
{
    std::string text;
    for (int i = 0; i < 10000; ++i) {
        char name[32];
        std::snprintf(name, sizeof name, "file_%05d.bin", i);
        text += line_of(i % 2 == 0 ? HASH_A : HASH_B, name);
    }
    const read_result result = read(text);
    ASSERT_EQ(0, result.ret);
    ASSERT_EQ(10000u, result.entries.size());
    EXPECT_EQ("file_00000.bin", result.entries.front().file_name);
    EXPECT_EQ("file_09999.bin", result.entries.back().file_name);
    EXPECT_EQ(HASH_B, result.entries.back().sha256);
}

TEST(qav_mnt_fwupdate_lib_verify_manifest, name_of_255_bytes_is_read_and_256_refused)
{
    EXPECT_EQ(0, read(line_of(HASH_A, std::string(255, 'n'))).ret);
    expect_refused(line_of(HASH_A, std::string(256, 'n')), 1, "the name is longer than 255 bytes");
}

TEST(qav_mnt_fwupdate_lib_verify_manifest, line_of_one_mebibyte_is_refused)
{
    const std::string name(1024 * 1024 - 67, 'n');
    const std::string line = line_of(HASH_A, name);
    ASSERT_EQ(1024u * 1024u, line.size());
    expect_refused(line_of(HASH_B, "a.bin") + line, 2, "the name is longer than 255 bytes");
    expect_refused(std::string(1024 * 1024 - 1, 'a') + "\n", 1, "the hash is not 64 hex digits");
}

TEST(qav_mnt_fwupdate_lib_verify_manifest, nul_bytes_are_refused)
{
    expect_refused(line_of(HASH_A, std::string("a\0b", 3)), 1, "the name holds a NUL byte");
    std::string hash_with_nul = HASH_A;
    hash_with_nul[5] = '\0';
    expect_refused(line_of(hash_with_nul, "a.bin"), 1, "the hash is not 64 hex digits");
    expect_refused(line_of(HASH_A, "a.bin") + std::string("\0", 1), 2,
                   "the last line does not end in a line feed");
}

}  // namespace
