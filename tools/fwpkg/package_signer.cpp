#include "package_signer.h"

#include "qav_mnt_fwupdate_lib_bounded_read.h"
#include "qav_mnt_fwupdate_lib_ed25519_key.h"
#include "qav_mnt_fwupdate_lib_sha256.h"
#include "qav_mnt_fwupdate_lib_verify_signature.h"

#include <openssl/bio.h>
#include <openssl/crypto.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace norvane_tools {

using namespace norvane;
namespace fs = std::filesystem;

namespace {

struct bio_free {
    void operator()(BIO* bio) const { BIO_free(bio); }
};
using memory_bio = std::unique_ptr<BIO, bio_free>;

struct pkey_free {
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
};

std::string bio_text(BIO* bio)
{
    char* data = nullptr;
    const long size = BIO_get_mem_data(bio, &data);
    return size > 0 ? std::string(data, static_cast<size_t>(size)) : std::string();
}

std::string public_pem(EVP_PKEY* key)
{
    memory_bio bio(BIO_new(BIO_s_mem()));
    if (!bio || PEM_write_bio_PUBKEY(bio.get(), key) != 1) {
        return "";
    }
    return bio_text(bio.get());
}

std::string private_pem(EVP_PKEY* key)
{
    memory_bio bio(BIO_new(BIO_s_mem()));
    if (!bio || PEM_write_bio_PrivateKey(bio.get(), key, nullptr, nullptr, 0, nullptr, nullptr) != 1) {
        return "";
    }
    return bio_text(bio.get());
}

// The device's own fingerprint of a public key's PEM text.
std::string fingerprint_of(const std::string& pem)
{
    qav_mnt_fwupdate_lib_ed25519_key key;
    std::string reason;
    std::string hex;
    if (key.read_public_pem(pem, reason) != 0 || key.fingerprint(hex) != 0) {
        return "";
    }
    return hex;
}

// Creates path with mode and writes text into it; refuses an existing file.
int write_new_file(const std::string& path, mode_t mode, const std::string& text, std::string& error)
{
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
    if (fd < 0) {
        error = "cannot create " + path + ": " + std::strerror(errno);
        return 1;
    }
    // The umask may only take permissions away; make the mode exact.
    bool written = ::fchmod(fd, mode) == 0;
    size_t done = 0;
    while (written && done < text.size()) {
        const ssize_t wrote = ::write(fd, text.data() + done, text.size() - done);
        written = wrote > 0;
        done += written ? static_cast<size_t>(wrote) : 0;
    }
    written = (::close(fd) == 0) && written;
    if (!written) {
        error = "cannot write " + path + ": " + std::strerror(errno);
        ::unlink(path.c_str());
        return 1;
    }
    return 0;
}

// Public key files are never encrypted: a pass phrase is never asked for.
int no_pass_phrase(char*, int, int, void*)
{
    return 0;
}

}  // namespace

int make_key_pair(const std::string& name, std::string& fingerprint, std::string& error)
{
    const std::string private_path = name + ".key.pem";
    const std::string public_path = name + ".pub.pem";
    std::error_code ignored;
    if (fs::exists(private_path, ignored) || fs::exists(public_path, ignored)) {
        error = "will not overwrite " + (fs::exists(private_path, ignored) ? private_path : public_path);
        return 1;
    }
    std::unique_ptr<EVP_PKEY, pkey_free> key(EVP_PKEY_Q_keygen(nullptr, nullptr, "ED25519"));
    std::string private_text = key ? private_pem(key.get()) : "";
    const std::string public_text = key ? public_pem(key.get()) : "";
    if (private_text.empty() || public_text.empty()) {
        error = "OpenSSL could not make an Ed25519 key";
        return 1;
    }
    int result = write_new_file(private_path, 0600, private_text, error);
    OPENSSL_cleanse(&private_text[0], private_text.size());
    if (result == 0 && write_new_file(public_path, 0644, public_text, error) != 0) {
        ::unlink(private_path.c_str());
        result = 1;
    }
    if (result != 0) {
        return 1;
    }
    fingerprint = fingerprint_of(public_text);
    return 0;
}

