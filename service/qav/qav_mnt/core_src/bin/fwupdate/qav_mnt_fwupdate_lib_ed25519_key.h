// One trusted Ed25519 public key, held by OpenSSL and used through its EVP
// interface: read from the text of a PEM file ("-----BEGIN PUBLIC KEY-----",
// one key per file), it verifies signatures and names itself by a
// fingerprint. Movable, not copyable; without a key it verifies nothing.
#ifndef NORVANE_QAV_MNT_FWUPDATE_LIB_ED25519_KEY_H
#define NORVANE_QAV_MNT_FWUPDATE_LIB_ED25519_KEY_H

#include <openssl/types.h>

#include <cstddef>
#include <string>

namespace norvane {

class qav_mnt_fwupdate_lib_ed25519_key {
public:
    static constexpr size_t SIGNATURE_SIZE = 64;
    // A key file is a few hundred bytes; anything much larger is not one.
    static constexpr size_t MAX_PEM_FILE_SIZE = size_t{16} * 1024;

    qav_mnt_fwupdate_lib_ed25519_key();
    ~qav_mnt_fwupdate_lib_ed25519_key();
    qav_mnt_fwupdate_lib_ed25519_key(qav_mnt_fwupdate_lib_ed25519_key&& other) noexcept;
    qav_mnt_fwupdate_lib_ed25519_key& operator=(qav_mnt_fwupdate_lib_ed25519_key&& other) noexcept;
    qav_mnt_fwupdate_lib_ed25519_key(const qav_mnt_fwupdate_lib_ed25519_key&) = delete;
    qav_mnt_fwupdate_lib_ed25519_key& operator=(const qav_mnt_fwupdate_lib_ed25519_key&) = delete;

    // Takes the public key of a PEM file's text. 0, or 1 with reason saying
    // what is wrong with the text (the key held before is dropped either way).
    int read_public_pem(const std::string& text, std::string& reason);

    // 0 when signature is a valid Ed25519 signature of message under this
    // key; 1 otherwise, also when no key is loaded.
    int verify(const std::string& message, const std::string& signature) const;

    // hex = the SHA-256 of the key's DER SubjectPublicKeyInfo, the digest that
    // "openssl pkey -pubin -outform DER | sha256sum" prints. 0, or 1 when no
    // key is loaded.
    int fingerprint(std::string& hex) const;

    bool loaded() const { return key_ != nullptr; }

private:
    void release_();

    EVP_PKEY* key_;
};

}  // namespace norvane

#endif
