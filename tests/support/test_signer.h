// Signs test manifests with an Ed25519 key made from a fixed seed, straight
// through OpenSSL, independently of the program's own code. The seeds are the
// secret keys of RFC 8032's test vectors, so the keys are known and stable.
#ifndef NORVANE_TESTS_TEST_SIGNER_H
#define NORVANE_TESTS_TEST_SIGNER_H

#include <openssl/types.h>

#include <string>
#include <vector>

namespace norvane_test {

// RFC 8032, section 7.1, TEST 1 and TEST 2: secret keys (seeds).
extern const char* const RFC8032_TEST1_SECRET_HEX;
extern const char* const RFC8032_TEST2_SECRET_HEX;

// Bytes of a hex text ("9d61b1..."); the text must be well formed.
std::string bytes_from_hex(const std::string& hex);

// The PEM public key file ("-----BEGIN PUBLIC KEY-----") of a raw 32-byte
// Ed25519 public key: RFC 8410's SubjectPublicKeyInfo, base64 in lines of 64.
std::string public_pem_from_raw(const std::string& raw_public_key);

class test_signer {
public:
    explicit test_signer(const std::string& secret_hex);
    ~test_signer();
    test_signer(const test_signer&) = delete;
    test_signer& operator=(const test_signer&) = delete;

    // The 64-byte signature of message.
    std::string sign(const std::string& message) const;
    // The key's public half as a PEM file's text.
    std::string public_pem() const;
    // The key as an unencrypted PKCS#8 PEM file's text ("BEGIN PRIVATE KEY").
    std::string private_pem() const;

private:
    EVP_PKEY* key_;
};

// The lines "<sha256>  <name>\n" that sha256sum prints for the named files
// of folder, in the order given, computed here through OpenSSL.
std::string manifest_of(const std::string& folder, const std::vector<std::string>& names);

// Lower-case hex SHA-256 of bytes, through OpenSSL.
std::string sha256_hex(const std::string& bytes);

}  // namespace norvane_test

#endif
