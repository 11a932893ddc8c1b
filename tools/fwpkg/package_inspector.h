// Looks into a built package the way the device does: extracts it with the
// device's unzip command into a fresh folder and runs the device's
// verification pipeline on it (with a trust folder, as a device that checks
// signatures), or reads its description and signature for people.
#ifndef NORVANE_TOOLS_PACKAGE_INSPECTOR_H
#define NORVANE_TOOLS_PACKAGE_INSPECTOR_H

#include <string>

namespace norvane_tools {

struct check_outcome {
    bool verified = false;
    std::string version;
    std::string type;              // the package type's name, or its number
    std::string causes;            // the pipeline's [ERR] lines, when it failed
    std::string log;               // everything the pipeline printed
    std::string signing_key;       // the trusted key file that signed it, when checked with keys
    std::string fingerprint;       // that key's fingerprint
};

// Extracts and verifies the package, as a device with the keys of
// trust_folder ("": a device without keys). EXIT_DONE when verified,
// EXIT_REFUSED when not, EXIT_CANNOT_RUN (error set) when the package or the
// trust folder cannot be read, the folder holds no key, or the package
// cannot be extracted for checking.
int check_package(const std::string& zip_path, const std::string& trust_folder,
                  check_outcome& outcome, std::string& error);

// The package description and its signature as a readable table; with a
// trust folder, also which of its keys signed the package. EXIT_DONE, or
// EXIT_CANNOT_RUN / EXIT_REFUSED with error set.
int show_package(const std::string& zip_path, const std::string& trust_folder, std::string& table,
                 std::string& error);

}  // namespace norvane_tools

#endif
