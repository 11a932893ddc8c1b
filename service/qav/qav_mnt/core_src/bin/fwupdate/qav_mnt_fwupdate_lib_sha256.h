// SHA-256 digests through OpenSSL's EVP interface, as lower-case hex (the
// form sha256sum prints). A file is read in blocks of BLOCK_SIZE bytes, so
// the memory used does not grow with the file's size. Created on the
// caller's stack; it fetches the algorithm and its block buffer once, so
// that hashing many small files costs little more than reading them.
#ifndef NORVANE_QAV_MNT_FWUPDATE_LIB_SHA256_H
#define NORVANE_QAV_MNT_FWUPDATE_LIB_SHA256_H

#include <openssl/types.h>

#include <cstddef>
#include <string>
#include <vector>

namespace norvane {

class qav_mnt_fwupdate_lib_sha256 {
public:
    static constexpr size_t BLOCK_SIZE = size_t{64} * 1024;
    static constexpr size_t HEX_SIZE = 64;

    qav_mnt_fwupdate_lib_sha256();
    ~qav_mnt_fwupdate_lib_sha256();
    qav_mnt_fwupdate_lib_sha256(const qav_mnt_fwupdate_lib_sha256&) = delete;
    qav_mnt_fwupdate_lib_sha256& operator=(const qav_mnt_fwupdate_lib_sha256&) = delete;

    // hex = the digest of the file's bytes. 0, or 1 when the file cannot be
    // opened or read (hex untouched).
    int hash_file(const std::string& path, std::string& hex);

    // hex = the digest of size bytes at data. 0, or 1 when OpenSSL fails.
    int hash_bytes(const void* data, size_t size, std::string& hex);

private:
    int final_hex_(std::string& hex);
    static std::string to_hex_(const unsigned char* digest, unsigned int size);

    EVP_MD* md_;
    EVP_MD_CTX* context_;
    std::vector<unsigned char> block_;
};

}  // namespace norvane

#endif
