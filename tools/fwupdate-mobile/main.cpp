// fwupdate-mobile: plays the phone against the update program on the host.
//
//   fwupdate-mobile [OPTIONS] COMMAND... where each COMMAND is one of
//     deliver PACKAGE.zip     upload, poll until finished, confirm
//     status OPTION           one status query
//     send-raw HEX...         hand-made packets, one transfer per argument
//     replay CAPTURE.pcapng   the phone's side of a capture, replies compared
//
// It listens on the accessory socket; with --run it also empties the
// extraction folder, starts the program with the host environment, and
// reports the program's exit status, the update-service log and the records.
// With --capture it records every transfer of the link into a pcapng file.
#include "capture_replay.h"
#include "mobile_command_line.h"
#include "mobile_session.h"
#include "pcapng_reader.h"
#include "program_log_watch.h"
#include "program_runner.h"
#include "run_report.h"
#include "transfer_capture.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <unistd.h>
#include <vector>

#ifndef FWUPDATE_HOST_BIN_DIR
#define FWUPDATE_HOST_BIN_DIR ""
#endif

namespace {

using namespace norvane_tools;

// The controller logs this state change right after it queued its
// verification (or ended the run when storing the package failed), in the
// same step that sent the upload reply.
const char* const verification_queued_line = "Change exec state. [DOWNLOAD] -> [";

// What the run reads before anything starts, so that a missing file stops it
// before the program does.
struct run_inputs {
    std::map<std::string, std::string> packages;   // path -> bytes
    capture_replay replay;
    transfer_capture capture;
};

int read_file(const std::string& path, std::string& bytes, std::string& error)
{
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        error = std::strerror(errno);
        return 1;
    }
    bytes.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    return 0;
}

