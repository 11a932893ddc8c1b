#include "qav_mnt_fwupdate_lib_sha256.h"

#include <cerrno>
#include <fcntl.h>
#include <openssl/evp.h>
#include <unistd.h>
#include <vector>

namespace norvane {

namespace {

// Closes the descriptor on every path out of hash_file.
class open_file {
public:
    explicit open_file(const std::string& path) : fd_(::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {}
    ~open_file()
    {
        if (fd_ >= 0) {
            ::close(fd_);
        }
    }
    open_file(const open_file&) = delete;
    open_file& operator=(const open_file&) = delete;
    int fd() const { return fd_; }

private:
    int fd_;
};

}  // namespace

qav_mnt_fwupdate_lib_sha256::qav_mnt_fwupdate_lib_sha256()
    : md_(EVP_MD_fetch(nullptr, "SHA256", nullptr)), context_(EVP_MD_CTX_new())
{
}

qav_mnt_fwupdate_lib_sha256::~qav_mnt_fwupdate_lib_sha256()
{
    EVP_MD_CTX_free(context_);
    EVP_MD_free(md_);
}

int qav_mnt_fwupdate_lib_sha256::hash_file(const std::string& path, std::string& hex)
{
    open_file file(path);
    if (file.fd() < 0 || md_ == nullptr || context_ == nullptr ||
        EVP_DigestInit_ex2(context_, md_, nullptr) != 1) {
        return 1;
    }
    block_.resize(BLOCK_SIZE);
    for (;;) {
        const ssize_t got = ::read(file.fd(), block_.data(), block_.size());
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0) {
            return 1;
        }
        if (got == 0) {
            break;
        }
        if (EVP_DigestUpdate(context_, block_.data(), static_cast<size_t>(got)) != 1) {
            return 1;
        }
    }
    return final_hex_(hex);
}

int qav_mnt_fwupdate_lib_sha256::hash_bytes(const void* data, size_t size, std::string& hex)
{
    if (md_ == nullptr || context_ == nullptr || EVP_DigestInit_ex2(context_, md_, nullptr) != 1 ||
        EVP_DigestUpdate(context_, data, size) != 1) {
        return 1;
    }
    return final_hex_(hex);
}

int qav_mnt_fwupdate_lib_sha256::final_hex_(std::string& hex)
{
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int digest_size = 0;
    if (EVP_DigestFinal_ex(context_, digest, &digest_size) != 1) {
        return 1;
    }
    hex = to_hex_(digest, digest_size);
    return 0;
}

std::string qav_mnt_fwupdate_lib_sha256::to_hex_(const unsigned char* digest, unsigned int size)
{
    static const char digits[] = "0123456789abcdef";
    std::string hex;
    hex.reserve(static_cast<size_t>(size) * 2);
    for (unsigned int i = 0; i < size; ++i) {
        hex += digits[digest[i] >> 4];
        hex += digits[digest[i] & 0x0F];
    }
    return hex;
}

}  // namespace norvane
