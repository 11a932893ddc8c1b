// Looks into a built package the way the device does: extracts it with the
// device's unzip command into a fresh folder and runs the device's
// verification pipeline on it, or reads its description for people.
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
};

// Extracts and verifies the package. 0 when verified, 1 when not, 2 when the
// package could not even be extracted for checking (error set).
int check_package(const std::string& zip_path, check_outcome& outcome, std::string& error);

// The package description as a readable table. 0, or 1 with error set.
int show_package(const std::string& zip_path, std::string& table, std::string& error);

}  // namespace norvane_tools

#endif