int read_inputs(const mobile_settings& config, run_inputs& inputs, run_report& report)
{
    for (const mobile_command& each : config.commands) {
        std::string error;
        if (each.name == "deliver" &&
            read_file(each.args[0], inputs.packages[each.args[0]], error) != 0) {
            report.line("cannot read the package " + each.args[0] + ": " + error);
            return 1;
        }
        if (each.name == "deliver" && config.upload.single_transfer &&
            inputs.packages[each.args[0]].size() + 16 > 65536) {
            report.line("the package " + each.args[0] + " does not fit in one transfer of 65536 bytes");
            return 1;
        }
        if (each.name == "replay") {
            pcapng_reader reader;
            if (reader.read_file(each.args[0]) != 0 || inputs.replay.load(reader.packets()) != 0) {
                report.line("cannot replay " + each.args[0] + ": " +
                            (reader.last_error().empty() ? inputs.replay.error() : reader.last_error()));
                return 1;
            }
        }
    }
    if (!config.run_binary.empty() && ::access(config.run_binary.c_str(), X_OK) != 0) {
        report.line("cannot start " + config.run_binary + ": " + std::strerror(errno));
        return 1;
    }
    if (!config.capture_path.empty() && inputs.capture.open(config.capture_path) != 0) {
        report.line("cannot capture: " + inputs.capture.error());
        return 1;
    }
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

int run_deliver(mobile_session& session, const mobile_settings& config, const std::string& path,
                const std::string& package, run_report& report)
{
    report.line("delivering " + path + " (" + std::to_string(package.size()) + " bytes)");
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

int run_status(mobile_session& session, const std::string& option_text, run_report& report)
{
    const uint16_t option = static_cast<uint16_t>(std::strtoul(option_text.c_str(), nullptr, 0));
    header reply = {};
    std::string wire;
    if (session.send_status(option) != 0 || session.read_reply(reply, wire) != 0) {
        report.line("status " + option_text + ": " + session.error());
        return exit_failed;
    }
    return exit_succeeded;
}

int run_send_raw(mobile_session& session, const std::vector<std::string>& transfers, run_report& report)
{
    int outcome = exit_succeeded;
    for (const std::string& hex : transfers) {
        std::string bytes;
        from_hex(hex, bytes);
        if (session.send_raw(bytes) != 0) {
            report.line("send-raw: " + session.error());
            outcome = exit_failed;
            break;
        }
        report.line("sent " + to_hex(bytes.substr(0, 64)) + (bytes.size() > 64 ? " ..." : ""));
    }
    drain_replies(session, 500);
    return outcome;
}

int run_commands(mobile_session& session, const mobile_settings& config, run_inputs& inputs,
                 run_report& report)
{
    int outcome = exit_succeeded;
    for (const mobile_command& each : config.commands) {
        if (each.name == "deliver") {
            outcome |= run_deliver(session, config, each.args[0], inputs.packages[each.args[0]], report);
        } else if (each.name == "status") {
            outcome |= run_status(session, each.args[0], report);
        } else {
            outcome |= run_send_raw(session, each.args, report);
        }
    }
    return outcome;
}

// The phone's side of a capture. The step after an upload reply waits for
// the program's verification, when the program was started here.
int run_replay(phone_socket& socket, const mobile_settings& config, run_inputs& inputs,
               run_report& report)
{
    size_t upload_replies = 0;
    replay_options options;
    options.reply_timeout_ms = config.timeout_s * 1000;
    options.end_wait_ms = config.exit_wait_s * 1000;
    options.report = [&report](const std::string& line) { report.line(line); };
    if (!config.run_binary.empty()) {
        options.after_upload_reply = [&config, &upload_replies]() {
            return program_log_watch(config.program_log)
                .wait_for_count(verification_queued_line, ++upload_replies, config.timeout_s * 1000);
        };
    } else {
        report.line("the program was not started here: a query right after the upload reply may"
                    " overtake its verification (docs/protocol.md)");
    }
    report.line("replaying " + config.commands[0].args[0] + " (" +
                std::to_string(inputs.replay.phone_transfers()) + " transfers of the phone, " +
                std::to_string(inputs.replay.replies()) + " replies)");
    if (inputs.replay.play(socket, options) != 0) {
        report.line("replay differs: " + inputs.replay.error());
        return exit_failed;
    }
    report.line("replay matched: every reply as recorded");
    return exit_succeeded;
}

int run_session(phone_socket& socket, const mobile_settings& config, run_inputs& inputs,
                run_report& report)
{
    if (config.commands[0].name == "replay") {
        return run_replay(socket, config, inputs, report);
    }
    mobile_session session(socket, config.timeout_s * 1000);
    session.set_identity(config.upload.version, config.upload.reserved, config.upload.request_id);
    size_t upload_replies = 0;
    session.set_reply_observer([&](const header& reply, const std::string& wire) {
        report.line("reply " + to_hex(wire.substr(0, 16)) + "  " + describe_reply(reply));
        if (config.wait_for_verification &&
            reply.command == norvane::QAV_MNT_FWUPDATE_MBA_RESPONSE_CMD_SEND_FIRMWARE_UPGRADE_FILE &&
            program_log_watch(config.program_log)
                    .wait_for_count(verification_queued_line, ++upload_replies, config.timeout_s * 1000) != 0) {
            report.line("the program did not log that its verification is queued");
        }
    });
    // The device takes package data only once it answers a status query; a
    // phone that sends at once races the device's start-up (--no-handshake
    // shows that race).
    if (config.handshake) {
        report.line("handshake: status query with option 1");
        if (session.handshake() != 0) {
            report.line(session.error());
            return exit_failed;
        }
    }
    return run_commands(session, config, inputs, report);
}

// A program log to read, for the waits that need one, when none was named.
int choose_program_log(mobile_settings& config, run_report& report)
{
    const bool needs_log = config.wait_for_verification || config.commands[0].name == "replay";
    if (config.run_binary.empty() || !config.program_log.empty() || !needs_log) {
        return 0;
    }
    char path[] = "/tmp/fwupdate-mobile-program-XXXXXX.log";
    const int fd = ::mkstemps(path, 4);
    if (fd < 0) {
        report.line(std::string("cannot create a program log: ") + std::strerror(errno));
        return 1;
    }
    ::close(fd);
    config.program_log = path;
    return 0;
}

int start_program(program_runner& program, const mobile_settings& config, run_report& report)
{
    if (program_runner::empty_work_dir() != 0) {
        report.line(std::string("cannot empty ") + fwupdate_work_dir);
        return 1;
    }
    program_environment environment{config.socket_path, config.state_dir, config.faults,
                                    config.host_bin_dir, config.program_log,
                                    launcher_words(config.launcher), {}};
    if (config.trust_dir_given) {
        environment.extra_variables.push_back({"FWUPDATE_TRUST_DIR", config.trust_dir});
    }
    if (program.start(config.run_binary, environment) != 0) {
        report.line("cannot start " + config.run_binary);
        return 1;
    }
    report.line("started " + config.run_binary);
    return 0;
}

// Reaps the program and shows what it left. A replay is judged by its
// replies alone: some recorded runs end with status 1.
int finish_program(program_runner& program, const mobile_settings& config, run_report& report)
{
    int outcome = exit_succeeded;
    int exit_status = 0;
    const bool replay = config.commands[0].name == "replay";
    if (program.wait_exit(config.exit_wait_s * 1000, exit_status) != 0) {
        program.kill_program();
        report.line("the program was still running after " + std::to_string(config.exit_wait_s) +
                    " s (it waits for the phone without limit); ended it");
        outcome = replay ? exit_succeeded : exit_failed;
    } else {
        report.line("program exited with status " + std::to_string(exit_status));
        if (exit_status != 0 && !replay) {
            outcome = exit_failed;
        }
    }
    report.show_state(config.state_dir);
    if (!config.program_log.empty()) {
        report.line("program log: " + config.program_log);
    }
    return outcome;
}

}  // namespace

int main(int argc, char** argv)
{
    mobile_command_line command_line(FWUPDATE_HOST_BIN_DIR);
    if (command_line.parse(std::vector<std::string>(argv + 1, argv + argc)) != 0) {
        std::fprintf(stderr, "fwupdate-mobile: %s\nfwupdate-mobile --help shows the usage\n",
                     command_line.error().c_str());
        return exit_usage;
    }
    if (command_line.settings().help) {
        std::fputs(mobile_command_line::usage(), stdout);
        return exit_succeeded;
    }
    mobile_settings config = command_line.settings();
    run_report report(!config.plain && ::isatty(STDOUT_FILENO));

    run_inputs inputs;
    if (read_inputs(config, inputs, report) != 0 || choose_program_log(config, report) != 0) {
        return exit_could_not_run;
    }
    phone_socket socket;
    if (socket.listen_at(config.socket_path) != 0) {
        report.line("cannot listen: " + socket.last_error());
        return exit_could_not_run;
    }
    if (!config.capture_path.empty()) {
        socket.set_transfer_observer([&inputs](bool from_phone, const unsigned char* data, size_t size) {
            inputs.capture.record(from_phone, data, size);
        });
    }
    program_runner program;
    report.note_state(config.state_dir);
    if (!config.run_binary.empty() && start_program(program, config, report) != 0) {
        return exit_could_not_run;
    }
    report.line("waiting for the program on " + config.socket_path);
    if (socket.accept_program(config.run_binary.empty() ? 600000 : 30000) != 0) {
        report.line(socket.last_error());
        return exit_could_not_run;
    }

    int outcome = run_session(socket, config, inputs, report);

    if (!config.run_binary.empty()) {
        outcome |= finish_program(program, config, report);
    }
    if (!config.capture_path.empty()) {
        if (inputs.capture.close() != 0) {
            report.line("capture failed: " + inputs.capture.error());
            return exit_could_not_run;
        }
        report.line("captured " + std::to_string(inputs.capture.transfers()) + " transfers into " +
                    config.capture_path);
    }
    return outcome;
}
