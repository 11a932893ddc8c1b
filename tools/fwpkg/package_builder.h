// Builds a firmware package from a folder of files: FW_package.xml written
// through the schema mediator (the same schema the device reads), each file
// declared with its size and the checksum that `busybox sum` gives, and all of
// it zipped flat, as the device extracts it.
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
};

// Parses "TYPE:VERSION[=FILE,FILE...]". 0, or 1.
int parse_group(const std::string& text, group_request& group);

// Builds the package; prints what it declared on out. 0, or 1 with error set.
int build_package(const build_request& request, std::string& error, std::string& out);

}  // namespace norvane_tools

#endif
