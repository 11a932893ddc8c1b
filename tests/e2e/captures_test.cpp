// The captured deliveries kept in tests/captures: each one replays against
// the program of this build with every reply as recorded, and recording them
// again gives the same transfers.
#include "e2e_fixture.h"

#include "command_output.h"
#include "pcapng_reader.h"

#include <cstdlib>
#include <filesystem>
#include <set>

namespace norvane_test {
namespace {

using norvane_tools::pcapng_reader;
namespace pcapng = norvane_tools::pcapng;

const std::string captures = FWUPDATE_SOURCE_DIR "/tests/captures";

// One line per transfer: its direction and its bytes, without its time.
std::string transfers_of(const std::string& path)
{
    pcapng_reader reader;
    EXPECT_EQ(0, reader.read_file(path)) << reader.last_error();
    std::string lines;
    for (const auto& packet : reader.packets()) {
        lines += (packet.direction == pcapng::direction_outbound ? "phone  " : "device ") +
                 norvane_tools::to_hex(packet.bytes) + "\n";
    }
    return lines;
}

std::set<std::string> capture_names(const std::string& folder)
{
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.path().extension() == ".pcapng") {
            names.insert(entry.path().filename().string());
        }
    }
    return names;
}

class captures_test : public e2e_fixture {
protected:
    command_output replay(const std::string& name)
    {
        std::string launcher;
        const char* words = std::getenv("FWUPDATE_E2E_LAUNCHER");
        if (words != nullptr && words[0] != '\0') {
            launcher = "--launcher '" + std::string(words) + "' ";
        }
        return run_command("'" + std::string(FWUPDATE_MOBILE_BINARY) + "' --plain --socket '" +
                           dir_.file("replay.sock") + "' --state-dir '" + state_dir_ +
                           "' --program-log '" + dir_.file("replay-program.log") + "' " + launcher +
                           "--run '" + program_binary() + "' replay '" + captures + "/" + name + "'");
    }

    std::string program_log_text() const { return read_file_bytes(dir_.file("replay-program.log")); }

    void expect_replayed(const command_output& result)
    {
        EXPECT_EQ(0, result.status) << result.out << result.err;
        EXPECT_NE(std::string::npos, result.out.find("\nreplay matched: every reply as recorded\n"))
            << result.out;
    }
};

TEST_F(captures_test, sample_delivery_replays_as_recorded)
{
    const command_output result = replay("sample-delivery.pcapng");
    expect_replayed(result);
    EXPECT_NE(std::string::npos,
              result.out.find("\nreply 00 01 00 00 00 03 00 00 80 13 00 02 00 00 00 00 (status: finished,"
                              " result 0 OK)\nreplay matched"));
    EXPECT_NE(std::string::npos, result.out.find("\nprogram exited with status 0\n"));
    EXPECT_EQ("1.0.0", record("FIRMWARE_VERSION_DEVICE").substr(0, 5));
}

TEST_F(captures_test, broken_checksum_replays_as_recorded)
{
    const command_output result = replay("broken-checksum.pcapng");
    expect_replayed(result);
    EXPECT_NE(std::string::npos,
              result.out.find("\nreply 00 01 00 00 00 02 00 15 80 13 00 02 00 00 00 00 (status: finished,"
                              " result 21 error in firmware file)\nreplay matched"));
    EXPECT_NE(std::string::npos, program_log_text().find("Checksum in the list did not match."));
}

TEST_F(captures_test, not_a_zip_replays_as_recorded)
{
    const command_output result = replay("not-a-zip.pcapng");
    expect_replayed(result);
    EXPECT_NE(std::string::npos,
              result.out.find("\nreply 00 01 00 00 00 02 00 15 80 13 00 02 00 00 00 00 (status: finished,"
                              " result 21 error in firmware file)\nreplay matched"));
}

TEST_F(captures_test, bad_status_option_replays_as_recorded)
{
    const command_output result = replay("bad-status-option.pcapng");
    expect_replayed(result);
    EXPECT_NE(std::string::npos, program_log_text().find("Unknown option code. [0x0007]"));
}

TEST_F(captures_test, unknown_command_replays_as_recorded)
{
    const command_output result = replay("unknown-command.pcapng");
    expect_replayed(result);
    EXPECT_NE(std::string::npos, result.out.find("\nprogram exited with status 1\n"));
    EXPECT_NE(std::string::npos, program_log_text().find("recv unknown command. cmd[0x0099]"));
}

TEST_F(captures_test, every_capture_opens_with_the_readiness_handshake)
{
    // The status query with option 1 and request id 0, and the device's
    // answer that it takes package data; a replay sends it first and waits
    // for that answer as recorded.
    ASSERT_EQ(5u, capture_names(captures).size());
    for (const std::string& name : capture_names(captures)) {
        const std::string transfers = transfers_of(captures + "/" + name);
        EXPECT_EQ(0u, transfers.find("phone  00 01 00 00 00 00 00 00 00 13 00 01 00 00 00 00\n"
                                     "device 00 01 00 00 00 00 00 00 80 13 00 01 00 00 00 00\n"))
            << name << "\n" << transfers.substr(0, 200);
    }
}

TEST_F(captures_test, recording_again_gives_the_same_transfers)
{
    const std::string again = dir_.file("again");
    const command_output recorded = run_command("'" FWUPDATE_SOURCE_DIR "/scripts/record-captures' '" +
                                                std::string(FWUPDATE_BUILD_DIR) + "' '" + again + "'");
    ASSERT_EQ(0, recorded.status) << recorded.out << recorded.err;
    EXPECT_EQ((std::set<std::string>{"bad-status-option.pcapng", "broken-checksum.pcapng",
                                     "not-a-zip.pcapng", "sample-delivery.pcapng",
                                     "unknown-command.pcapng"}),
              capture_names(captures));
    EXPECT_EQ(capture_names(captures), capture_names(again));
    for (const std::string& name : capture_names(captures)) {
        EXPECT_EQ(transfers_of(captures + "/" + name), transfers_of(again + "/" + name)) << name;
    }
}

}  // namespace
}  // namespace norvane_test
