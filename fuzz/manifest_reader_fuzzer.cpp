// Fuzz target: the reader of FW_package.sha256, the package's signed list of
// files.
//
// Any text may be refused; a refusal names a line within the text and leaves
// the entries untouched. Accepted text is canonical: every entry is a
// 64-digit lower-case hash and a plain name, the names are strictly sorted,
// and writing the entries back as sha256sum lines gives the text again.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "fuzz_check.h"
#include "qav_mnt_fwupdate_lib_verify_manifest.h"

namespace {

bool plain_name(const std::string& name)
{
    if (name.empty() || name.size() > 255 || name == "." || name == "..") {
        return false;
    }
    for (char c : name) {
        const unsigned char byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || byte == 0x7F || byte == '/' || byte == '\\') {
            return false;
        }
    }
    return true;
}

bool lower_hex(const std::string& hash)
{
    return hash.size() == 64 && hash.find_first_not_of("0123456789abcdef") == std::string::npos;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    const std::vector<norvane::manifest_entry> sentinel = {{"sentinel", std::string(64, '0')}};
    std::vector<norvane::manifest_entry> entries = sentinel;
    int line = -1;
    std::string reason;

    if (norvane::qav_mnt_fwupdate_lib_verify_manifest().read(text, entries, line, reason) != 0) {
        FUZZ_CHECK(!reason.empty());
        FUZZ_CHECK(line >= 0);
        size_t lines = 0;
        for (char c : text) {
            lines += c == '\n' ? 1 : 0;
        }
        FUZZ_CHECK(static_cast<size_t>(line) <= lines + 1);
        FUZZ_CHECK(entries.size() == 1 && entries[0].file_name == "sentinel");
        return 0;
    }

    FUZZ_CHECK(!entries.empty());
    std::string written;
    for (size_t i = 0; i < entries.size(); ++i) {
        FUZZ_CHECK(lower_hex(entries[i].sha256));
        FUZZ_CHECK(plain_name(entries[i].file_name));
        FUZZ_CHECK(i == 0 || entries[i - 1].file_name < entries[i].file_name);
        written += entries[i].sha256 + "  " + entries[i].file_name + "\n";
    }
    FUZZ_CHECK(written == text);
    return 0;
}
