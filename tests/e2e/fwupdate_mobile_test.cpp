// fwupdate-mobile as its users run it: its help, its complaints, its exit
// statuses, and a capture of a run against the real program.
#include "e2e_fixture.h"

#include "command_output.h"
#include "pcapng_reader.h"
#include "pcapng_writer.h"

#include <cstdlib>
#include <filesystem>

namespace norvane_test {
namespace {

using norvane_tools::pcapng_reader;
namespace pcapng = norvane_tools::pcapng;

size_t reply_lines(const std::string& output)
{
    size_t count = 0;
    for (size_t at = 0; at < output.size(); at = output.find('\n', at) + 1) {
        count += output.compare(at, 6, "reply ") == 0 ? 1 : 0;
        if (output.find('\n', at) == std::string::npos) {
            break;
        }
    }
    return count;
}

size_t inbound_packets(const pcapng_reader& reader)
{
    size_t count = 0;
    for (const auto& packet : reader.packets()) {
        count += packet.direction == pcapng::direction_inbound ? 1 : 0;
    }
    return count;
}

class fwupdate_mobile_test : public e2e_fixture {
protected:
    // fwupdate-mobile with a socket, state folder and program log of this
    // test, then arguments.
    command_output mobile(const std::string& arguments)
    {
        return run_command("'" + std::string(FWUPDATE_MOBILE_BINARY) + "' --plain --socket '" +
                           dir_.file("mobile.sock") + "' --state-dir '" + state_dir_ +
                           "' --program-log '" + dir_.file("mobile-program.log") + "' " +
                           launcher_option() + arguments);
    }

    // The program under test, as the simulator starts it.
    std::string run_option() const { return "--run '" + program_binary() + "' "; }

    static std::string launcher_option()
    {
        const char* launcher = std::getenv("FWUPDATE_E2E_LAUNCHER");
        return launcher != nullptr && launcher[0] != '\0' ? "--launcher '" + std::string(launcher) + "' " : "";
    }

