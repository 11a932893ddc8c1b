// SHA-256 through the EVP wrapper: the published example digests of FIPS
// 180-2, files across block boundaries against the real sha256sum, and the
// files that cannot be hashed.
#include "qav_mnt_fwupdate_lib_sha256.h"

#include "temp_dir.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <sys/stat.h>

namespace {

using norvane::qav_mnt_fwupdate_lib_sha256;

const char* const ABC_DIGEST = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";
const char* const EMPTY_DIGEST = "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855";
const char* const TWO_BLOCK_MESSAGE = "abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq";
const char* const TWO_BLOCK_DIGEST =
    "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1";
const char* const MILLION_A_DIGEST =
    "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0";

// The first field of "sha256sum FILE".
std::string sha256sum_of(const std::string& path)
{
    FILE* pipe = ::popen(("sha256sum '" + path + "'").c_str(), "r");
    char line[256] = {};
    const bool read = pipe != nullptr && std::fgets(line, sizeof line, pipe) != nullptr;
    if (pipe != nullptr) {
        ::pclose(pipe);
    }
    return read ? std::string(line).substr(0, 64) : "";
}

TEST(qav_mnt_fwupdate_lib_sha256, published_digests_of_bytes)
{
    qav_mnt_fwupdate_lib_sha256 sha256;
    std::string hex;
    ASSERT_EQ(0, sha256.hash_bytes("abc", 3, hex));
    EXPECT_EQ(ABC_DIGEST, hex);
    ASSERT_EQ(0, sha256.hash_bytes("", 0, hex));
    EXPECT_EQ(EMPTY_DIGEST, hex);
    ASSERT_EQ(0, sha256.hash_bytes(TWO_BLOCK_MESSAGE, 56, hex));
    EXPECT_EQ(TWO_BLOCK_DIGEST, hex);
}

TEST(qav_mnt_fwupdate_lib_sha256, published_digests_of_files)
{
    norvane_test::temp_dir dir;
    qav_mnt_fwupdate_lib_sha256 sha256;
    std::string hex;
    ASSERT_EQ(0, sha256.hash_file(dir.write_file("abc", "abc"), hex));
    EXPECT_EQ(ABC_DIGEST, hex);
    ASSERT_EQ(0, sha256.hash_file(dir.write_file("empty", ""), hex));
    EXPECT_EQ(EMPTY_DIGEST, hex);
    // 1,000,000 bytes: fifteen whole blocks and a part.
    ASSERT_EQ(0, sha256.hash_file(dir.write_file("million", std::string(1000000, 'a')), hex));
    EXPECT_EQ(MILLION_A_DIGEST, hex);
}

TEST(qav_mnt_fwupdate_lib_sha256, files_around_the_block_size_hash_as_sha256sum_does)
{
    norvane_test::temp_dir dir;
    qav_mnt_fwupdate_lib_sha256 sha256;
    const size_t block = qav_mnt_fwupdate_lib_sha256::BLOCK_SIZE;
    for (size_t size : {block - 1, block, block + 1, 3 * block}) {
        std::string bytes(size, '\0');
        for (size_t i = 0; i < size; ++i) {
            bytes[i] = static_cast<char>((i * 131) % 251);
        }
        const std::string path = dir.write_file("f" + std::to_string(size), bytes);
        std::string hex;
        ASSERT_EQ(0, sha256.hash_file(path, hex));
        EXPECT_EQ(sha256sum_of(path), hex) << size << " bytes";
    }
}

TEST(qav_mnt_fwupdate_lib_sha256, missing_file_fails_and_leaves_the_digest)
{
    norvane_test::temp_dir dir;
    std::string hex = "untouched";
    EXPECT_EQ(1, qav_mnt_fwupdate_lib_sha256().hash_file(dir.file("nothing"), hex));
    EXPECT_EQ("untouched", hex);
}

TEST(qav_mnt_fwupdate_lib_sha256, folder_cannot_be_read_and_fails)
{
    norvane_test::temp_dir dir;
    std::string hex = "untouched";
    EXPECT_EQ(1, qav_mnt_fwupdate_lib_sha256().hash_file(dir.path(), hex));
    EXPECT_EQ("untouched", hex);
}

}  // namespace
