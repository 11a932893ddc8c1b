// Firmware packages for tests: files, the FW_package.xml that declares them
// (truthfully, or as a test wants it to lie), and the zip made of both by the
// zip tool, as a firmware team would make one by hand.
#ifndef NORVANE_TESTS_TEST_PACKAGE_H
#define NORVANE_TESTS_TEST_PACKAGE_H

#include <cstddef>
#include <string>
#include <vector>

namespace norvane_test {

struct package_file {
    std::string name;
    std::string bytes;
};

// What FW_package.xml declares about a file.
struct declared_file {
    std::string name;
    std::string checksum;  // empty: leave the element out
    std::string size;      // empty: leave the element out
};

// The description of a package holding the files in one download group
// (type MAIN, the package version as the group's version). An empty version
// or type leaves that element out.
std::string package_description(const std::vector<declared_file>& files,
                                const std::string& package_version,
                                const std::string& package_type);
// Declarations that match the files exactly: their BSD sums and sizes.
std::vector<declared_file> truthful_declarations(const std::vector<package_file>& files);
// Two files, main_firmware.bin and panel_firmware.bin, of pseudo-random
// bytes that do not compress, so that a package spans many transfers. The
// same sizes give the same bytes.
std::vector<package_file> sample_files(size_t first_size, size_t second_size);

// Writes FW_package.xml with the description and the files into a fresh
// folder, zips them there with "zip -q -X" (the description first) and
// returns the archive's bytes; "" when the zip tool failed.
std::string zip_package(const std::vector<package_file>& files, const std::string& description);
// The same with truthful declarations of the files.
std::string zip_package(const std::vector<package_file>& files, const std::string& package_version,
                        const std::string& package_type);

}  // namespace norvane_test

#endif
