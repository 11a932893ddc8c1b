// fwpkg: makes signing keys, and builds, checks and shows firmware packages
// for the device (usage_text below says how).
//
// It uses the device's own code: the schema mediator writes the description,
// and check runs the device's extraction and verification, with the
// signature check when a trust folder is given.
#include "exit_status.h"
#include "package_builder.h"
#include "package_inspector.h"
#include "package_signer.h"
#include "schema_names.h"

#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#ifndef FWUPDATE_HOST_BIN_DIR
#define FWUPDATE_HOST_BIN_DIR ""
#endif

namespace {

using namespace norvane_tools;

const char* const usage_text =
    "usage:\n"
    "  fwpkg keygen NAME\n"
    "      writes the signing key NAME.key.pem (private, mode 0600) and NAME.pub.pem\n"
    "      (its public half, for the devices' trust folder)\n"
    "  fwpkg build FOLDER -o PACKAGE.zip --version V --type TYPE\n"
    "              [--group TYPE:VERSION[=FILE,...]]... [--device-id ID] [--description TEXT]\n"
    "              [--sign NAME.key.pem]\n"
    "      packs the files of FOLDER with their FW_package.xml; --sign adds FW_package.sha256\n"
    "      and FW_package.sha256.sig\n"
    "  fwpkg check PACKAGE.zip [--trust DIR] [--verbose]\n"
    "      runs the device's verification; with --trust, as a device whose trust folder is\n"
    "      DIR (its *.pem files are the trusted keys), so the signature must be valid too\n"
    "  fwpkg show PACKAGE.zip [--trust DIR]\n"
    "      prints the description and whether the package is signed; with --trust, which\n"
    "      key of DIR signed it and that key's fingerprint\n"
    "  fwpkg --help\n"
    "package types: DEVICE_FIRMWARE, DEVICE_ENHANCEMENT, DEVICE_OPT_LANGUAGE, GATEWAY_FIRMWARE,\n"
    "  MOBILE_AGENT. Group types are the version-information names (MAIN, ENGINE, PANEL, ...).\n"
    "  Without --group all files form one MAIN group of the package version.\n"
    "exit status:\n"
    "  0  done: key pair written, package built, verified or shown\n"
    "  1  the package is not verified, or the package or key pair could not be made\n"
    "  2  usage error: unknown command or option, missing or bad argument\n"
    "  3  could not run: a package, folder, key or trust folder is missing, unreadable or\n"
    "     unusable, or the package could not be extracted\n";

int usage_error(const std::string& problem)
{
    std::fprintf(stderr, "fwpkg: %s\n%s", problem.c_str(), usage_text);
    return EXIT_USAGE;
}

// The words after the command, split into options with values, flags and
// positional arguments. Anything else is a usage error, named.
struct command_line {
    std::map<std::string, std::vector<std::string>> values;
    std::map<std::string, bool> flags;
    std::vector<std::string> positional;
    std::string problem;
};

command_line parse_words(const std::vector<std::string>& words,
                         const std::vector<std::string>& value_options,
                         const std::vector<std::string>& flag_options)
{
    command_line line;
    auto is_one_of = [](const std::string& word, const std::vector<std::string>& set) {
        for (const std::string& item : set) {
            if (item == word) return true;
        }
        return false;
    };
    for (size_t i = 0; i < words.size() && line.problem.empty(); ++i) {
        const std::string& word = words[i];
        if (is_one_of(word, value_options)) {
            if (i + 1 == words.size()) {
                line.problem = "option " + word + " needs a value";
            } else {
                line.values[word].push_back(words[++i]);
            }
        } else if (is_one_of(word, flag_options)) {
            line.flags[word] = true;
        } else if (word.size() > 1 && word[0] == '-') {
            line.problem = "unknown option " + word;
        } else {
            line.positional.push_back(word);
        }
    }
    return line;
}

std::string last_value(const command_line& line, const std::string& option)
{
    auto found = line.values.find(option);
    return found == line.values.end() ? "" : found->second.back();
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

int run_keygen(const std::vector<std::string>& words)
{
    const command_line line = parse_words(words, {}, {});
    if (!line.problem.empty()) return usage_error(line.problem);
    if (line.positional.size() != 1) return usage_error("keygen needs one NAME");
    const std::string& name = line.positional[0];
    std::string fingerprint;
    std::string error;
    if (make_key_pair(name, fingerprint, error) != 0) {
        std::fprintf(stderr, "fwpkg: %s\n", error.c_str());
        return EXIT_REFUSED;
    }
    std::printf("wrote %s.key.pem (private: keep it secret) and %s.pub.pem\nfingerprint %s\n",
                name.c_str(), name.c_str(), fingerprint.c_str());
    return EXIT_DONE;
}

// The names of the package and group types, checked before any work.
int check_type_names(const build_request& request, std::string& problem)
{
    const schema_names names;
    int value = 0;
    if (names.value_of(norvane::UTL_LIB_XML_VEXA_ENUM_ID_PACKAGE_TYPE, request.type, value) != 0) {
        problem = "unknown package type " + request.type;
        return 1;
    }
    for (const group_request& group : request.groups) {
        if (names.value_of(norvane::UTL_LIB_XML_VEXA_ENUM_ID_VERSION_INFORMATION_TYPE, group.type, value) != 0) {
            problem = "unknown group type " + group.type;
            return 1;
        }
    }
    return 0;
}

int run_build(const std::vector<std::string>& words)
{
    const command_line line = parse_words(
        words, {"-o", "--version", "--type", "--group", "--device-id", "--description", "--sign"}, {});
    if (!line.problem.empty()) return usage_error(line.problem);
    build_request request;
    request.output = last_value(line, "-o");
    request.version = last_value(line, "--version");
    request.type = last_value(line, "--type");
    request.device_id = last_value(line, "--device-id");
    request.description = last_value(line, "--description");
    request.signing_key = last_value(line, "--sign");
    auto groups = line.values.find("--group");
    for (size_t i = 0; groups != line.values.end() && i < groups->second.size(); ++i) {
        group_request group;
        if (parse_group(groups->second[i], group) != 0) {
            return usage_error("bad group " + groups->second[i] + " (TYPE:VERSION[=FILE,...])");
        }
        request.groups.push_back(group);
    }
    if (line.positional.size() != 1 || request.output.empty() || request.version.empty() ||
        request.type.empty()) {
        return usage_error("build needs FOLDER, -o PACKAGE.zip, --version and --type");
    }
    request.folder = line.positional[0];
    std::string problem;
    if (check_type_names(request, problem) != 0) {
        return usage_error(problem);
    }
    std::string error;
    std::string summary;
    const int result = build_package(request, error, summary);
    if (result != EXIT_DONE) {
        std::fprintf(stderr, "fwpkg: %s\n", error.c_str());
        return result;
    }
    std::printf("built %s: version %s, type %s\n%s", request.output.c_str(), request.version.c_str(),
                request.type.c_str(), summary.c_str());
    return EXIT_DONE;
}

int run_check(const std::vector<std::string>& words)
{
    const command_line line = parse_words(words, {"--trust"}, {"--verbose"});
    if (!line.problem.empty()) return usage_error(line.problem);
    if (line.positional.size() != 1) return usage_error("check needs one PACKAGE.zip");
    const std::string& zip = line.positional[0];
    const bool verbose = line.flags.count("--verbose") != 0;
    prepare_environment(verbose);
    check_outcome outcome;
    std::string error;
    const int result = check_package(zip, last_value(line, "--trust"), outcome, error);
    if (verbose) {
        std::fputs(outcome.log.c_str(), stdout);
    }
    if (result == EXIT_CANNOT_RUN) {
        std::fprintf(stderr, "fwpkg: %s\n", error.c_str());
        return result;
    }
    if (result == EXIT_DONE) {
        std::printf("%s: verified: version %s, type %s\n", zip.c_str(), outcome.version.c_str(),
                    outcome.type.c_str());
        if (!outcome.signing_key.empty()) {
            std::printf("signed by %s, fingerprint %s\n", outcome.signing_key.c_str(),
                        outcome.fingerprint.c_str());
        }
        return EXIT_DONE;
    }
    std::printf("%s: verification failed\n%s", zip.c_str(), outcome.causes.c_str());
    return EXIT_REFUSED;
}

int run_show(const std::vector<std::string>& words)
{
    const command_line line = parse_words(words, {"--trust"}, {});
    if (!line.problem.empty()) return usage_error(line.problem);
    if (line.positional.size() != 1) return usage_error("show needs one PACKAGE.zip");
    prepare_environment(false);
    std::string table;
    std::string error;
    const int result = show_package(line.positional[0], last_value(line, "--trust"), table, error);
    if (result != EXIT_DONE) {
        std::fprintf(stderr, "fwpkg: %s\n", error.c_str());
        return result;
    }
    std::fputs(table.c_str(), stdout);
    return EXIT_DONE;
}

}  // namespace

int main(int argc, char** argv)
{
    std::vector<std::string> words(argv + 1, argv + argc);
    for (const std::string& word : words) {
        if (word == "--help" || word == "-h") {
            std::fputs(usage_text, stdout);
            return EXIT_DONE;
        }
    }
    if (words.empty()) {
        return usage_error("no command");
    }
    const std::string command = words[0];
    words.erase(words.begin());
    if (command == "keygen") return run_keygen(words);
    if (command == "build") {
        prepare_environment(false);
        return run_build(words);
    }
    if (command == "check") return run_check(words);
    if (command == "show") return run_show(words);
    return usage_error(command[0] == '-' ? "unknown option " + command : "unknown command " + command);
}
