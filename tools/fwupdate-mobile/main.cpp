// fwupdate-mobile: plays the phone against the update program on the host.
//
//   fwupdate-mobile [OPTIONS] COMMAND... where each COMMAND is one of
//     deliver PACKAGE.zip     upload, poll until finished, confirm
//     status OPTION           one status query
//     send-raw HEX...         hand-made packets, one transfer per argument
//
// It listens on the accessory socket; with --run it also empties the
// extraction folder, starts the program with the host environment, and
// reports the program's exit status, the update-service log and the records.
#include "mobile_session.h"
#include "program_runner.h"
#include "run_report.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

#ifndef FWUPDATE_HOST_BIN_DIR
#define FWUPDATE_HOST_BIN_DIR ""
#endif

namespace {

using namespace norvane_tools;

constexpr int exit_succeeded = 0;
constexpr int exit_failed = 1;
constexpr int exit_usage = 2;

struct command {
    std::string name;
    std::vector<std::string> args;
};

struct settings {
    std::string socket_path;
    std::string state_dir;
    std::string run_binary;
    std::string faults;
    std::string program_log;
    std::string host_bin_dir = FWUPDATE_HOST_BIN_DIR;
    std::string launcher;
    upload_options upload;
    int timeout_s = 600;
    int exit_wait_s = 5;
    bool plain = false;
    bool handshake = true;
    std::vector<command> commands;
};

const char* usage_text =
    "usage: fwupdate-mobile [OPTIONS] COMMAND...\n"
    "commands (several may follow each other):\n"
    "  deliver PACKAGE.zip   upload the package, poll the status until finished, confirm\n"
    "  status OPTION         send one status query with OPTION (1 stored?, 2 validated?)\n"
    "  send-raw HEX...       send each HEX argument as one transfer, then read replies\n"
    "options:\n"
    "  --socket PATH         listening socket (default $FWUPDATE_AOA_SOCKET or /tmp/fwupdate-aoa.sock)\n"
    "  --run BINARY          empty /tmp/fwupdate/update, start BINARY, reap it at the end\n"
    "  --state-dir DIR       the program's FWUPDATE_STATE_DIR (default $FWUPDATE_STATE_DIR or /tmp/fwupdate-state)\n"
    "  --faults LIST         the program's FWUPDATE_FAULTS (with --run)\n"
    "  --program-log FILE    the program's standard error goes to FILE (with --run)\n"
    "  --host-bin DIR        folder put first in the program's PATH (the busybox front)\n"
    "  --launcher WORDS      start the program through WORDS, e.g. \"qemu-arm -L /usr/arm-linux-gnueabihf\"\n"
    "  --request-id N --version N --reserved N   identity of the requests (default 1, 1, 0)\n"
    "  --transfer-size N     bytes per transfer, at most 65536 (default 16384)\n"
    "  --first-transfer-with-body   put body bytes into the header's transfer\n"
    "  --single-transfer     the header and the whole package in one transfer\n"
    "  --timeout SECONDS     wait for each reply at most this long (default 600)\n"
    "  --exit-wait SECONDS   wait for the program to end after the commands (default 5)\n"
    "  --no-handshake        send the first command at once, without the readiness handshake\n"
    "                        (a status query with option 1 answered before anything else)\n"
    "  --plain               plain lines even on a terminal\n";

std::string env_or(const char* name, const char* fallback)
{
    const char* value = std::getenv(name);
    return (value != nullptr && value[0] != '\0') ? value : fallback;
}

std::vector<std::string> split_words(const std::string& text)
{
    std::istringstream stream(text);
    std::vector<std::string> words;
    std::string word;
    while (stream >> word) {
        words.push_back(word);
    }
    return words;
}

bool is_command_word(const std::string& word)
{
    return word == "deliver" || word == "status" || word == "send-raw";
}

int parse_number(const std::string& text, unsigned long limit, unsigned long& value)
{
    char* end = nullptr;
    value = std::strtoul(text.c_str(), &end, 0);
    return (end == text.c_str() || *end != '\0' || value > limit) ? 1 : 0;
}

int parse_arguments(int argc, char** argv, settings& config)
{
    std::vector<std::string> words(argv + 1, argv + argc);
    for (size_t i = 0; i < words.size(); ++i) {
        const std::string& word = words[i];
        auto value = [&](std::string& out) {
            if (i + 1 >= words.size()) {
                return 1;
            }
            out = words[++i];
            return 0;
        };
        auto number = [&](unsigned long limit, unsigned long& out) {
            std::string text;
            return value(text) != 0 ? 1 : parse_number(text, limit, out);
        };
        unsigned long n = 0;
        int bad = 0;
        if (word == "--socket") bad = value(config.socket_path);
        else if (word == "--run") bad = value(config.run_binary);
        else if (word == "--state-dir") bad = value(config.state_dir);
        else if (word == "--faults") bad = value(config.faults);
        else if (word == "--program-log") bad = value(config.program_log);
        else if (word == "--host-bin") bad = value(config.host_bin_dir);
        else if (word == "--launcher") bad = value(config.launcher);
        else if (word == "--request-id") { bad = number(0xFFFF, n); config.upload.request_id = static_cast<uint16_t>(n); }
        else if (word == "--version") { bad = number(0xFFFF, n); config.upload.version = static_cast<uint16_t>(n); }
        else if (word == "--reserved") { bad = number(0xFFFF, n); config.upload.reserved = static_cast<uint16_t>(n); }
        else if (word == "--transfer-size") { bad = number(65536, n) || n < 17; config.upload.transfer_size = n; }
        else if (word == "--timeout") { bad = number(86400, n); config.timeout_s = static_cast<int>(n); }
        else if (word == "--exit-wait") { bad = number(86400, n); config.exit_wait_s = static_cast<int>(n); }
        else if (word == "--first-transfer-with-body") config.upload.first_transfer_with_body = true;
        else if (word == "--single-transfer") config.upload.single_transfer = true;
        else if (word == "--plain") config.plain = true;
        else if (word == "--no-handshake") config.handshake = false;
        else if (is_command_word(word)) {
            command next{word, {}};
            while (i + 1 < words.size() && !is_command_word(words[i + 1])) {
                next.args.push_back(words[++i]);
            }
            config.commands.push_back(next);
        } else {
            std::fprintf(stderr, "fwupdate-mobile: unknown argument %s\n", word.c_str());
            return 1;
        }
        if (bad) {
            std::fprintf(stderr, "fwupdate-mobile: bad or missing value for %s\n", word.c_str());
            return 1;
        }
    }
    for (const command& each : config.commands) {
        const bool one_arg = each.name != "send-raw";
        if ((one_arg && each.args.size() != 1) || each.args.empty()) {
            std::fprintf(stderr, "fwupdate-mobile: %s needs %s\n", each.name.c_str(),
                         one_arg ? "exactly one argument" : "at least one argument");
            return 1;
        }
    }
    if (config.commands.empty()) {
        return 1;
    }
    if (config.socket_path.empty()) config.socket_path = env_or("FWUPDATE_AOA_SOCKET", "/tmp/fwupdate-aoa.sock");
    if (config.state_dir.empty()) config.state_dir = env_or("FWUPDATE_STATE_DIR", "/tmp/fwupdate-state");
    return 0;
}

int read_package(const std::string& path, std::string& bytes)
{
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        return 1;
    }
    bytes.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    return 0;
}

