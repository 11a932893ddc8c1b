#include "package_inspector.h"

#include "exit_status.h"
#include "qav_mnt_fwupdate_lib_bounded_read.h"
#include "qav_mnt_fwupdate_lib_trusted_keys.h"
#include "qav_mnt_fwupdate_lib_util.h"
#include "qav_mnt_fwupdate_lib_verify_process.h"
#include "qav_mnt_fwupdate_lib_verify_signature.h"
#include "schema_names.h"
#include "utl_lib_xml_vexa_firmware_upgrade_service.h"

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <unistd.h>

namespace norvane_tools {

using namespace norvane;
namespace fs = std::filesystem;

namespace {

// A fresh folder that goes away with the object. Its path is no longer than
// the device's extraction folder, so every name the device can checksum can
// be checksummed here too.
class scratch_folder {
public:
    scratch_folder()
    {
        char name[] = "/tmp/fwpkg-XXXXXX";
        if (::mkdtemp(name) != nullptr) {
            path_ = name;
        }
    }
    ~scratch_folder()
    {
        std::error_code ignored;
        if (!path_.empty()) fs::remove_all(path_, ignored);
    }
    scratch_folder(const scratch_folder&) = delete;
    scratch_folder& operator=(const scratch_folder&) = delete;
    const std::string& path() const { return path_; }

private:
    std::string path_;
};

// Sends standard output and error (the program log, the unzip tool's chatter)
// into a file while it lives, so that the tool can show them as it likes.
class output_capture {
public:
    explicit output_capture(const std::string& file)
    {
        std::fflush(stdout);
        std::fflush(stderr);
        saved_out_ = ::dup(STDOUT_FILENO);
        saved_err_ = ::dup(STDERR_FILENO);
        int fd = ::open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        if (fd >= 0) {
            ::dup2(fd, STDOUT_FILENO);
            ::dup2(fd, STDERR_FILENO);
            ::close(fd);
        }
    }
    ~output_capture()
    {
        std::fflush(stdout);
        std::fflush(stderr);
        ::dup2(saved_out_, STDOUT_FILENO);
        ::dup2(saved_err_, STDERR_FILENO);
        ::close(saved_out_);
        ::close(saved_err_);
    }
    output_capture(const output_capture&) = delete;
    output_capture& operator=(const output_capture&) = delete;

private:
    int saved_out_;
    int saved_err_;
};

std::string read_all(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

std::string error_lines(const std::string& log)
{
    std::istringstream lines(log);
    std::string line;
    std::string errors;
    while (std::getline(lines, line)) {
        if (line.rfind("[ERR]", 0) == 0) {
            errors += line + "\n";
        }
    }
    return errors;
}

// Copies the package into folder under the device's own name and extracts
// it there, as the device does.
int extract(const std::string& zip_path, const std::string& folder, std::string& stored,
            std::string& error)
{
    stored = folder + "/qav_mnt_fwpackage.zip";
    std::error_code failure;
    fs::copy_file(zip_path, stored, failure);
    if (failure) {
        error = "cannot read " + zip_path + ": " + failure.message();
        return 1;
    }
    if (qav_mnt_fwupdate_lib_util().unzip(stored, folder) != 0) {
        error = "the unzip tool could not be run";
        return 1;
    }
    return 0;
}

// A trust folder must hold at least one key file: a typing mistake must not
// turn a check with keys into one without.
int check_trust_folder(const std::string& trust_folder, std::string& error)
{
    std::error_code failure;
    if (!fs::is_directory(trust_folder, failure)) {
        error = "cannot read the trust folder " + trust_folder;
        return EXIT_CANNOT_RUN;
    }
    qav_mnt_fwupdate_lib_trusted_keys keys;
    keys.load(trust_folder);
    if (keys.size() == 0 && keys.problems().empty()) {
        error = "the trust folder " + trust_folder + " holds no *.pem key";
        return EXIT_CANNOT_RUN;
    }
    return EXIT_DONE;
}

// The trusted key that signed the package extracted in folder, if any.
void find_signing_key(const std::string& folder, const std::string& trust_folder,
                      std::string& key_path, std::string& fingerprint)
{
    qav_mnt_fwupdate_lib_trusted_keys keys;
    keys.load(trust_folder);
    qav_mnt_fwupdate_lib_bounded_read reader;
    std::string manifest;
    std::string signature;
    std::string reason;
    if (reader.read(folder + "/" + qav_mnt_fwupdate_lib_verify_signature::MANIFEST_NAME,
                    qav_mnt_fwupdate_lib_verify_signature::MAX_MANIFEST_SIZE, manifest,
                    reason) == qav_mnt_fwupdate_lib_bounded_read::READ_OK &&
        reader.read(folder + "/" + qav_mnt_fwupdate_lib_verify_signature::SIGNATURE_NAME,
                    qav_mnt_fwupdate_lib_ed25519_key::SIGNATURE_SIZE, signature,
                    reason) == qav_mnt_fwupdate_lib_bounded_read::READ_OK &&
        keys.find_signer(manifest, signature, key_path) == 0) {
        keys.fingerprint(key_path, fingerprint);
    }
}

// Whether the package carries its manifest and the manifest's signature.
std::string signature_state(const std::string& folder)
{
    std::error_code ignored;
    const std::string manifest_name = qav_mnt_fwupdate_lib_verify_signature::MANIFEST_NAME;
    const std::string signature_name = qav_mnt_fwupdate_lib_verify_signature::SIGNATURE_NAME;
    const bool manifest = fs::exists(folder + "/" + manifest_name, ignored);
    const bool signature = fs::exists(folder + "/" + signature_name, ignored);
    if (manifest && signature) {
        return "signed (" + manifest_name + ", " + signature_name + ")";
    }
    if (!manifest && !signature) {
        return "unsigned";
    }
    return "incomplete: " + (manifest ? signature_name : manifest_name) + " is missing";
}

std::string type_name(int type)
{
    std::string name = schema_names().name_of(UTL_LIB_XML_VEXA_ENUM_ID_PACKAGE_TYPE, type);
    return name.empty() ? "(none: " + std::to_string(type) + ")" : name;
}

}  // namespace

int check_package(const std::string& zip_path, const std::string& trust_folder,
                  check_outcome& outcome, std::string& error)
{
    if (!trust_folder.empty() && check_trust_folder(trust_folder, error) != EXIT_DONE) {
        return EXIT_CANNOT_RUN;
    }
    scratch_folder folder;
    if (folder.path().empty()) {
        error = "cannot create a folder for checking";
        return EXIT_CANNOT_RUN;
    }
    // The device's verification finds its trust folder through the host
    // platform, which reads it from the environment ("": no keys).
    ::setenv("FWUPDATE_TRUST_DIR", trust_folder.c_str(), 1);
    const std::string log_path = folder.path() + ".log";
    std::string stored;
    int extracted = 0;
    int verified = 1;
    std::string version;
    UTL_LIB_XML_VEXA_PACKAGE_TYPE_ type = UTL_LIB_XML_VEXA_PACKAGE_TYPE_NONE;
    {
        output_capture capture(log_path);
        extracted = extract(zip_path, folder.path(), stored, error);
        if (extracted == 0) {
            verified = qav_mnt_fwupdate_lib_verify_process().verify(stored, folder.path(), version, type);
        }
    }
    outcome.log = read_all(log_path);
    std::remove(log_path.c_str());
    if (extracted != 0) {
        return EXIT_CANNOT_RUN;
    }
    outcome.verified = verified == 0;
    outcome.version = version;
    outcome.type = type_name(type);
    outcome.causes = error_lines(outcome.log);
    if (outcome.verified && !trust_folder.empty()) {
        find_signing_key(folder.path(), trust_folder, outcome.signing_key, outcome.fingerprint);
    }
    return outcome.verified ? EXIT_DONE : EXIT_REFUSED;
}

int show_package(const std::string& zip_path, const std::string& trust_folder, std::string& table,
                 std::string& error)
{
    if (!trust_folder.empty() && check_trust_folder(trust_folder, error) != EXIT_DONE) {
        return EXIT_CANNOT_RUN;
    }
    scratch_folder folder;
    std::string stored;
    std::string text;
    int result = EXIT_DONE;
    {
        output_capture capture(folder.path() + ".log");
        if (folder.path().empty() || extract(zip_path, folder.path(), stored, error) != 0) {
            result = EXIT_CANNOT_RUN;
        } else if (qav_mnt_fwupdate_lib_util().read_text_file(folder.path() + "/FW_package.xml", text) != 0) {
            error = "the package holds no readable FW_package.xml";
            result = EXIT_REFUSED;
        }
    }
    std::remove((folder.path() + ".log").c_str());
    if (result != EXIT_DONE) {
        if (error.empty()) error = "cannot create a folder for extracting";
        return result;
    }

    utl_lib_xml_vexa_firmware_upgrade_service description;
    UTL_LIB_XML_VEXA_RESULT parse_result = UTL_LIB_XML_VEXA_RESULT_NO_ERR;
    if (description.parse_xml(text, parse_result, UTL_LIB_XML_VEXA_PROTOCOL_BTSPP) != 0) {
        error = "FW_package.xml does not parse (result " + std::to_string(static_cast<int>(parse_result)) + ")";
        return EXIT_REFUSED;
    }
    UTL_LIB_XML_VEXA_FIRMWARE_PACKAGE_S header{};
    UTL_LIB_XML_VEXA_PACKAGE_TYPE_ type = UTL_LIB_XML_VEXA_PACKAGE_TYPE_NONE;
    description.get_firmware_upgrade(header.exist_device_id, header.device_id,
                                     header.exist_package_version, header.package_version,
                                     header.exist_description, header.description,
                                     header.exist_total_size, &header.total_size, type);
    auto optional = [](BOOL exists, const std::string& value) { return exists ? value : "-"; };
    std::ostringstream out;
    out << "package version  " << optional(header.exist_package_version, header.package_version) << "\n"
        << "package type     " << type_name(type) << "\n"
        << "device id        " << optional(header.exist_device_id, header.device_id) << "\n"
        << "total size       " << optional(header.exist_total_size, std::to_string(header.total_size)) << "\n"
        << "description      " << optional(header.exist_description, header.description) << "\n"
        << "signature        " << signature_state(folder.path()) << "\n";
    if (!trust_folder.empty()) {
        std::string key_path;
        std::string fingerprint;
        find_signing_key(folder.path(), trust_folder, key_path, fingerprint);
        out << "signing key      "
            << (key_path.empty() ? "not among the keys of " + trust_folder
                                 : key_path + ", fingerprint " + fingerprint)
            << "\n";
    }

    const schema_names names;
    int groups = 0;
    description.get_download_information_count(groups);
    for (int g = 1; g <= groups; ++g) {
        UTL_LIB_XML_VEXA_FIRMWARE_DOWNLOAD_INFORMATION_S group{};
        if (description.get_download_information(g, group) != 0) {
            continue;
        }
        out << "\ngroup " << g << ": "
            << names.name_of(UTL_LIB_XML_VEXA_ENUM_ID_VERSION_INFORMATION_TYPE, group.type) << " "
            << optional(group.exist_version, group.version) << "\n";
        char row[600];
        std::snprintf(row, sizeof row, "  %-40s %12s  %-8s %s\n", "file", "size", "checksum", "version");
        out << row;
        int files = 0;
        description.get_firmware_data_information_count(&group, files);
        for (int f = 1; f <= files; ++f) {
            UTL_LIB_XML_VEXA_FIRMWARE_DATA_INFORMATION_S data{};
            if (description.get_firmware_data_information(f, &group, data) != 0) {
                continue;
            }
            std::snprintf(row, sizeof row, "  %-40s %12s  %-8s %s\n", data.filename,
                          optional(data.exist_size, std::to_string(data.size)).c_str(),
                          optional(data.exist_checksum, data.checksum).c_str(),
                          optional(data.exist_version, data.version).c_str());
            out << row;
        }
    }
    table = out.str();
    return EXIT_DONE;
}

}  // namespace norvane_tools
