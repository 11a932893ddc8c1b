#include "mobile_command_line.h"

#include <cstdlib>

namespace norvane_tools {

namespace {

const char* const usage_text =
    "usage: fwupdate-mobile [OPTIONS] COMMAND...\n"
    "Plays the phone on the accessory link of the firmware-update program on this host.\n"
    "commands (several may follow each other; replay stands alone):\n"
    "  deliver PACKAGE.zip   upload the package, poll the status until finished, confirm\n"
    "  status OPTION         send one status query with OPTION (1 stored?, 2 validated?)\n"
    "  send-raw HEX...       send each HEX argument as one transfer, then read replies\n"
    "  replay CAPTURE.pcapng send the phone's transfers of a capture and compare every reply\n"
    "                        with the recorded one; the first difference is printed\n"
    "options:\n"
    "  --socket PATH         listening socket (default $FWUPDATE_AOA_SOCKET or /tmp/fwupdate-aoa.sock)\n"
    "  --run BINARY          empty /tmp/fwupdate/update, start BINARY, reap it at the end\n"
    "  --state-dir DIR       the program's FWUPDATE_STATE_DIR (default $FWUPDATE_STATE_DIR or /tmp/fwupdate-state)\n"
    "  --faults LIST         the program's FWUPDATE_FAULTS (with --run)\n"
    "  --program-log FILE    the program's standard error goes to FILE (with --run)\n"
    "  --host-bin DIR        folder put first in the program's PATH (the busybox front)\n"
    "  --launcher WORDS      start the program through WORDS, e.g. \"qemu-arm -L /usr/arm-linux-gnueabihf\"\n"
    "  --capture FILE        record every transfer, both ways, into FILE (pcapng; open it in\n"
    "                        Wireshark with tools/wireshark/fwupdate.lua)\n"
    "  --wait-for-verification   (with --run) after the upload reply, send nothing until the\n"
    "                        program's log shows its verification queued, so the replies to a\n"
    "                        failing package are the same on every run; replay does this itself\n"
    "  --request-id N --version N --reserved N   identity of the requests (default 1, 1, 0)\n"
    "  --transfer-size N     bytes per transfer, 17 to 65536 (default 16384)\n"
    "  --first-transfer-with-body   put body bytes into the header's transfer\n"
    "  --single-transfer     the header and the whole package in one transfer\n"
    "  --timeout SECONDS     wait for each reply at most this long (default 600)\n"
    "  --exit-wait SECONDS   wait for the program to end after the commands (default 5)\n"
    "  --no-handshake        send the first command at once, without the readiness handshake\n"
    "                        (a status query with option 1 answered before anything else)\n"
    "  --plain               plain lines even on a terminal\n"
    "  -h, --help            this text\n"
    "exit status:\n"
    "  0  every command succeeded (a delivery was confirmed, a replay matched)\n"
    "  1  a delivery failed, a replay differed, or the program started here ended with non-zero\n"
    "  2  usage error (an unknown option or command, a bad value)\n"
    "  3  could not run (a missing or unreadable file, the socket, the program, the capture)\n";

std::string env_or(const char* name, const char* fallback)
{
    const char* value = std::getenv(name);
    return (value != nullptr && value[0] != '\0') ? value : fallback;
}

bool is_command_word(const std::string& word)
{
    return word == "deliver" || word == "status" || word == "send-raw" || word == "replay";
}

int parse_number(const std::string& text, unsigned long limit, unsigned long& value)
{
    char* end = nullptr;
    value = std::strtoul(text.c_str(), &end, 0);
    return (text.empty() || text[0] == '-' || *end != '\0' || value > limit) ? 1 : 0;
}

}  // namespace

mobile_command_line::mobile_command_line(const std::string& host_bin_dir)
{
    settings_.host_bin_dir = host_bin_dir;
}

const char* mobile_command_line::usage()
{
    return usage_text;
}

int mobile_command_line::fail_(const std::string& what)
{
    error_ = what;
    return 1;
}

int mobile_command_line::parse(const std::vector<std::string>& words)
{
    for (const std::string& word : words) {
        if (word == "--help" || word == "-h") {
            settings_.help = true;
            return 0;
        }
    }
    for (size_t i = 0; i < words.size(); ++i) {
        if (is_command_word(words[i])) {
            mobile_command next{words[i], {}};
            // A command's arguments run up to the next command or option.
            while (i + 1 < words.size() && !is_command_word(words[i + 1]) &&
                   words[i + 1].rfind("-", 0) != 0) {
                next.args.push_back(words[++i]);
            }
            settings_.commands.push_back(next);
        } else if (words[i].rfind("-", 0) == 0) {
            if (read_option_(words, i) != 0) {
                return 1;
            }
        } else {
            return fail_("unknown command " + words[i]);
        }
    }
    if (check_commands_() != 0) {
        return 1;
    }
    if (settings_.wait_for_verification && settings_.run_binary.empty()) {
        return fail_("--wait-for-verification needs --run: only a program started here has a log to read");
    }
    if (settings_.socket_path.empty()) {
        settings_.socket_path = env_or("FWUPDATE_AOA_SOCKET", "/tmp/fwupdate-aoa.sock");
    }
    if (settings_.state_dir.empty()) {
        settings_.state_dir = env_or("FWUPDATE_STATE_DIR", "/tmp/fwupdate-state");
    }
    return 0;
}

int mobile_command_line::read_option_(const std::vector<std::string>& words, size_t& i)
{
    const std::string& word = words[i];
    auto value = [&](std::string& out) {
        if (i + 1 >= words.size()) {
            return 1;
        }
        out = words[++i];
        return 0;
    };
    auto number = [&](unsigned long lowest, unsigned long limit, unsigned long& out) {
        std::string text;
        return (value(text) != 0 || parse_number(text, limit, out) != 0 || out < lowest) ? 1 : 0;
    };
    mobile_settings& s = settings_;
    unsigned long n = 0;
    int bad = 0;
    if (word == "--socket") bad = value(s.socket_path);
    else if (word == "--run") bad = value(s.run_binary);
    else if (word == "--state-dir") bad = value(s.state_dir);
    else if (word == "--faults") bad = value(s.faults);
    else if (word == "--program-log") bad = value(s.program_log);
    else if (word == "--host-bin") bad = value(s.host_bin_dir);
    else if (word == "--launcher") bad = value(s.launcher);
    else if (word == "--capture") bad = value(s.capture_path);
    else if (word == "--request-id") { bad = number(0, 0xFFFF, n); s.upload.request_id = static_cast<uint16_t>(n); }
    else if (word == "--version") { bad = number(0, 0xFFFF, n); s.upload.version = static_cast<uint16_t>(n); }
    else if (word == "--reserved") { bad = number(0, 0xFFFF, n); s.upload.reserved = static_cast<uint16_t>(n); }
    else if (word == "--transfer-size") { bad = number(17, 65536, n); s.upload.transfer_size = n; }
    else if (word == "--timeout") { bad = number(1, 86400, n); s.timeout_s = static_cast<int>(n); }
    else if (word == "--exit-wait") { bad = number(0, 86400, n); s.exit_wait_s = static_cast<int>(n); }
    else if (word == "--first-transfer-with-body") s.upload.first_transfer_with_body = true;
    else if (word == "--single-transfer") s.upload.single_transfer = true;
    else if (word == "--wait-for-verification") s.wait_for_verification = true;
    else if (word == "--no-handshake") s.handshake = false;
    else if (word == "--plain") s.plain = true;
    else return fail_("unknown option " + word);
    if (bad != 0) {
        return fail_("bad or missing value for " + word);
    }
    return 0;
}

int mobile_command_line::check_commands_()
{
    if (settings_.commands.empty()) {
        return fail_("no command given (deliver, status, send-raw or replay)");
    }
    for (const mobile_command& each : settings_.commands) {
        const bool one_arg = each.name != "send-raw";
        if ((one_arg && each.args.size() != 1) || each.args.empty()) {
            return fail_(each.name + (one_arg ? " needs exactly one argument" : " needs at least one argument"));
        }
        unsigned long option = 0;
        if (each.name == "status" && parse_number(each.args[0], 0xFFFF, option) != 0) {
            return fail_("bad status option " + each.args[0] + " (a number up to 65535)");
        }
        if (each.name == "replay" && settings_.commands.size() != 1) {
            return fail_("replay is the only command of a run");
        }
        for (const std::string& hex : each.args) {
            std::string bytes;
            if (each.name == "send-raw" && (from_hex(hex, bytes) != 0 || bytes.empty())) {
                return fail_("bad hex transfer \"" + hex + "\" (pairs of hex digits, blanks allowed)");
            }
        }
    }
    return 0;
}

}  // namespace norvane_tools
