#include "qav_mnt_fwupdate_lib_verify_manifest.h"

#include <set>

namespace norvane {

namespace {

const size_t HASH_SIZE = 64;
const char* const SEPARATOR = "  ";
const size_t SEPARATOR_SIZE = 2;

bool is_lower_hex_(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f');
}

bool is_upper_hex_(char c)
{
    return c >= 'A' && c <= 'F';
}

}  // namespace

qav_mnt_fwupdate_lib_verify_manifest::qav_mnt_fwupdate_lib_verify_manifest() {}

qav_mnt_fwupdate_lib_verify_manifest::~qav_mnt_fwupdate_lib_verify_manifest() {}

int qav_mnt_fwupdate_lib_verify_manifest::read(const std::string& text,
                                               std::vector<manifest_entry>& entries, int& line,
                                               std::string& reason)
{
    if (text.empty()) {
        line = 0;
        reason = "the manifest is empty";
        return 1;
    }
    std::vector<manifest_entry> parsed;
    std::set<std::string> names;
    int number = 0;
    for (size_t start = 0; start < text.size();) {
        ++number;
        const size_t end = text.find('\n', start);
        if (end == std::string::npos) {
            line = number;
            reason = "the last line does not end in a line feed";
            return 1;
        }
        manifest_entry entry;
        if (read_line_(text.substr(start, end - start), entry, reason) != 0) {
            line = number;
            return 1;
        }
        if (!names.insert(entry.file_name).second) {
            line = number;
            reason = "the name " + entry.file_name + " is listed twice";
            return 1;
        }
        if (!parsed.empty() && entry.file_name < parsed.back().file_name) {
            line = number;
            reason = "the names are not sorted: " + entry.file_name + " follows " +
                     parsed.back().file_name;
            return 1;
        }
        parsed.push_back(entry);
        start = end + 1;
    }
    entries = parsed;
    return 0;
}

// "<64 lower-case hex>  <name>", without its line feed.
int qav_mnt_fwupdate_lib_verify_manifest::read_line_(const std::string& line,
                                                     manifest_entry& entry, std::string& reason)
{
    if (!line.empty() && line.back() == '\r') {
        reason = "the line ends in a carriage return (CRLF line ends)";
        return 1;
    }
    size_t digits = 0;
    bool upper = false;
    while (digits < line.size() && (is_lower_hex_(line[digits]) || is_upper_hex_(line[digits]))) {
        upper = upper || is_upper_hex_(line[digits]);
        ++digits;
    }
    if (digits != HASH_SIZE) {
        reason = "the hash is not 64 hex digits";
        return 1;
    }
    if (upper) {
        reason = "the hash has upper-case hex digits";
        return 1;
    }
    if (line.compare(HASH_SIZE, SEPARATOR_SIZE, SEPARATOR) != 0) {
        reason = "the hash is not followed by two spaces";
        return 1;
    }
    const std::string name = line.substr(HASH_SIZE + SEPARATOR_SIZE);
    if (check_name_(name, reason) != 0) {
        return 1;
    }
    entry.sha256 = line.substr(0, HASH_SIZE);
    entry.file_name = name;
    return 0;
}

// A plain name of the extraction folder, as sha256sum writes it unescaped.
int qav_mnt_fwupdate_lib_verify_manifest::check_name_(const std::string& name, std::string& reason)
{
    if (name.empty()) {
        reason = "the name is empty";
        return 1;
    }
    if (name.size() > MAX_NAME_SIZE) {
        reason = "the name is longer than 255 bytes";
        return 1;
    }
    if (name == "." || name == "..") {
        reason = "the name is \".\" or \"..\"";
        return 1;
    }
    for (char c : name) {
        const unsigned char byte = static_cast<unsigned char>(c);
        if (byte == '\0') {
            reason = "the name holds a NUL byte";
            return 1;
        }
        if (byte == '/') {
            reason = "the name holds a '/'";
            return 1;
        }
        if (byte == '\\') {
            reason = "the name holds a backslash";
            return 1;
        }
        if (byte < 0x20 || byte == 0x7F) {
            reason = "the name holds a control character";
            return 1;
        }
    }
    return 0;
}

}  // namespace norvane
