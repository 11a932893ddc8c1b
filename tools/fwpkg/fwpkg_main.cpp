// fwpkg: builds, checks and shows firmware packages for the device.
//
//   fwpkg build FOLDER -o PACKAGE.zip --version V --type TYPE [--group T:V[=F,...]]...
//            [--device-id ID] [--description TEXT]
//   fwpkg check PACKAGE.zip [--verbose]
//   fwpkg show PACKAGE.zip
//
// It uses the device's own code: the schema mediator writes the description,
// and check runs the device's extraction and verification.
#include "package_builder.h"
#include "package_inspector.h"
#include "schema_names.h"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#ifndef FWUPDATE_HOST_BIN_DIR
#define FWUPDATE_HOST_BIN_DIR ""
#endif

namespace {

using namespace norvane_tools;

const char* usage_text =
    "usage:\n"
    "  fwpkg build FOLDER -o PACKAGE.zip --version V --type TYPE [--group TYPE:VERSION[=FILE,...]]...\n"
    "              [--device-id ID] [--description TEXT]\n"
    "  fwpkg check PACKAGE.zip [--verbose]\n"
    "  fwpkg show PACKAGE.zip\n"
    "package types: DEVICE_FIRMWARE, DEVICE_ENHANCEMENT, DEVICE_OPT_LANGUAGE, GATEWAY_FIRMWARE,\n"
    "  MOBILE_AGENT. Group types are the version-information names (MAIN, ENGINE, PANEL, ...).\n"
    "  Without --group all files form one MAIN group of the package version.\n";

int usage()
{
    std::fputs(usage_text, stderr);
    return 2;
}

// The tool checksums and verifies exactly as the device does, through
// "busybox sum"; on the host that is the front in the host platform's bin.
// Trace lines of the XML layers are of no use here unless asked for.
void prepare_environment(bool verbose)
{
    const char* path = std::getenv("PATH");
    std::string value = std::string(FWUPDATE_HOST_BIN_DIR) + ":" + (path != nullptr ? path : "/usr/bin:/bin");
    ::setenv("PATH", value.c_str(), 1);
    if (!verbose && std::getenv("FWUPDATE_TRACE_FILE") == nullptr) {
        ::setenv("FWUPDATE_TRACE_FILE", "/dev/null", 1);
    }
}

int run_build(const std::vector<std::string>& args)
{
    build_request request;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& word = args[i];
        const bool has_value = i + 1 < args.size();
        if (word == "-o" && has_value) request.output = args[++i];
        else if (word == "--version" && has_value) request.version = args[++i];
        else if (word == "--type" && has_value) request.type = args[++i];
        else if (word == "--device-id" && has_value) request.device_id = args[++i];
        else if (word == "--description" && has_value) request.description = args[++i];
        else if (word == "--group" && has_value) {
            group_request group;
            if (parse_group(args[++i], group) != 0) {
                std::fprintf(stderr, "fwpkg: bad group %s (TYPE:VERSION[=FILE,...])\n", args[i].c_str());
                return 2;
            }
            request.groups.push_back(group);
        } else if (request.folder.empty() && word[0] != '-') request.folder = word;
        else return usage();
    }
    if (request.folder.empty() || request.output.empty() || request.version.empty() || request.type.empty()) {
        return usage();
    }
    std::string error;
    std::string summary;
    if (build_package(request, error, summary) != 0) {
        std::fprintf(stderr, "fwpkg: %s\n", error.c_str());
        return 1;
    }
    std::printf("built %s: version %s, type %s\n%s", request.output.c_str(), request.version.c_str(),
                request.type.c_str(), summary.c_str());
    return 0;
}

int run_check(const std::string& zip, bool verbose)
{
    check_outcome outcome;
    std::string error;
    int result = check_package(zip, outcome, error);
    if (verbose) {
        std::fputs(outcome.log.c_str(), stdout);
    }
    if (result == 2) {
        std::fprintf(stderr, "fwpkg: %s\n", error.c_str());
        return 1;
    }
    if (result == 0) {
        std::printf("%s: verified: version %s, type %s\n", zip.c_str(), outcome.version.c_str(),
                    outcome.type.c_str());
        return 0;
    }
    std::printf("%s: verification failed\n%s", zip.c_str(), outcome.causes.c_str());
    return 1;
}

int run_show(const std::string& zip)
{
    std::string table;
    std::string error;
    if (show_package(zip, table, error) != 0) {
        std::fprintf(stderr, "fwpkg: %s\n", error.c_str());
        return 1;
    }
    std::fputs(table.c_str(), stdout);
    return 0;
}

}  // namespace

int main(int argc, char** argv)
{
    std::vector<std::string> args(argv + 1, argv + argc);
    if (args.empty()) {
        return usage();
    }
    const std::string verb = args[0];
    args.erase(args.begin());
    bool verbose = false;
    for (auto it = args.begin(); it != args.end();) {
        if (*it == "--verbose") {
            verbose = true;
            it = args.erase(it);
        } else {
            ++it;
        }
    }
    prepare_environment(verbose);
    if (verb == "build") {
        return run_build(args);
    }
    if ((verb == "check" || verb == "show") && args.size() == 1) {
        return verb == "check" ? run_check(args[0], verbose) : run_show(args[0]);
    }
    return usage();
}