    std::string sample_package()
    {
        const std::string zip = dir_.file("sample.zip");
        const command_output built = run_command(
            "'" + std::string(FWPKG_BINARY) + "' build '" FWUPDATE_SOURCE_DIR "/samples/device-firmware' -o '" +
            zip + "' --version 1.0.0 --type DEVICE_FIRMWARE");
        EXPECT_EQ(0, built.status) << built.out << built.err;
        return zip;
    }
};

TEST_F(fwupdate_mobile_test, help_prints_the_usage_on_standard_output_and_exits_0)
{
    for (const char* option : {"--help", "-h"}) {
        const command_output result = run_command("'" + std::string(FWUPDATE_MOBILE_BINARY) + "' " + option);
        EXPECT_EQ(0, result.status);
        EXPECT_EQ(0u, result.out.find("usage: fwupdate-mobile [OPTIONS] COMMAND...\n"));
        EXPECT_NE(std::string::npos, result.out.find("\nexit status:\n  0  every command succeeded"));
        EXPECT_EQ("", result.err);
    }
}

TEST_F(fwupdate_mobile_test, unknown_option_is_named_on_standard_error_with_status_2)
{
    const command_output result = mobile("--colour deliver package.zip");
    EXPECT_EQ(2, result.status);
    EXPECT_EQ("", result.out);
    EXPECT_EQ("fwupdate-mobile: unknown option --colour\nfwupdate-mobile --help shows the usage\n", result.err);
}

TEST_F(fwupdate_mobile_test, bad_value_is_a_usage_error_with_status_2)
{
    const command_output result = mobile("status 70000");
    EXPECT_EQ(2, result.status);
    EXPECT_EQ("fwupdate-mobile: bad status option 70000 (a number up to 65535)\n"
              "fwupdate-mobile --help shows the usage\n",
              result.err);
}

TEST_F(fwupdate_mobile_test, missing_package_is_status_3_and_the_program_is_not_started)
{
    const command_output result = mobile(run_option() + "deliver '" + dir_.file("missing.zip") + "'");
    EXPECT_EQ(3, result.status);
    EXPECT_EQ("cannot read the package " + dir_.file("missing.zip") + ": No such file or directory\n",
              result.out);
    EXPECT_FALSE(std::filesystem::exists(state_dir_ + "/update-service.log"));
}

TEST_F(fwupdate_mobile_test, program_that_cannot_be_started_is_status_3)
{
    const command_output result =
        run_command("'" + std::string(FWUPDATE_MOBILE_BINARY) + "' --plain --socket '" + dir_.file("m.sock") +
                    "' --run '" + dir_.file("no-program") + "' status 1");
    EXPECT_EQ(3, result.status);
    EXPECT_EQ("cannot start " + dir_.file("no-program") + ": No such file or directory\n", result.out);
}

TEST_F(fwupdate_mobile_test, socket_that_cannot_be_made_is_status_3)
{
    const command_output result = run_command("'" + std::string(FWUPDATE_MOBILE_BINARY) + "' --plain --socket '" +
                                              dir_.file("none/m.sock") + "' status 1");
    EXPECT_EQ(3, result.status);
    EXPECT_EQ("cannot listen: bind " + dir_.file("none/m.sock") + ": No such file or directory\n", result.out);
}

TEST_F(fwupdate_mobile_test, capture_that_cannot_be_written_is_status_3)
{
    const command_output result =
        mobile(run_option() + "--capture '" + dir_.file("none/c.pcapng") + "' status 1");
    EXPECT_EQ(3, result.status);
    EXPECT_EQ("cannot capture: cannot create " + dir_.file("none/c.pcapng") + ": No such file or directory\n",
              result.out);
    EXPECT_FALSE(std::filesystem::exists(state_dir_ + "/update-service.log"));
}

TEST_F(fwupdate_mobile_test, delivered_package_is_status_0_and_every_transfer_is_captured)
{
    const std::string zip = sample_package();
    const command_output result =
        mobile(run_option() + "--capture '" + dir_.file("c.pcapng") + "' deliver '" + zip + "'");
    EXPECT_EQ(0, result.status) << result.out;
    EXPECT_NE(std::string::npos, result.out.find("\ndelivery succeeded\nprogram exited with status 0\n"));

    pcapng_reader reader;
    ASSERT_EQ(0, reader.read_file(dir_.file("c.pcapng"))) << reader.last_error();
    std::string sent;
    std::string received;
    size_t replies = 0;
    for (const auto& packet : reader.packets()) {
        EXPECT_EQ(pcapng::link_type_user0, packet.link_type);
        if (packet.direction == pcapng::direction_outbound) {
            sent += packet.bytes;
        } else {
            EXPECT_EQ(pcapng::direction_inbound, packet.direction);
            EXPECT_EQ(16u, packet.bytes.size());
            received += packet.bytes;
            ++replies;
        }
    }
    // Everything the phone sent holds the package whole, and each reply was
    // printed as it came.
    EXPECT_NE(std::string::npos, sent.find(read_file_bytes(zip)));
    EXPECT_NE(std::string::npos,
              result.out.find("captured " + std::to_string(reader.packets().size()) + " transfers into " +
                              dir_.file("c.pcapng") + "\n"));
    EXPECT_EQ(replies, reply_lines(result.out));
}

TEST_F(fwupdate_mobile_test, record_an_earlier_run_wrote_is_not_marked_as_the_next_runs)
{
    // The second run starts within a second of the record the first wrote,
    // and fails before it could write anything.
    const std::string record_line = "\n  FIRMWARE_VERSION_DEVICE = \"1.0.0\" (6 bytes)";
    const command_output delivered = mobile(run_option() + "deliver '" + sample_package() + "'");
    EXPECT_EQ(0, delivered.status) << delivered.out;
    EXPECT_NE(std::string::npos, delivered.out.find(record_line + "  <- written by this run\n")) << delivered.out;

    const command_output refused = mobile(run_option() + "status 7");
    EXPECT_NE(std::string::npos, refused.out.find("status: finished, result 21 error in firmware file\n"))
        << refused.out;
    EXPECT_NE(std::string::npos, refused.out.find(record_line + "\n")) << refused.out;
    EXPECT_EQ(std::string::npos, refused.out.find("<- written by this run")) << refused.out;
}

TEST_F(fwupdate_mobile_test, failed_delivery_is_status_1)
{
    // The first poll waits for the verification, so the failure is its answer.
    const command_output result =
        mobile(run_option() + "--wait-for-verification deliver '" FWUPDATE_SOURCE_DIR
                              "/samples/device-firmware/release_notes.txt'");
    EXPECT_EQ(1, result.status) << result.out;
    EXPECT_NE(std::string::npos,
              result.out.find("reply 00 01 00 00 00 02 00 15 80 13 00 02 00 00 00 00  status: finished, "
                              "result 21 error in firmware file\n"
                              "delivery stopped: the device reported a failure\n"
                              "delivery failed\n"));
}

TEST_F(fwupdate_mobile_test, replay_with_a_changed_reply_prints_the_difference_with_status_1)
{
    // The sample's delivery recorded, opened by the readiness handshake as
    // the kept captures are, with the confirmation's reply changed to an
    // error.
    const std::string zip = sample_package();
    ASSERT_EQ(0, mobile(run_option() + "--capture '" + dir_.file("c.pcapng") + "' deliver '" + zip + "'").status);
    pcapng_reader reader;
    ASSERT_EQ(0, reader.read_file(dir_.file("c.pcapng")));
    norvane_tools::pcapng_writer writer;
    ASSERT_EQ(0, writer.open(dir_.file("changed.pcapng"), pcapng::link_type_user0, "accessory link"));
    for (size_t i = 0; i < reader.packets().size(); ++i) {
        std::string bytes = reader.packets()[i].bytes;
        if (i + 1 == reader.packets().size()) {
            bytes[7] = 0x15;
        }
        ASSERT_EQ(0, writer.write_packet(reader.packets()[i].time_us, bytes.data(), bytes.size(),
                                         reader.packets()[i].direction));
    }
    ASSERT_EQ(0, writer.close());

    const command_output result = mobile(run_option() + "replay '" + dir_.file("changed.pcapng") + "'");
    EXPECT_EQ(1, result.status) << result.out;
    const std::string last = reader.packets().back().bytes;
    EXPECT_NE(std::string::npos,
              result.out.find("replay differs: reply " + std::to_string(inbound_packets(reader)) +
                              " (packet " + std::to_string(reader.packets().size()) + ") differs: recorded "))
        << result.out;
    EXPECT_NE(std::string::npos,
              result.out.find(" (status: finished, result 21 error in firmware file), got " +
                              norvane_tools::to_hex(last) + " (status: finished, result 0 OK)\n"))
        << result.out;
}

TEST_F(fwupdate_mobile_test, replay_of_a_file_that_is_not_a_capture_is_status_3)
{
    const std::string file = dir_.write_file("notes.pcapng", "not a capture at all");
    const command_output result = mobile(run_option() + "replay '" + file + "'");
    EXPECT_EQ(3, result.status);
    EXPECT_EQ("cannot replay " + file + ": " + file +
                  ": block at offset 0: not a pcapng capture (no section header)\n",
              result.out);
}

}  // namespace
}  // namespace norvane_test
