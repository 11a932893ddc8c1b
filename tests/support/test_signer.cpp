#include "test_signer.h"

#include "temp_dir.h"

#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/pem.h>

#include <memory>
#include <stdexcept>

namespace norvane_test {

const char* const RFC8032_TEST1_SECRET_HEX =
    "9d61b19deffd5a60ba844af492ec2cc44449c5697b326919703bac031cae7f60";
const char* const RFC8032_TEST2_SECRET_HEX =
    "4ccd089b28ff96da9db6c346ec114e0f5b8a319f35aba624da8cf6ed4fb8a6fb";

namespace {

std::string bio_text_(BIO* bio)
{
    char* data = nullptr;
    const long size = BIO_get_mem_data(bio, &data);
    return std::string(data, static_cast<size_t>(size));
}

}  // namespace

std::string bytes_from_hex(const std::string& hex)
{
    std::string bytes;
    for (size_t i = 0; i + 1 < hex.size(); i += 2) {
        bytes += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
    }
    return bytes;
}

std::string public_pem_from_raw(const std::string& raw_public_key)
{
    // SEQUENCE { SEQUENCE { OID 1.3.101.112 (id-Ed25519) } BIT STRING (key) }
    const std::string der = bytes_from_hex("302a300506032b6570032100") + raw_public_key;
    std::string base64(4 * ((der.size() + 2) / 3) + 1, '\0');
    const int size = EVP_EncodeBlock(reinterpret_cast<unsigned char*>(&base64[0]),
                                     reinterpret_cast<const unsigned char*>(der.data()),
                                     static_cast<int>(der.size()));
    base64.resize(static_cast<size_t>(size));
    std::string pem = "-----BEGIN PUBLIC KEY-----\n";
    for (size_t i = 0; i < base64.size(); i += 64) {
        pem += base64.substr(i, 64) + "\n";
    }
    return pem + "-----END PUBLIC KEY-----\n";
}

test_signer::test_signer(const std::string& secret_hex)
{
    const std::string seed = bytes_from_hex(secret_hex);
    key_ = EVP_PKEY_new_raw_private_key(EVP_PKEY_ED25519, nullptr,
                                        reinterpret_cast<const unsigned char*>(seed.data()),
                                        seed.size());
    if (key_ == nullptr) {
        throw std::runtime_error("test_signer: bad seed");
    }
}

test_signer::~test_signer()
{
    EVP_PKEY_free(key_);
}

std::string test_signer::sign(const std::string& message) const
{
    EVP_MD_CTX* context = EVP_MD_CTX_new();
    unsigned char signature[64];
    size_t size = sizeof signature;
    const bool signed_ok =
        context != nullptr &&
        EVP_DigestSignInit(context, nullptr, nullptr, nullptr, key_) == 1 &&
        EVP_DigestSign(context, signature, &size,
                       reinterpret_cast<const unsigned char*>(message.data()), message.size()) == 1;
    EVP_MD_CTX_free(context);
    if (!signed_ok) {
        throw std::runtime_error("test_signer: signing failed");
    }
    return std::string(reinterpret_cast<const char*>(signature), size);
}

std::string test_signer::public_pem() const
{
    std::unique_ptr<BIO, int (*)(BIO*)> bio(BIO_new(BIO_s_mem()), BIO_free);
    PEM_write_bio_PUBKEY(bio.get(), key_);
    return bio_text_(bio.get());
}

std::string test_signer::private_pem() const
{
    std::unique_ptr<BIO, int (*)(BIO*)> bio(BIO_new(BIO_s_mem()), BIO_free);
    PEM_write_bio_PrivateKey(bio.get(), key_, nullptr, nullptr, 0, nullptr, nullptr);
    return bio_text_(bio.get());
}

std::string sha256_hex(const std::string& bytes)
{
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int size = 0;
    EVP_Digest(bytes.data(), bytes.size(), digest, &size, EVP_sha256(), nullptr);
    static const char digits[] = "0123456789abcdef";
    std::string hex;
    for (unsigned int i = 0; i < size; ++i) {
        hex += digits[digest[i] >> 4];
        hex += digits[digest[i] & 0x0F];
    }
    return hex;
}

std::string manifest_of(const std::string& folder, const std::vector<std::string>& names)
{
    std::string manifest;
    for (const std::string& name : names) {
        manifest += sha256_hex(read_file_bytes(folder + "/" + name)) + "  " + name + "\n";
    }
    return manifest;
}

}  // namespace norvane_test
