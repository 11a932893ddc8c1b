// The signature check that follows the comparison of a package's lists on a
// device that trusts at least one key. The package must carry
// FW_package.sha256 (its manifest) and FW_package.sha256.sig (an Ed25519
// signature of the manifest's bytes) from a trusted key, and the manifest
// must list every regular file of the extraction folder with its SHA-256:
// no file left out, none missing, none changed. The trusted keys are the
// "*.pem" files of the trust folder; a key file that cannot be used fails
// every check (fail closed). Without keys the check does not run and logs
// nothing, so such a device behaves as before signing existed.
#ifndef NORVANE_QAV_MNT_FWUPDATE_LIB_VERIFY_SIGNATURE_H
#define NORVANE_QAV_MNT_FWUPDATE_LIB_VERIFY_SIGNATURE_H

#include <cstddef>
#include <string>
#include <vector>

#include "qav_mnt_fwupdate_lib_trusted_keys.h"
#include "qav_mnt_fwupdate_lib_verify_manifest.h"

namespace norvane {

class qav_mnt_fwupdate_lib_verify_signature {
public:
    static const char* const MANIFEST_NAME;   // "FW_package.sha256"
    static const char* const SIGNATURE_NAME;  // "FW_package.sha256.sig"
    // The manifest is read whole to check its signature; 4 MiB holds over
    // 12,000 lines of the longest names.
    static constexpr size_t MAX_MANIFEST_SIZE = size_t{4} * 1024 * 1024;

    qav_mnt_fwupdate_lib_verify_signature();
    ~qav_mnt_fwupdate_lib_verify_signature();

    // Reads the keys of trust_folder_path ("" or a folder that does not
    // exist: no keys). Logs nothing; check reports what could not be used.
    void load_trusted_keys(const std::string& trust_folder_path);

    // True when check must run: a key is trusted, or the trust folder or one
    // of its key files cannot be used.
    bool required() const;

    // The check on the extracted package; the stored zip (zip_file_path,
    // inside the folder) and the two signature files are not listed. 0 when
    // it passes; 1 after one "[ERR] verify():" line per cause.
    int check(const std::string& zip_file_path, const std::string& unzip_folder_path);

private:
    int report_trust_problems_();
    int read_signed_files_(const std::string& unzip_folder_path, std::string& manifest,
                           std::string& signature);
    int cannot_read_(const char* name, const std::string& reason);
    int verify_signature_(const std::string& manifest, const std::string& signature);
    int list_folder_(const std::string& stored_zip, const std::string& unzip_folder_path,
                     std::vector<std::string>& names);
    int check_regular_(const std::string& unzip_folder_path, const std::vector<std::string>& names);
    int compare_names_(const std::string& stored_zip, const std::vector<manifest_entry>& entries,
                       const std::vector<std::string>& names);
    int compare_hashes_(const std::string& unzip_folder_path,
                        const std::vector<manifest_entry>& entries);
    static std::string stored_zip_name_(const std::string& zip_file_path,
                                        const std::string& unzip_folder_path);
    static bool outside_check_(const std::string& stored_zip, const std::string& name);

    qav_mnt_fwupdate_lib_trusted_keys trusted_keys_;
};

}  // namespace norvane

#endif
