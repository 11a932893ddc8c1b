#include "qav_mnt_fwupdate_lib_ed25519_key.h"

#include <memory>
#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include "qav_mnt_fwupdate_lib_sha256.h"

namespace norvane {

namespace {

struct bio_free {
    void operator()(BIO* bio) const { BIO_free(bio); }
};
struct md_context_free {
    void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
};

// Public key files are never encrypted: a pass phrase is never asked for.
int no_pass_phrase_(char*, int, int, void*)
{
    return 0;
}

}  // namespace

qav_mnt_fwupdate_lib_ed25519_key::qav_mnt_fwupdate_lib_ed25519_key() : key_(nullptr) {}

qav_mnt_fwupdate_lib_ed25519_key::~qav_mnt_fwupdate_lib_ed25519_key()
{
    release_();
}

qav_mnt_fwupdate_lib_ed25519_key::qav_mnt_fwupdate_lib_ed25519_key(
    qav_mnt_fwupdate_lib_ed25519_key&& other) noexcept
    : key_(other.key_)
{
    other.key_ = nullptr;
}

qav_mnt_fwupdate_lib_ed25519_key& qav_mnt_fwupdate_lib_ed25519_key::operator=(
    qav_mnt_fwupdate_lib_ed25519_key&& other) noexcept
{
    if (this != &other) {
        release_();
        key_ = other.key_;
        other.key_ = nullptr;
    }
    return *this;
}

int qav_mnt_fwupdate_lib_ed25519_key::read_public_pem(const std::string& text, std::string& reason)
{
    release_();
    std::unique_ptr<BIO, bio_free> bio(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())));
    if (!bio) {
        reason = "cannot be read into OpenSSL";
        return 1;
    }
    EVP_PKEY* key = PEM_read_bio_PUBKEY(bio.get(), nullptr, no_pass_phrase_, nullptr);
    if (key == nullptr) {
        ERR_clear_error();
        reason = "holds no PEM public key";
        return 1;
    }
    if (EVP_PKEY_is_a(key, "ED25519") != 1) {
        EVP_PKEY_free(key);
        reason = "is not an Ed25519 key";
        return 1;
    }
    // What follows the key must not be another key that would be ignored.
    char rest[256];
    std::string remainder;
    int got = 0;
    while ((got = BIO_read(bio.get(), rest, sizeof rest)) > 0) {
        remainder.append(rest, static_cast<size_t>(got));
    }
    if (remainder.find("-----BEGIN") != std::string::npos) {
        EVP_PKEY_free(key);
        reason = "holds more than one PEM block";
        return 1;
    }
    key_ = key;
    return 0;
}

int qav_mnt_fwupdate_lib_ed25519_key::verify(const std::string& message,
                                             const std::string& signature) const
{
    if (key_ == nullptr || signature.size() != SIGNATURE_SIZE) {
        return 1;
    }
    std::unique_ptr<EVP_MD_CTX, md_context_free> context(EVP_MD_CTX_new());
    // Ed25519 hashes the message itself: no digest is named.
    if (!context || EVP_DigestVerifyInit(context.get(), nullptr, nullptr, nullptr, key_) != 1) {
        return 1;
    }
    const int valid = EVP_DigestVerify(context.get(),
                                       reinterpret_cast<const unsigned char*>(signature.data()),
                                       signature.size(),
                                       reinterpret_cast<const unsigned char*>(message.data()),
                                       message.size());
    if (valid != 1) {
        // A refusal leaves its reason on OpenSSL's queue; nothing reads it.
        ERR_clear_error();
        return 1;
    }
    return 0;
}

int qav_mnt_fwupdate_lib_ed25519_key::fingerprint(std::string& hex) const
{
    if (key_ == nullptr) {
        return 1;
    }
    unsigned char* der = nullptr;
    const int size = i2d_PUBKEY(key_, &der);
    if (size <= 0) {
        return 1;
    }
    const int result = qav_mnt_fwupdate_lib_sha256().hash_bytes(der, static_cast<size_t>(size), hex);
    OPENSSL_free(der);
    return result;
}

void qav_mnt_fwupdate_lib_ed25519_key::release_()
{
    EVP_PKEY_free(key_);
    key_ = nullptr;
}

}  // namespace norvane
