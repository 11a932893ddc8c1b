#include "package_builder.h"

#include "exit_status.h"
#include "package_signer.h"
#include "qav_mnt_fwupdate_ctrl_exec_mode.h"
#include "qav_mnt_fwupdate_lib_util.h"
#include "qav_mnt_fwupdate_lib_verify_signature.h"
#include "osw_os_wrapper.h"
#include "schema_names.h"
#include "utl_lib_xml_vexa_data.h"
#include "utl_lib_xml_vexa_data_utl.h"
#include "utl_lib_xml_vexa_mediator.h"

#include <algorithm>
#include <cctype>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <sys/wait.h>
#include <utime.h>

namespace norvane_tools {

using namespace norvane;
namespace fs = std::filesystem;

namespace {

const char* const description_name = "FW_package.xml";

struct folder_file {
    std::string name;
    long long size = 0;
    std::string checksum;
};

// The longest name whose path in the device's extraction folder its
// checksum command still takes (shorter than the description's filename
// element allows).
size_t longest_name()
{
    return qav_mnt_fwupdate_lib_util::max_check_sum_path_length() -
           std::strlen(QAV_MNT_FWUPDATE_UNZIP_FOLDER_PATH) - 1;
}

// Names the device accepts: what its checksum command lets through.
bool acceptable_name(const std::string& name)
{
    if (name.empty() || name.size() > longest_name()) {
        return false;
    }
    for (char c : name) {
        if (!(std::isalnum(static_cast<unsigned char>(c)) || std::strchr("._-+,=@%:~", c) != nullptr)) {
            return false;
        }
    }
    return true;
}

int list_folder(const std::string& folder, std::vector<folder_file>& files, std::string& error)
{
    std::error_code failure;
    fs::directory_iterator entries(folder, failure);
    if (failure) {
        error = "cannot read the folder " + folder + ": " + failure.message();
        return EXIT_CANNOT_RUN;
    }
    for (const fs::directory_entry& entry : entries) {
        const std::string name = entry.path().filename().string();
        if (!entry.is_regular_file()) {
            error = name + " is not a regular file: the device extracts packages flat";
            return EXIT_REFUSED;
        }
        if (name == description_name || name == qav_mnt_fwupdate_lib_verify_signature::MANIFEST_NAME ||
            name == qav_mnt_fwupdate_lib_verify_signature::SIGNATURE_NAME) {
            error = "the folder already holds " + name + ", which the tool writes";
            return EXIT_REFUSED;
        }
        if (!acceptable_name(name)) {
            error = "the device cannot take the file name \"" + name + "\" (at most " +
                    std::to_string(longest_name()) + " letters, digits and ._-+,=@%:~)";
            return EXIT_REFUSED;
        }
        const auto size = entry.file_size();
        if (size > static_cast<uintmax_t>(INT_MAX)) {
            error = name + " is larger than a description can declare (2147483647 bytes)";
            return EXIT_REFUSED;
        }
        char checksum[8] = {};
        if (qav_mnt_fwupdate_lib_util().calc_check_sum(entry.path().string(), checksum) != 0) {
            error = "cannot compute the checksum of " + name;
            return EXIT_CANNOT_RUN;
        }
        files.push_back({name, static_cast<long long>(size), checksum});
    }
    std::sort(files.begin(), files.end(),
              [](const folder_file& a, const folder_file& b) { return a.name < b.name; });
    if (files.empty()) {
        error = "the folder holds no files";
        return EXIT_REFUSED;
    }
    return EXIT_DONE;
}

template <size_t N>
int copy_text(char (&field)[N], const std::string& text, const std::string& what, std::string& error)
{
    if (text.size() >= N) {
        error = what + " \"" + text + "\" is longer than " + std::to_string(N - 1) + " characters";
        return 1;
    }
    std::memcpy(field, text.c_str(), text.size() + 1);
    return 0;
}

// Which group each file goes to: the group that names it, else the first
// group that names no files.
int assign_files(const std::vector<group_request>& groups, const std::vector<folder_file>& files,
                 std::vector<std::vector<folder_file>>& assigned, std::string& error)
{
    assigned.assign(groups.size(), {});
    std::map<std::string, size_t> named;
    size_t catch_all = groups.size();
    for (size_t g = 0; g < groups.size(); ++g) {
        if (groups[g].files.empty() && catch_all == groups.size()) {
            catch_all = g;
        }
        for (const std::string& name : groups[g].files) {
            named[name] = g;
        }
    }
    for (const auto& entry : named) {
        auto found = std::find_if(files.begin(), files.end(),
                                  [&entry](const folder_file& f) { return f.name == entry.first; });
        if (found == files.end()) {
            error = "a group names " + entry.first + ", which is not in the folder";
            return 1;
        }
    }
    for (const folder_file& file : files) {
        auto group = named.find(file.name);
        size_t index = group != named.end() ? group->second : catch_all;
        if (index == groups.size()) {
            error = file.name + " belongs to no group";
            return 1;
        }
        assigned[index].push_back(file);
    }
    return 0;
}

int write_description(const build_request& request, const std::vector<folder_file>& files,
                      std::string& xml, std::string& error, std::string& out)
{
    const schema_names names;
    std::vector<group_request> groups = request.groups;
    if (groups.empty()) {
        groups.push_back({"MAIN", request.version, {}});
    }
    std::vector<std::vector<folder_file>> assigned;
    if (assign_files(groups, files, assigned, error) != 0) {
        return 1;
    }

    UTL_LIB_XML_VEXA_FIRMWARE_PACKAGE_S package;
    std::memset(&package, 0, sizeof package);
    int type = 0;
    if (names.value_of(UTL_LIB_XML_VEXA_ENUM_ID_PACKAGE_TYPE, request.type, type) != 0) {
        error = "unknown package type " + request.type;
        return 1;
    }
    package.package_type = static_cast<UTL_LIB_XML_VEXA_PACKAGE_TYPE>(type);
    package.is_encrypted_url = UTL_LIB_XML_VEXA_STATE_OFF;
    int bad = copy_text(package.package_version, request.version, "the version", error);
    package.exist_package_version = 1;
    if (!request.device_id.empty()) {
        bad |= copy_text(package.device_id, request.device_id, "the device id", error);
        package.exist_device_id = 1;
    }
    if (!request.description.empty()) {
        bad |= copy_text(package.description, request.description, "the description", error);
        package.exist_description = 1;
    }
    long long total = 0;
    for (const folder_file& file : files) {
        total += file.size;
    }
    if (bad != 0) {
        return 1;
    }
    if (total <= INT_MAX) {
        package.total_size = static_cast<INT>(total);
        package.exist_total_size = 1;
    }

    std::vector<void*> blocks;
    utl_lib_xml_vexa_data_utl lists;
    std::ostringstream summary;
    for (size_t g = 0; g < groups.size() && bad == 0; ++g) {
        UTL_LIB_XML_VEXA_FIRMWARE_DOWNLOAD_INFORMATION_S group;
        std::memset(&group, 0, sizeof group);
        int group_type = 0;
        if (names.value_of(UTL_LIB_XML_VEXA_ENUM_ID_VERSION_INFORMATION_TYPE, groups[g].type, group_type) != 0) {
            error = "unknown group type " + groups[g].type;
            bad = 1;
            break;
        }
        group.type = static_cast<UTL_LIB_XML_VEXA_VERSION_INFORMATION_TYPE>(group_type);
        bad |= copy_text(group.version, groups[g].version, "the group version", error);
        group.exist_version = 1;
        summary << "group " << groups[g].type << " " << groups[g].version << "\n";
        for (const folder_file& file : assigned[g]) {
            UTL_LIB_XML_VEXA_FIRMWARE_DATA_INFORMATION_S data;
            std::memset(&data, 0, sizeof data);
            bad |= copy_text(data.filename, file.name, "the file name", error);
            bad |= copy_text(data.checksum, file.checksum, "the checksum", error);
            data.exist_checksum = 1;
            data.size = static_cast<INT>(file.size);
            data.exist_size = 1;
            lists.add_list(&group.data_information, &data, sizeof data, 1, &blocks);
            summary << "  " << file.name << "  size " << file.size << "  checksum " << file.checksum << "\n";
        }
        lists.add_list(&package.download_information, &group, sizeof group, 1, &blocks);
    }

    UTL_LIB_XML_VEXA_RESULT result = UTL_LIB_XML_VEXA_RESULT_NO_ERR;
    if (bad == 0) {
        utl_lib_xml_vexa_mediator mediator;
        if (mediator.create(UTL_LIB_XML_VEXA_MESSAGE_FIRMWARE_PACKAGE, 1, &package, xml, result) != 0) {
            error = "the schema mediator could not write the description (result " +
                    std::to_string(static_cast<int>(result)) + ")";
            bad = 1;
        }
    }
    for (void* block : blocks) {
        zulOSWOrgFreeMemPart(nullptr, block);
    }
    out += summary.str();
    return bad;
}

// Every entry gets the same permissions and modification time, and the
// entries go into the zip in a fixed order, so that the same folder always
// gives the same package bytes: on any machine, in any time zone, under any
// umask, whenever the files were copied.
constexpr time_t entry_time = 315532800;   // 1980-01-01 00:00:00 UTC, the zip format's first day

int settle_entry(const fs::path& path, std::string& error)
{
    std::error_code failure;
    fs::permissions(path, fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read |
                              fs::perms::others_read, failure);
    const utimbuf times{entry_time, entry_time};
    if (failure || ::utime(path.c_str(), &times) != 0) {
        error = "cannot set the time and permissions of " + path.filename().string();
        return 1;
    }
    return 0;
}

// Zips the entries in the order given (the description first, then the files
// by name, then the signature files). zip stores local time, so it runs in UTC.
int zip_entries(const std::string& staging, const std::vector<std::string>& entries,
                const std::string& output, std::string& error)
{
    std::error_code ignored;
    fs::remove(output, ignored);
    std::string command = "cd '" + staging + "' && TZ=UTC zip -q -X '" + output + "'";
    for (const std::string& entry : entries) {
        command += " '" + entry + "'";
    }
    const int status = std::system(command.c_str());
    if (status == -1 || (WIFEXITED(status) && WEXITSTATUS(status) == 127)) {
        error = "the zip tool could not be run: " + command;
        return EXIT_CANNOT_RUN;
    }
    if (status != 0) {
        error = "zip failed: " + command;
        return EXIT_REFUSED;
    }
    return EXIT_DONE;
}

}  // namespace

int parse_group(const std::string& text, group_request& group)
{
    const size_t colon = text.find(':');
    if (colon == std::string::npos || colon == 0 || colon + 1 == text.size()) {
        return 1;
    }
    group.type = text.substr(0, colon);
    std::string rest = text.substr(colon + 1);
    const size_t equals = rest.find('=');
    group.version = rest.substr(0, equals);
    group.files.clear();
    if (equals != std::string::npos) {
        std::stringstream names(rest.substr(equals + 1));
        std::string name;
        while (std::getline(names, name, ',')) {
            if (!name.empty()) {
                group.files.push_back(name);
            }
        }
    }
    return group.version.empty() ? 1 : 0;
}

int build_package(const build_request& request, std::string& error, std::string& out)
{
    package_signer signer;
    if (!request.signing_key.empty() && signer.load_private_key(request.signing_key, error) != 0) {
        return EXIT_CANNOT_RUN;
    }
    std::vector<folder_file> files;
    const int listed = list_folder(request.folder, files, error);
    if (listed != 0) {
        return listed;
    }
    std::string xml;
    if (write_description(request, files, xml, error, out) != 0) {
        return EXIT_REFUSED;
    }

    char staging_template[] = "/tmp/fwpkg-build-XXXXXX";
    if (::mkdtemp(staging_template) == nullptr) {
        error = "cannot create a staging folder";
        return EXIT_CANNOT_RUN;
    }
    const std::string staging = staging_template;
    int result = EXIT_DONE;
    for (const folder_file& file : files) {
        std::error_code failure;
        fs::copy_file(fs::path(request.folder) / file.name, fs::path(staging) / file.name, failure);
        if (failure) {
            error = "cannot copy " + file.name + ": " + failure.message();
            result = EXIT_CANNOT_RUN;
            break;
        }
        if (settle_entry(fs::path(staging) / file.name, error) != 0) {
            result = EXIT_CANNOT_RUN;
            break;
        }
    }
    if (result == EXIT_DONE) {
        std::ofstream(fs::path(staging) / description_name, std::ios::binary) << xml;
        result = settle_entry(fs::path(staging) / description_name, error) == 0 ? EXIT_DONE : EXIT_CANNOT_RUN;
    }
    std::vector<std::string> entries{description_name};
    for (const folder_file& file : files) {
        entries.push_back(file.name);
    }
    if (result == EXIT_DONE && !request.signing_key.empty()) {
        result = signer.sign_folder(staging, error) == 0 ? EXIT_DONE : EXIT_REFUSED;
        for (const char* name : {qav_mnt_fwupdate_lib_verify_signature::MANIFEST_NAME,
                                 qav_mnt_fwupdate_lib_verify_signature::SIGNATURE_NAME}) {
            if (result == EXIT_DONE) {
                result = settle_entry(fs::path(staging) / name, error) == 0 ? EXIT_DONE : EXIT_CANNOT_RUN;
                entries.push_back(name);
            }
        }
        if (result == EXIT_DONE) {
            out += "signed by the key with fingerprint " + signer.fingerprint() + "\n";
        }
    }
    if (result == EXIT_DONE) {
        result = zip_entries(staging, entries, fs::absolute(request.output).string(), error);
    }
    std::error_code ignored;
    fs::remove_all(staging, ignored);
    return result;
}

}  // namespace norvane_tools
