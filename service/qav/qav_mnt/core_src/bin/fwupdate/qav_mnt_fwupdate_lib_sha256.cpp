#include "qav_mnt_fwupdate_lib_sha256.h"

#include <cerrno>
#include <fcntl.h>
#include <memory>
#include <openssl/evp.h>
#include <unistd.h>
#include <vector>

namespace norvane {

namespace {

struct digest_context_free {
    void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
};
using digest_context = std::unique_ptr<EVP_MD_CTX, digest_context_free>;

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

qav_mnt_fwupdate_lib_sha256::qav_mnt_fwupdate_lib_sha256() {}

qav_mnt_fwupdate_lib_sha256::~qav_mnt_fwupdate_lib_sha256() {}

int qav_mnt_fwupdate_lib_sha256::hash_file(const std::string& path, std::string& hex)
{
    open_file file(path);
    digest_context context(EVP_MD_CTX_new());
    if (file.fd() < 0 || !context || EVP_DigestInit_ex(context.get(), EVP_sha256(), nullptr) != 1) {
        return 1;
    }
    std::vector<unsigned char> block(BLOCK_SIZE);
    for (;;) {
        const ssize_t got = ::read(file.fd(), block.data(), block.size());
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0) {
            return 1;
        }
        if (got == 0) {
            break;
        }
        if (EVP_DigestUpdate(context.get(), block.data(), static_cast<size_t>(got)) != 1) {
            return 1;
        }
    }
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int digest_size = 0;
    if (EVP_DigestFinal_ex(context.get(), digest, &digest_size) != 1) {
        return 1;
    }
    hex = to_hex_(digest, digest_size);
    return 0;
}

int qav_mnt_fwupdate_lib_sha256::hash_bytes(const void* data, size_t size, std::string& hex)
{
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int digest_size = 0;
    if (EVP_Digest(data, size, digest, &digest_size, EVP_sha256(), nullptr) != 1) {
        return 1;
    }
    hex = to_hex_(digest, digest_size);
    return 0;
}

std::string qav_mnt_fwupdate_lib_sha256::to_hex_(const unsigned char* digest, unsigned int size)
{
    static const char digits[] = "0123456789abcdef";
    std::string hex;
    hex.reserve(size * 2);
    for (unsigned int i = 0; i < size; ++i) {
        hex += digits[digest[i] >> 4];
        hex += digits[digest[i] & 0x0F];
    }
    return hex;
}

}  // namespace norvane
