#include "qav_mnt_fwupdate_lib_trusted_keys.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <dirent.h>

#include "qav_mnt_fwupdate_lib_bounded_read.h"

namespace norvane {

namespace {

const char* const KEY_SUFFIX = ".pem";

bool is_key_file_name_(const std::string& name)
{
    const size_t suffix = std::strlen(KEY_SUFFIX);
    return name.size() >= suffix && name.compare(name.size() - suffix, suffix, KEY_SUFFIX) == 0;
}

}  // namespace

qav_mnt_fwupdate_lib_trusted_keys::qav_mnt_fwupdate_lib_trusted_keys() {}

qav_mnt_fwupdate_lib_trusted_keys::~qav_mnt_fwupdate_lib_trusted_keys() {}

void qav_mnt_fwupdate_lib_trusted_keys::load(const std::string& trust_folder_path)
{
    keys_.clear();
    paths_.clear();
    problems_.clear();
    if (trust_folder_path.empty()) {
        return;
    }
    DIR* dir = ::opendir(trust_folder_path.c_str());
    if (dir == nullptr) {
        // Only a folder that is not there means "no keys".
        if (errno != ENOENT) {
            problems_.push_back({true, trust_folder_path, std::strerror(errno)});
        }
        return;
    }
    std::vector<std::string> names;
    while (const struct dirent* entry = ::readdir(dir)) {
        if (is_key_file_name_(entry->d_name)) {
            names.push_back(entry->d_name);
        }
    }
    ::closedir(dir);
    std::sort(names.begin(), names.end());
    for (const std::string& name : names) {
        std::string path = trust_folder_path;
        path.append("/").append(name);
        load_key_file_(path);
    }
}

void qav_mnt_fwupdate_lib_trusted_keys::load_key_file_(const std::string& path)
{
    std::string text;
    std::string reason;
    const size_t limit = qav_mnt_fwupdate_lib_ed25519_key::MAX_PEM_FILE_SIZE;
    const qav_mnt_fwupdate_lib_bounded_read::result read =
        qav_mnt_fwupdate_lib_bounded_read().read(path, limit, text, reason);
    if (read == qav_mnt_fwupdate_lib_bounded_read::READ_TOO_LARGE) {
        reason = "larger than " + std::to_string(limit) + " bytes";
    }
    qav_mnt_fwupdate_lib_ed25519_key key;
    if (read != qav_mnt_fwupdate_lib_bounded_read::READ_OK || key.read_public_pem(text, reason) != 0) {
        problems_.push_back({false, path, reason});
        return;
    }
    keys_.push_back(std::move(key));
    paths_.push_back(path);
}

int qav_mnt_fwupdate_lib_trusted_keys::find_signer(const std::string& message,
                                                   const std::string& signature,
                                                   std::string& key_path) const
{
    for (size_t i = 0; i < keys_.size(); ++i) {
        if (keys_[i].verify(message, signature) == 0) {
            key_path = paths_[i];
            return 0;
        }
    }
    return 1;
}

int qav_mnt_fwupdate_lib_trusted_keys::fingerprint(const std::string& key_path,
                                                   std::string& hex) const
{
    for (size_t i = 0; i < keys_.size(); ++i) {
        if (paths_[i] == key_path) {
            return keys_[i].fingerprint(hex);
        }
    }
    return 1;
}

}  // namespace norvane
