// The Ed25519 key wrapper: RFC 8032's published test vectors (section 7.1,
// typed from the RFC) verify through it, and anything changed does not; PEM
// texts that are not one Ed25519 public key are refused with their reason.
#include "qav_mnt_fwupdate_lib_ed25519_key.h"

#include "test_signer.h"

#include <gtest/gtest.h>

#include <openssl/evp.h>
#include <openssl/pem.h>

#include <string>

namespace {

using norvane::qav_mnt_fwupdate_lib_ed25519_key;
using norvane_test::bytes_from_hex;
using norvane_test::public_pem_from_raw;

struct rfc8032_vector {
    const char* name;
    const char* public_key;
    const char* message;
    const char* signature;
};

// RFC 8032, section 7.1, TEST 1, TEST 2 and TEST 3.
const rfc8032_vector RFC8032_VECTORS[] = {
    {"test_1",
     "d75a980182b10ab7d54bfed3c964073a0ee172f3daa62325af021a68f707511a", "",
     "e5564300c360ac729086e2cc806e828a84877f1eb8e5d974d873e065224901555fb8821590a33bacc61e39701cf9"
     "b46bd25bf5f0595bbe24655141438e7a100b"},
    {"test_2",
     "3d4017c3e843895a92b70aa74d1b7ebc9c982ccf2ec4968cc0cd55f12af4660c", "72",
     "92a009a9f0d4cab8720e820b5f642540a2b27b5416503f8fb3762223ebdb69da085ac1e43e15996e458f3613d0f1"
     "1d8c387b2eaeb4302aeeb00d291612bb0c00"},
    {"test_3",
     "fc51cd8e6218a1a38da47ed00230f0580816ed13ba3303ac5deb911548908025", "af82",
     "6291d657deec24024827e69c3abe01a30ce548a284743a445e3680d7db5ac3ac18ff9b538d16f290ae67f760984d"
     "c6594a7c15e9716ed28dc027beceea1ec40a"},
};

qav_mnt_fwupdate_lib_ed25519_key key_of(const rfc8032_vector& vector)
{
    qav_mnt_fwupdate_lib_ed25519_key key;
    std::string reason;
    EXPECT_EQ(0, key.read_public_pem(public_pem_from_raw(bytes_from_hex(vector.public_key)), reason))
        << reason;
    return key;
}

class rfc8032_test : public testing::TestWithParam<rfc8032_vector> {};

TEST_P(rfc8032_test, published_signature_verifies)
{
    const rfc8032_vector& vector = GetParam();
    const qav_mnt_fwupdate_lib_ed25519_key key = key_of(vector);
    EXPECT_EQ(0, key.verify(bytes_from_hex(vector.message), bytes_from_hex(vector.signature)));
}

TEST_P(rfc8032_test, every_flipped_signature_bit_is_refused)
{
    const rfc8032_vector& vector = GetParam();
    const qav_mnt_fwupdate_lib_ed25519_key key = key_of(vector);
    const std::string message = bytes_from_hex(vector.message);
    const std::string signature = bytes_from_hex(vector.signature);
    for (size_t bit = 0; bit < signature.size() * 8; ++bit) {
        std::string flipped = signature;
        flipped[bit / 8] = static_cast<char>(flipped[bit / 8] ^ (1 << (bit % 8)));
        EXPECT_EQ(1, key.verify(message, flipped)) << "bit " << bit;
    }
}

TEST_P(rfc8032_test, changed_message_is_refused)
{
    const rfc8032_vector& vector = GetParam();
    const qav_mnt_fwupdate_lib_ed25519_key key = key_of(vector);
    EXPECT_EQ(1, key.verify(bytes_from_hex(vector.message) + "x", bytes_from_hex(vector.signature)));
}

TEST_P(rfc8032_test, signature_of_one_byte_more_or_less_is_refused)
{
    const rfc8032_vector& vector = GetParam();
    const qav_mnt_fwupdate_lib_ed25519_key key = key_of(vector);
    const std::string message = bytes_from_hex(vector.message);
    const std::string signature = bytes_from_hex(vector.signature);
    EXPECT_EQ(1, key.verify(message, signature.substr(0, 63)));
    EXPECT_EQ(1, key.verify(message, signature + std::string(1, '\0')));
}

INSTANTIATE_TEST_SUITE_P(qav_mnt_fwupdate_lib_ed25519_key, rfc8032_test,
                         testing::ValuesIn(RFC8032_VECTORS),
                         [](const testing::TestParamInfo<rfc8032_vector>& info) {
                             return std::string(info.param.name);
                         });

TEST(qav_mnt_fwupdate_lib_ed25519_key, signature_under_another_key_is_refused)
{
    const qav_mnt_fwupdate_lib_ed25519_key key = key_of(RFC8032_VECTORS[1]);
    // TEST 3's signature under TEST 2's key.
    EXPECT_EQ(1, key.verify(bytes_from_hex(RFC8032_VECTORS[2].message),
                            bytes_from_hex(RFC8032_VECTORS[2].signature)));
}

TEST(qav_mnt_fwupdate_lib_ed25519_key, without_a_key_nothing_verifies)
{
    const qav_mnt_fwupdate_lib_ed25519_key key;
    EXPECT_FALSE(key.loaded());
    EXPECT_EQ(1, key.verify("", bytes_from_hex(RFC8032_VECTORS[0].signature)));
    std::string fingerprint = "untouched";
    EXPECT_EQ(1, key.fingerprint(fingerprint));
    EXPECT_EQ("untouched", fingerprint);
}

TEST(qav_mnt_fwupdate_lib_ed25519_key, moved_key_verifies_and_leaves_the_source_empty)
{
    qav_mnt_fwupdate_lib_ed25519_key source = key_of(RFC8032_VECTORS[0]);
    qav_mnt_fwupdate_lib_ed25519_key moved(std::move(source));
    EXPECT_FALSE(source.loaded());
    EXPECT_EQ(0, moved.verify("", bytes_from_hex(RFC8032_VECTORS[0].signature)));
}

TEST(qav_mnt_fwupdate_lib_ed25519_key, fingerprint_is_the_sha256_of_the_der_public_key)
{
    const qav_mnt_fwupdate_lib_ed25519_key key = key_of(RFC8032_VECTORS[0]);
    std::string fingerprint;
    ASSERT_EQ(0, key.fingerprint(fingerprint));
    const std::string der =
        bytes_from_hex("302a300506032b6570032100") + bytes_from_hex(RFC8032_VECTORS[0].public_key);
    EXPECT_EQ(norvane_test::sha256_hex(der), fingerprint);
}

// PEM texts that must be refused, with the reason given.
void expect_refused(const std::string& text, const std::string& reason_wanted)
{
    qav_mnt_fwupdate_lib_ed25519_key key = key_of(RFC8032_VECTORS[0]);
    std::string reason;
    EXPECT_EQ(1, key.read_public_pem(text, reason));
    EXPECT_EQ(reason_wanted, reason);
    // The key held before is gone.
    EXPECT_FALSE(key.loaded());
}

TEST(qav_mnt_fwupdate_lib_ed25519_key, empty_text_is_refused)
{
    expect_refused("", "holds no PEM public key");
}

TEST(qav_mnt_fwupdate_lib_ed25519_key, text_without_pem_is_refused)
{
    expect_refused("d75a980182b10ab7d54bfed3c964073a0ee172f3daa62325af021a68f707511a\n",
                   "holds no PEM public key");
}

TEST(qav_mnt_fwupdate_lib_ed25519_key, private_key_is_refused)
{
    const norvane_test::test_signer signer(norvane_test::RFC8032_TEST1_SECRET_HEX);
    expect_refused(signer.private_pem(), "holds no PEM public key");
}

TEST(qav_mnt_fwupdate_lib_ed25519_key, truncated_pem_is_refused)
{
    const std::string pem = public_pem_from_raw(bytes_from_hex(RFC8032_VECTORS[0].public_key));
    expect_refused(pem.substr(0, pem.size() - 10), "holds no PEM public key");
}

TEST(qav_mnt_fwupdate_lib_ed25519_key, x25519_key_is_refused_as_not_ed25519)
{
    // The same 32 bytes under the X25519 algorithm (OID 1.3.101.110).
    const std::string der =
        bytes_from_hex("302a300506032b656e032100") + bytes_from_hex(RFC8032_VECTORS[0].public_key);
    const std::string ed25519_pem = public_pem_from_raw(bytes_from_hex(RFC8032_VECTORS[0].public_key));
    // Re-encode through OpenSSL: read the X25519 DER, write its PEM.
    const unsigned char* cursor = reinterpret_cast<const unsigned char*>(der.data());
    EVP_PKEY* x25519 = d2i_PUBKEY(nullptr, &cursor, static_cast<long>(der.size()));
    ASSERT_NE(nullptr, x25519);
    BIO* bio = BIO_new(BIO_s_mem());
    PEM_write_bio_PUBKEY(bio, x25519);
    char* data = nullptr;
    const long size = BIO_get_mem_data(bio, &data);
    const std::string pem(data, static_cast<size_t>(size));
    BIO_free(bio);
    EVP_PKEY_free(x25519);
    ASSERT_NE(ed25519_pem, pem);
    expect_refused(pem, "is not an Ed25519 key");
}

TEST(qav_mnt_fwupdate_lib_ed25519_key, two_keys_in_one_text_are_refused)
{
    const std::string first = public_pem_from_raw(bytes_from_hex(RFC8032_VECTORS[0].public_key));
    const std::string second = public_pem_from_raw(bytes_from_hex(RFC8032_VECTORS[1].public_key));
    expect_refused(first + second, "holds more than one PEM block");
}

TEST(qav_mnt_fwupdate_lib_ed25519_key, text_around_the_key_is_allowed)
{
    qav_mnt_fwupdate_lib_ed25519_key key;
    std::string reason;
    const std::string pem = public_pem_from_raw(bytes_from_hex(RFC8032_VECTORS[0].public_key));
    EXPECT_EQ(0, key.read_public_pem("release key 2024\n" + pem + "\n", reason)) << reason;
    EXPECT_EQ(0, key.verify("", bytes_from_hex(RFC8032_VECTORS[0].signature)));
}

}  // namespace
