// The keys a device trusts to sign packages: every "*.pem" file of the trust
// folder, read in name order. A folder that is not there holds no keys. A
// folder that cannot be read, or a key file that cannot be used, is kept as a
// problem for the caller to fail closed on: whoever provisioned a key meant
// the device to check signatures.
#ifndef NORVANE_QAV_MNT_FWUPDATE_LIB_TRUSTED_KEYS_H
#define NORVANE_QAV_MNT_FWUPDATE_LIB_TRUSTED_KEYS_H

#include <cstddef>
#include <string>
#include <vector>

#include "qav_mnt_fwupdate_lib_ed25519_key.h"

namespace norvane {

class qav_mnt_fwupdate_lib_trusted_keys {
public:
    struct problem {
        bool folder;         // the trust folder itself, else one key file
        std::string path;
        std::string reason;
    };

    qav_mnt_fwupdate_lib_trusted_keys();
    ~qav_mnt_fwupdate_lib_trusted_keys();

    // Reads the keys of trust_folder_path ("" or a folder that does not
    // exist: none), replacing what was read before. Logs nothing.
    void load(const std::string& trust_folder_path);

    size_t size() const { return keys_.size(); }
    const std::vector<problem>& problems() const { return problems_; }

    // key_path = the file of the first key under which signature is a valid
    // signature of message. 0, or 1 when no key verifies it.
    int find_signer(const std::string& message, const std::string& signature,
                    std::string& key_path) const;

    // hex = the fingerprint of the key read from key_path. 0, or 1 when no
    // key was read from there.
    int fingerprint(const std::string& key_path, std::string& hex) const;

private:
    void load_key_file_(const std::string& path);

    std::vector<qav_mnt_fwupdate_lib_ed25519_key> keys_;
    std::vector<std::string> paths_;
    std::vector<problem> problems_;
};

}  // namespace norvane

#endif