// Reads every reply that arrives within a short while after hand-made packets.
void drain_replies(mobile_session& session, int timeout_ms)
{
    header reply = {};
    std::string wire;
    while (session.read_reply(reply, timeout_ms, wire) == 0) {
    }
}

int run_deliver(mobile_session& session, const settings& config, const command& each,
                run_report& report)
{
    std::string package;
    if (read_package(each.args[0], package) != 0) {
        report.line("cannot read the package " + each.args[0]);
        return exit_usage;
    }
    if (config.upload.single_transfer && package.size() + 16 > 65536) {
        report.line("the package does not fit in one transfer of 65536 bytes");
        return exit_usage;
    }
    report.line("delivering " + each.args[0] + " (" + std::to_string(package.size()) + " bytes)");
    report.start_progress(package.size());
    delivery_result result = deliver_package(
        session, package, config.upload,
        [&report](size_t sent, size_t total) { report.progress(sent, total); }, 50);
    report.end_progress();
    if (!result.error.empty()) {
        report.line("delivery stopped: " + result.error);
    }
    report.line(result.succeeded() ? "delivery succeeded" : "delivery failed");
    return result.succeeded() ? exit_succeeded : exit_failed;
}

int run_commands(mobile_session& session, const settings& config, run_report& report)
{
    int outcome = exit_succeeded;
    for (const command& each : config.commands) {
        if (each.name == "deliver") {
            outcome |= run_deliver(session, config, each, report);
        } else if (each.name == "status") {
            unsigned long option = 0;
            if (parse_number(each.args[0], 0xFFFF, option) != 0) {
                report.line("bad status option " + each.args[0]);
                return exit_usage;
            }
            header reply = {};
            std::string wire;
            if (session.send_status(static_cast<uint16_t>(option)) != 0 ||
                session.read_reply(reply, wire) != 0) {
                report.line("status " + each.args[0] + ": " + session.error());
                outcome |= exit_failed;
            }
        } else {
            for (const std::string& hex : each.args) {
                std::string bytes;
                if (from_hex(hex, bytes) != 0 || bytes.empty()) {
                    report.line("bad hex transfer " + hex);
                    return exit_usage;
                }
                if (session.send_raw(bytes) != 0) {
                    report.line("send-raw: " + session.error());
                    outcome |= exit_failed;
                    break;
                }
                report.line("sent " + to_hex(bytes.substr(0, 64)) + (bytes.size() > 64 ? " ..." : ""));
            }
            drain_replies(session, 500);
        }
    }
    return outcome;
}

}  // namespace

