// fwupdate-mobile's command line: what it takes, and the exact complaint for
// each thing it refuses.
#include "mobile_command_line.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace norvane_test {
namespace {

using norvane_tools::mobile_command_line;

// The complaint for a command line, or "" when it is taken.
std::string complaint(const std::vector<std::string>& words)
{
    mobile_command_line command_line("/host/bin");
    return command_line.parse(words) == 0 ? "" : command_line.error();
}

TEST(mobile_command_line_test, commands_take_their_arguments_in_order)
{
    mobile_command_line command_line("/host/bin");
    ASSERT_EQ(0, command_line.parse({"--socket", "/s", "deliver", "p.zip", "status", "1",
                                     "send-raw", "00 01", "0A0B", "--plain"}))
        << command_line.error();
    const auto& settings = command_line.settings();
    ASSERT_EQ(3u, settings.commands.size());
    EXPECT_EQ("deliver", settings.commands[0].name);
    EXPECT_EQ(std::vector<std::string>{"p.zip"}, settings.commands[0].args);
    EXPECT_EQ("status", settings.commands[1].name);
    EXPECT_EQ((std::vector<std::string>{"00 01", "0A0B"}), settings.commands[2].args);
    EXPECT_EQ("/s", settings.socket_path);
    EXPECT_EQ("/host/bin", settings.host_bin_dir);
    EXPECT_TRUE(settings.plain);
    EXPECT_FALSE(settings.help);
}

TEST(mobile_command_line_test, capture_replay_and_the_verification_wait_are_read)
{
    mobile_command_line command_line("");
    ASSERT_EQ(0, command_line.parse({"--run", "/bin/p", "--capture", "c.pcapng",
                                     "--wait-for-verification", "replay", "r.pcapng"}))
        << command_line.error();
    EXPECT_EQ("c.pcapng", command_line.settings().capture_path);
    EXPECT_TRUE(command_line.settings().wait_for_verification);
    EXPECT_EQ("replay", command_line.settings().commands[0].name);
}

TEST(mobile_command_line_test, help_anywhere_wins_over_everything_else)
{
    mobile_command_line command_line("");
    ASSERT_EQ(0, command_line.parse({"--bogus", "-h"}));
    EXPECT_TRUE(command_line.settings().help);
    mobile_command_line long_form("");
    ASSERT_EQ(0, long_form.parse({"deliver", "--help"}));
    EXPECT_TRUE(long_form.settings().help);
}

TEST(mobile_command_line_test, usage_names_every_option_and_the_exit_statuses)
{
    const std::string usage = mobile_command_line::usage();
    for (const char* option : {"--socket", "--run", "--state-dir", "--faults", "--program-log",
                               "--host-bin", "--launcher", "--capture", "--wait-for-verification",
                               "--request-id", "--transfer-size", "--first-transfer-with-body",
                               "--single-transfer", "--timeout", "--exit-wait", "--plain", "--help",
                               "replay CAPTURE.pcapng"}) {
        EXPECT_NE(std::string::npos, usage.find(option)) << option;
    }
    EXPECT_NE(std::string::npos, usage.find("exit status:\n  0  every command succeeded"));
    EXPECT_NE(std::string::npos, usage.find("\n  1  a delivery failed, a replay differed"));
    EXPECT_NE(std::string::npos, usage.find("\n  2  usage error"));
    EXPECT_NE(std::string::npos, usage.find("\n  3  could not run"));
}

TEST(mobile_command_line_test, an_unknown_option_is_named)
{
    EXPECT_EQ("unknown option --colour", complaint({"--colour", "deliver", "p.zip"}));
    EXPECT_EQ("unknown option -x", complaint({"status", "1", "-x"}));
}

TEST(mobile_command_line_test, an_unknown_command_is_named)
{
    EXPECT_EQ("unknown command upload", complaint({"upload", "p.zip"}));
}

TEST(mobile_command_line_test, a_bad_or_missing_value_names_its_option)
{
    EXPECT_EQ("bad or missing value for --transfer-size", complaint({"--transfer-size", "16", "status", "1"}));
    EXPECT_EQ("bad or missing value for --transfer-size", complaint({"--transfer-size", "65537", "status", "1"}));
    EXPECT_EQ("bad or missing value for --request-id", complaint({"--request-id", "-1", "status", "1"}));
    EXPECT_EQ("bad or missing value for --timeout", complaint({"--timeout", "0", "status", "1"}));
    EXPECT_EQ("bad or missing value for --version", complaint({"status", "1", "--version", "x"}));
    EXPECT_EQ("bad or missing value for --capture", complaint({"status", "1", "--capture"}));
}

TEST(mobile_command_line_test, commands_need_their_arguments)
{
    EXPECT_EQ("no command given (deliver, status, send-raw or replay)", complaint({}));
    EXPECT_EQ("no command given (deliver, status, send-raw or replay)", complaint({"--plain"}));
    EXPECT_EQ("deliver needs exactly one argument", complaint({"deliver"}));
    EXPECT_EQ("deliver needs exactly one argument", complaint({"deliver", "a.zip", "b.zip"}));
    EXPECT_EQ("send-raw needs at least one argument", complaint({"send-raw"}));
    EXPECT_EQ("replay needs exactly one argument", complaint({"replay"}));
}

TEST(mobile_command_line_test, a_status_option_must_be_a_16_bit_number)
{
    EXPECT_EQ("bad status option 65536 (a number up to 65535)", complaint({"status", "65536"}));
    EXPECT_EQ("bad status option two (a number up to 65535)", complaint({"status", "two"}));
    EXPECT_EQ("", complaint({"status", "0x7"}));
}

TEST(mobile_command_line_test, a_raw_transfer_must_be_pairs_of_hex_digits)
{
    EXPECT_EQ("bad hex transfer \"00 1\" (pairs of hex digits, blanks allowed)", complaint({"send-raw", "00 1"}));
    EXPECT_EQ("bad hex transfer \"zz\" (pairs of hex digits, blanks allowed)", complaint({"send-raw", "00", "zz"}));
}

TEST(mobile_command_line_test, replay_stands_alone)
{
    EXPECT_EQ("replay is the only command of a run", complaint({"replay", "c.pcapng", "status", "1"}));
    EXPECT_EQ("replay is the only command of a run", complaint({"status", "1", "replay", "c.pcapng"}));
}

TEST(mobile_command_line_test, waiting_for_the_verification_needs_a_program_started_here)
{
    EXPECT_EQ("--wait-for-verification needs --run: only a program started here has a log to read",
              complaint({"--wait-for-verification", "deliver", "p.zip"}));
}

}  // namespace
}  // namespace norvane_test
