#include "qav_mnt_fwupdate_lib_verify_signature.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <sys/stat.h>

#include "qav_mnt_fwupdate_lib_bounded_read.h"
#include "qav_mnt_fwupdate_lib_log.h"
#include "qav_mnt_fwupdate_lib_sha256.h"

namespace norvane {

namespace {

// Every line of the check belongs to the verification it is part of.
const char* const VERIFY_NAME = "verify";

// The folder's entry names, sorted; "." and ".." left out. 0, or 1 with errno.
int read_folder_(const std::string& folder_path, std::vector<std::string>& names)
{
    DIR* dir = ::opendir(folder_path.c_str());
    if (dir == nullptr) {
        return 1;
    }
    while (const struct dirent* entry = ::readdir(dir)) {
        const std::string name = entry->d_name;
        if (name != "." && name != "..") {
            names.push_back(name);
        }
    }
    ::closedir(dir);
    std::sort(names.begin(), names.end());
    return 0;
}

}  // namespace

const char* const qav_mnt_fwupdate_lib_verify_signature::MANIFEST_NAME = "FW_package.sha256";
const char* const qav_mnt_fwupdate_lib_verify_signature::SIGNATURE_NAME = "FW_package.sha256.sig";

qav_mnt_fwupdate_lib_verify_signature::qav_mnt_fwupdate_lib_verify_signature() {}

qav_mnt_fwupdate_lib_verify_signature::~qav_mnt_fwupdate_lib_verify_signature() {}

void qav_mnt_fwupdate_lib_verify_signature::load_trusted_keys(const std::string& trust_folder_path)
{
    trusted_keys_.load(trust_folder_path);
}

bool qav_mnt_fwupdate_lib_verify_signature::required() const
{
    return trusted_keys_.size() > 0 || !trusted_keys_.problems().empty();
}

int qav_mnt_fwupdate_lib_verify_signature::check(const std::string& zip_file_path,
                                                 const std::string& unzip_folder_path)
{
    if (report_trust_problems_() != 0) {
        return 1;
    }
    const std::string stored_zip = stored_zip_name_(zip_file_path, unzip_folder_path);
    std::vector<std::string> names;
    if (list_folder_(stored_zip, unzip_folder_path, names) != 0) {
        return 1;
    }
    std::string manifest;
    std::string signature;
    if (read_signed_files_(unzip_folder_path, manifest, signature) != 0 ||
        verify_signature_(manifest, signature) != 0) {
        return 1;
    }
    // From here on the manifest's bytes are the signer's.
    std::vector<manifest_entry> entries;
    int line = 0;
    std::string reason;
    if (qav_mnt_fwupdate_lib_verify_manifest().read(manifest, entries, line, reason) != 0) {
        qav_mnt_fwupdate_log_err(VERIFY_NAME,
                                 "Signature check: the manifest is malformed. file:[%s] line:[%d] "
                                 "reason:[%s]\n",
                                 MANIFEST_NAME, line, reason.c_str());
        return 1;
    }
    if (check_regular_(unzip_folder_path, names) != 0 ||
        compare_names_(stored_zip, entries, names) != 0) {
        return 1;
    }
    return compare_hashes_(unzip_folder_path, entries);
}

int qav_mnt_fwupdate_lib_verify_signature::report_trust_problems_()
{
    for (const qav_mnt_fwupdate_lib_trusted_keys::problem& problem : trusted_keys_.problems()) {
        if (problem.folder) {
            qav_mnt_fwupdate_log_err(VERIFY_NAME,
                                     "Signature check: the trust folder cannot be read. "
                                     "trust_dir:[%s] reason:[%s]\n",
                                     problem.path.c_str(), problem.reason.c_str());
        } else {
            qav_mnt_fwupdate_log_err(VERIFY_NAME,
                                     "Signature check: a trusted key file cannot be used. "
                                     "key_file:[%s] reason:[%s]\n",
                                     problem.path.c_str(), problem.reason.c_str());
        }
    }
    return trusted_keys_.problems().empty() ? 0 : 1;
}

int qav_mnt_fwupdate_lib_verify_signature::read_signed_files_(const std::string& unzip_folder_path,
                                                              std::string& manifest,
                                                              std::string& signature)
{
    const char* const names[] = {MANIFEST_NAME, SIGNATURE_NAME};
    for (const char* name : names) {
        struct stat status;
        if (::lstat((unzip_folder_path + "/" + name).c_str(), &status) != 0 && errno == ENOENT) {
            qav_mnt_fwupdate_log_err(VERIFY_NAME,
                                     "Signature check: the package is not signed. "
                                     "missing_file:[%s]\n",
                                     name);
            return 1;
        }
    }
    qav_mnt_fwupdate_lib_bounded_read reader;
    std::string reason;
    const qav_mnt_fwupdate_lib_bounded_read::result manifest_read =
        reader.read(unzip_folder_path + "/" + MANIFEST_NAME, MAX_MANIFEST_SIZE, manifest, reason);
    if (manifest_read == qav_mnt_fwupdate_lib_bounded_read::READ_TOO_LARGE) {
        qav_mnt_fwupdate_log_err(VERIFY_NAME,
                                 "Signature check: the manifest is too large. file:[%s] "
                                 "limit:[%d]\n",
                                 MANIFEST_NAME, static_cast<int>(MAX_MANIFEST_SIZE));
        return 1;
    }
    if (manifest_read != qav_mnt_fwupdate_lib_bounded_read::READ_OK) {
        return cannot_read_(MANIFEST_NAME, reason);
    }
    const qav_mnt_fwupdate_lib_bounded_read::result signature_read =
        reader.read(unzip_folder_path + "/" + SIGNATURE_NAME,
                    qav_mnt_fwupdate_lib_ed25519_key::SIGNATURE_SIZE, signature, reason);
    if (signature_read == qav_mnt_fwupdate_lib_bounded_read::READ_FAILED) {
        return cannot_read_(SIGNATURE_NAME, reason);
    }
    if (signature_read == qav_mnt_fwupdate_lib_bounded_read::READ_TOO_LARGE ||
        signature.size() != qav_mnt_fwupdate_lib_ed25519_key::SIGNATURE_SIZE) {
        qav_mnt_fwupdate_log_err(VERIFY_NAME,
                                 "Signature check: the signature is not %d bytes. file:[%s]\n",
                                 static_cast<int>(qav_mnt_fwupdate_lib_ed25519_key::SIGNATURE_SIZE),
                                 SIGNATURE_NAME);
        return 1;
    }
    return 0;
}

int qav_mnt_fwupdate_lib_verify_signature::cannot_read_(const char* name, const std::string& reason)
{
    qav_mnt_fwupdate_log_err(VERIFY_NAME,
                             "Signature check: the file cannot be read. file:[%s] reason:[%s]\n",
                             name, reason.c_str());
    return 1;
}

int qav_mnt_fwupdate_lib_verify_signature::verify_signature_(const std::string& manifest,
                                                             const std::string& signature)
{
    std::string key_path;
    if (trusted_keys_.find_signer(manifest, signature, key_path) == 0) {
        qav_mnt_fwupdate_log_inf(VERIFY_NAME,
                                 "Signature check: signed by a trusted key. key_file:[%s]\n",
                                 key_path.c_str());
        return 0;
    }
    qav_mnt_fwupdate_log_err(VERIFY_NAME,
                             "Signature check: no trusted key verifies the signature. file:[%s] "
                             "trusted_keys:[%d]\n",
                             SIGNATURE_NAME, static_cast<int>(trusted_keys_.size()));
    return 1;
}

// names = the folder's entries that the manifest must list: every one but
// the stored zip and the two signature files.
int qav_mnt_fwupdate_lib_verify_signature::list_folder_(const std::string& stored_zip,
                                                        const std::string& unzip_folder_path,
                                                        std::vector<std::string>& names)
{
    std::vector<std::string> entries;
    if (read_folder_(unzip_folder_path, entries) != 0) {
        qav_mnt_fwupdate_log_err(VERIFY_NAME,
                                 "Signature check: the extraction folder cannot be read. "
                                 "folder_path:[%s] reason:[%s]\n",
                                 unzip_folder_path.c_str(), std::strerror(errno));
        return 1;
    }
    for (const std::string& name : entries) {
        if (!outside_check_(stored_zip, name)) {
            names.push_back(name);
        }
    }
    return 0;
}

// A package extracts to plain files; a folder or a link among them is refused
// rather than followed.
int qav_mnt_fwupdate_lib_verify_signature::check_regular_(const std::string& unzip_folder_path,
                                                          const std::vector<std::string>& names)
{
    for (const std::string& name : names) {
        std::string path = unzip_folder_path;
        path.append("/").append(name);
        struct stat status;
        if (::lstat(path.c_str(), &status) != 0 ||
            !S_ISREG(status.st_mode)) {
            qav_mnt_fwupdate_log_err(VERIFY_NAME,
                                     "Signature check: the file is not a regular file. file:[%s]\n",
                                     name.c_str());
            return 1;
        }
    }
    return 0;
}

// Both lists are sorted the same way (bytewise), so one walk finds the first
// name that only one of them holds.
int qav_mnt_fwupdate_lib_verify_signature::compare_names_(
    const std::string& stored_zip, const std::vector<manifest_entry>& entries,
    const std::vector<std::string>& names)
{
    for (const manifest_entry& entry : entries) {
        if (outside_check_(stored_zip, entry.file_name)) {
            qav_mnt_fwupdate_log_err(VERIFY_NAME,
                                     "Signature check: the manifest lists a file that is not "
                                     "checked. file:[%s]\n",
                                     entry.file_name.c_str());
            return 1;
        }
    }
    size_t listed = 0;
    for (const std::string& name : names) {
        if (listed < entries.size() && entries[listed].file_name < name) {
            qav_mnt_fwupdate_log_err(VERIFY_NAME,
                                     "Signature check: the listed file is missing. file:[%s]\n",
                                     entries[listed].file_name.c_str());
            return 1;
        }
        if (listed == entries.size() || entries[listed].file_name != name) {
            qav_mnt_fwupdate_log_err(VERIFY_NAME,
                                     "Signature check: the file is not listed in the manifest. "
                                     "file:[%s]\n",
                                     name.c_str());
            return 1;
        }
        ++listed;
    }
    if (listed < entries.size()) {
        qav_mnt_fwupdate_log_err(VERIFY_NAME,
                                 "Signature check: the listed file is missing. file:[%s]\n",
                                 entries[listed].file_name.c_str());
        return 1;
    }
    return 0;
}

int qav_mnt_fwupdate_lib_verify_signature::compare_hashes_(
    const std::string& unzip_folder_path, const std::vector<manifest_entry>& entries)
{
    qav_mnt_fwupdate_lib_sha256 sha256;
    for (const manifest_entry& entry : entries) {
        std::string actual;
        if (sha256.hash_file(unzip_folder_path + "/" + entry.file_name, actual) != 0) {
            qav_mnt_fwupdate_log_err(VERIFY_NAME,
                                     "Signature check: the file cannot be hashed. file:[%s]\n",
                                     entry.file_name.c_str());
            return 1;
        }
        if (actual != entry.sha256) {
            qav_mnt_fwupdate_log_err(VERIFY_NAME,
                                     "Signature check: the SHA-256 does not match. file:[%s] "
                                     "manifest:[%s] actual:[%s]\n",
                                     entry.file_name.c_str(), entry.sha256.c_str(), actual.c_str());
            return 1;
        }
    }
    return 0;
}

// The bare name of the stored zip when it lies in the extraction folder,
// else "".
std::string qav_mnt_fwupdate_lib_verify_signature::stored_zip_name_(
    const std::string& zip_file_path, const std::string& unzip_folder_path)
{
    const std::string prefix = unzip_folder_path + "/";
    if (zip_file_path.compare(0, prefix.size(), prefix) != 0 ||
        zip_file_path.find('/', prefix.size()) != std::string::npos) {
        return "";
    }
    return zip_file_path.substr(prefix.size());
}

// The stored zip is the package itself, and the signature files sign the
// rest: none of them is part of what the manifest lists.
bool qav_mnt_fwupdate_lib_verify_signature::outside_check_(const std::string& stored_zip,
                                                           const std::string& name)
{
    return name == stored_zip || name == MANIFEST_NAME || name == SIGNATURE_NAME;
}

}  // namespace norvane