int main(int argc, char** argv)
{
    settings config;
    if (parse_arguments(argc, argv, config) != 0) {
        std::fputs(usage_text, stderr);
        return exit_usage;
    }
    run_report report(!config.plain && ::isatty(STDOUT_FILENO));

    phone_socket socket;
    if (socket.listen_at(config.socket_path) != 0) {
        report.line("cannot listen: " + socket.last_error());
        return exit_usage;
    }
    program_runner program;
    const auto started = std::chrono::system_clock::now();
    const size_t log_offset = report.log_size(config.state_dir);
    if (!config.run_binary.empty()) {
        if (program_runner::empty_work_dir() != 0) {
            report.line(std::string("cannot empty ") + fwupdate_work_dir);
            return exit_usage;
        }
        program_environment environment{config.socket_path, config.state_dir, config.faults,
                                        config.host_bin_dir, config.program_log,
                                        split_words(config.launcher), {}};
        if (program.start(config.run_binary, environment) != 0) {
            report.line("cannot start " + config.run_binary);
            return exit_usage;
        }
        report.line("started " + config.run_binary);
    }
    report.line("waiting for the program on " + config.socket_path);
    if (socket.accept_program(config.run_binary.empty() ? 600000 : 30000) != 0) {
        report.line(socket.last_error());
        return exit_usage;
    }
    mobile_session session(socket, config.timeout_s * 1000);
    session.set_identity(config.upload.version, config.upload.reserved, config.upload.request_id);
    session.set_reply_observer([&report](const header& reply, const std::string& wire) {
        report.line("reply " + to_hex(wire.substr(0, 16)) + "  " + describe_reply(reply));
    });

    // The device takes package data only once it answers a status query; a
    // phone that sends at once races the device's start-up (--no-handshake
    // shows that race).
    int outcome = exit_succeeded;
    if (config.handshake) {
        report.line("handshake: status query with option 1");
        if (session.handshake() != 0) {
            report.line(session.error());
            outcome = exit_failed;
        }
    }
    if (outcome == exit_succeeded) {
        outcome = run_commands(session, config, report);
    }

    if (!config.run_binary.empty()) {
        int exit_status = 0;
        if (program.wait_exit(config.exit_wait_s * 1000, exit_status) != 0) {
            program.kill_program();
            report.line("the program was still running after " + std::to_string(config.exit_wait_s) +
                        " s (it waits for the phone without limit); ended it");
            outcome |= exit_failed;
        } else {
            report.line("program exited with status " + std::to_string(exit_status));
            if (exit_status != 0) {
                outcome |= exit_failed;
            }
        }
        report.show_state(config.state_dir, log_offset, started);
        if (!config.program_log.empty()) {
            report.line("program log: " + config.program_log);
        }
    }
    return outcome;
}
