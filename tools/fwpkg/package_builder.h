// Builds a firmware package from a folder of files: FW_package.xml written
// through the schema mediator (the same schema the device reads), each file
// declared with its size and the checksum that `busybox sum` gives, signed
// when a key is given, and all of it zipped flat, as the device extracts it.
#ifndef NORVANE_TOOLS_PACKAGE_BUILDER_H
#define NORVANE_TOOLS_PACKAGE_BUILDER_H

#include <string>
#include <vector>

namespace norvane_tools {

// One download group: "--group MAIN:1.2.3" or "--group PANEL:2.0=panel.bin,ui.bin".
struct group_request {
    std::string type;
    std::string version;
    std::vector<std::string> files;  // empty: every file no other group names
};

struct build_request {
    std::string folder;
    std::string output;
    std::string version;
    std::string type;
    std::string device_id;
    std::string description;
    std::vector<group_request> groups;  // empty: one MAIN group of the package version
    std::string signing_key;            // a private key PEM file; empty: unsigned
};

// Parses "TYPE:VERSION[=FILE,FILE...]". 0, or 1.
int parse_group(const std::string& text, group_request& group);

// Builds the package; prints what it declared on out. EXIT_DONE; or, with
// error set, EXIT_REFUSED when the folder cannot become a package or the
// package cannot be written, EXIT_CANNOT_RUN when the folder or the key
// cannot be read or the zip tool cannot be run.
int build_package(const build_request& request, std::string& error, std::string& out);

}  // namespace norvane_tools

#endif