package_signer::package_signer() : key_(nullptr) {}

package_signer::~package_signer()
{
    EVP_PKEY_free(key_);
}

int package_signer::load_private_key(const std::string& path, std::string& error)
{
    EVP_PKEY_free(key_);
    key_ = nullptr;
    std::string text;
    std::string reason;
    const qav_mnt_fwupdate_lib_bounded_read::result read = qav_mnt_fwupdate_lib_bounded_read().read(
        path, qav_mnt_fwupdate_lib_ed25519_key::MAX_PEM_FILE_SIZE, text, reason);
    if (read != qav_mnt_fwupdate_lib_bounded_read::READ_OK) {
        error = "cannot read the key " + path + ": " +
                (read == qav_mnt_fwupdate_lib_bounded_read::READ_TOO_LARGE ? "too large for a key file" : reason);
        return 1;
    }
    memory_bio bio(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())));
    EVP_PKEY* key = bio ? PEM_read_bio_PrivateKey(bio.get(), nullptr, no_pass_phrase, nullptr) : nullptr;
    ERR_clear_error();
    if (key == nullptr || EVP_PKEY_is_a(key, "ED25519") != 1) {
        EVP_PKEY_free(key);
        error = path + " holds no unencrypted Ed25519 private key";
        return 1;
    }
    key_ = key;
    return 0;
}

int package_signer::sign_folder(const std::string& folder, std::string& error)
{
    if (key_ == nullptr) {
        error = "no signing key";
        return 1;
    }
    const std::string manifest_name = qav_mnt_fwupdate_lib_verify_signature::MANIFEST_NAME;
    const std::string signature_name = qav_mnt_fwupdate_lib_verify_signature::SIGNATURE_NAME;
    std::vector<std::string> names;
    std::error_code failure;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder, failure)) {
        const std::string name = entry.path().filename().string();
        if (name != manifest_name && name != signature_name) {
            names.push_back(name);
        }
    }
    if (failure) {
        error = "cannot list " + folder + ": " + failure.message();
        return 1;
    }
    // Bytewise order, as "LC_ALL=C sort" and the device's reader have it.
    std::sort(names.begin(), names.end());
    std::string manifest;
    qav_mnt_fwupdate_lib_sha256 sha256;
    for (const std::string& name : names) {
        std::string hex;
        if (sha256.hash_file(folder + "/" + name, hex) != 0) {
            error = "cannot hash " + name;
            return 1;
        }
        manifest += hex + "  " + name + "\n";
    }

    std::unique_ptr<EVP_MD_CTX, void (*)(EVP_MD_CTX*)> context(EVP_MD_CTX_new(), EVP_MD_CTX_free);
    unsigned char signature[qav_mnt_fwupdate_lib_ed25519_key::SIGNATURE_SIZE];
    size_t signature_size = sizeof signature;
    if (!context || EVP_DigestSignInit(context.get(), nullptr, nullptr, nullptr, key_) != 1 ||
        EVP_DigestSign(context.get(), signature, &signature_size,
                       reinterpret_cast<const unsigned char*>(manifest.data()), manifest.size()) != 1) {
        ERR_clear_error();
        error = "OpenSSL could not sign the manifest";
        return 1;
    }
    std::ofstream manifest_file(folder + "/" + manifest_name, std::ios::binary);
    manifest_file << manifest;
    manifest_file.close();
    std::ofstream signature_file(folder + "/" + signature_name, std::ios::binary);
    signature_file.write(reinterpret_cast<const char*>(signature),
                         static_cast<std::streamsize>(signature_size));
    signature_file.close();
    if (!manifest_file || !signature_file) {
        error = "cannot write the manifest and its signature into " + folder;
        return 1;
    }
    return 0;
}

std::string package_signer::fingerprint() const
{
    return key_ != nullptr ? fingerprint_of(public_pem(key_)) : "";
}

}  // namespace norvane_tools
