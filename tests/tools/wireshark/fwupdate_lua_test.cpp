// The Wireshark dissector, run by tshark: its names are the program's own,
// and captures of the simulator's link and usbmon captures of a phone in
// accessory mode decode to exactly the expected fields.
#include "command_output.h"
#include "pcapng_writer.h"
#include "mobile_packet.h"
#include "temp_dir.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace norvane_test {
namespace {

using norvane_tools::from_hex;
using norvane_tools::pcapng_writer;
namespace pcapng = norvane_tools::pcapng;

const std::string dissector = std::string(FWUPDATE_SOURCE_DIR) + "/tools/wireshark/fwupdate.lua";
const std::string definitions =
    std::string(FWUPDATE_SOURCE_DIR) + "/service/qav/qav_mnt/core_src/bin/fwupdate/qav_mnt_fwupdate_lib_define.h";

// The fields the checks read, one line per frame of the protocol.
const char* const header_fields =
    " -e frame.number -e fwupdate.direction -e fwupdate.request_id -e fwupdate.command"
    " -e fwupdate.option -e fwupdate.result -e fwupdate.data_size -e fwupdate.body.offset"
    " -e fwupdate.body.length -e fwupdate.response_to -e fwupdate.response_in";

// Runs tshark with the dissector loaded and a configuration folder of its
// own (no personal preferences). Returns its standard output; it must exit 0
// and its standard error must not report a Lua error.
std::string run_tshark(const temp_dir& dir, const std::string& arguments)
{
    const std::string command = "WIRESHARK_CONFIG_DIR='" + dir.file("wireshark") + "' '" +
                                std::string(TSHARK_EXECUTABLE) + "' " + arguments;
    const command_output result = run_command(command);
    EXPECT_EQ(0, result.status) << command << "\n" << result.err;
    EXPECT_EQ(std::string::npos, result.err.find("Lua")) << result.err;
    return result.out;
}

std::string decode(const temp_dir& dir, const std::string& capture, const std::string& fields)
{
    return run_tshark(dir, "-2 -X lua_script:'" + dissector + "' -r '" + capture +
                               "' -Y fwupdate -T fields -E aggregator='|'" + fields);
}

// One usbmon record as libpcap captures it on Linux (LINKTYPE_USB_LINUX_MMAPPED):
// the 64-byte header in the capturing host's byte order, then the data.
struct usbmon_record {
    uint64_t urb;
    char type;             // 'S' submission, 'C' completion
    uint8_t endpoint;      // bit 7 set: IN, towards the host
    uint8_t device;
    uint32_t urb_length;
    std::string data;
};

void put_le(std::string& out, uint64_t value, int bytes)
{
    for (int i = 0; i < bytes; ++i) {
        out += static_cast<char>((value >> (8 * i)) & 0xFF);
    }
}

std::string usbmon_bytes(const usbmon_record& record, uint64_t time_us)
{
    const bool in = (record.endpoint & 0x80) != 0;
    std::string out;
    put_le(out, record.urb, 8);
    out += record.type;
    out += '\x03';   // bulk
    out += static_cast<char>(record.endpoint);
    out += static_cast<char>(record.device);
    put_le(out, 1, 2);   // bus 1
    out += '-';          // no setup packet
    out += record.data.empty() ? (in ? '<' : '>') : '\0';
    put_le(out, time_us / 1000000, 8);
    put_le(out, time_us % 1000000, 4);
    put_le(out, record.type == 'S' ? static_cast<uint32_t>(-115) : 0, 4);  // -EINPROGRESS
    put_le(out, record.urb_length, 4);
    put_le(out, record.data.size(), 4);
    out += std::string(8, '\0');   // setup
    out += std::string(16, '\0');  // interval, start frame, transfer flags, descriptors
    return out + record.data;
}

void write_usbmon_capture(const std::string& path, const std::vector<usbmon_record>& records)
{
    pcapng_writer writer;
    ASSERT_EQ(0, writer.open(path, pcapng::link_type_usb_linux_mmapped, "usbmon1"));
    uint64_t time_us = 1700000000000000ull;
    for (const usbmon_record& record : records) {
        const std::string bytes = usbmon_bytes(record, time_us);
        ASSERT_EQ(0, writer.write_packet(time_us, bytes.data(), bytes.size(), pcapng::direction_unknown));
        time_us += 1000;
    }
    ASSERT_EQ(0, writer.close());
}

struct link_transfer {
    pcapng::direction direction;
    std::string hex;
};

void write_link_capture(const std::string& path, const std::vector<link_transfer>& transfers)
{
    pcapng_writer writer;
    ASSERT_EQ(0, writer.open(path, pcapng::link_type_user0, "aoa"));
    uint64_t time_us = 1700000000000000ull;
    for (const link_transfer& transfer : transfers) {
        const std::string bytes = from_hex(transfer.hex);
        ASSERT_EQ(0, writer.write_packet(time_us, bytes.data(), bytes.size(), transfer.direction));
        time_us += 1000;
    }
    ASSERT_EQ(0, writer.close());
}

// value -> name of every enumerator QAV_MNT_FWUPDATE_MBA_<name> of the named
// enumerations in the program's definitions.
std::set<std::string> program_names(const std::vector<std::string>& enumerations)
{
    const std::string text = read_file_bytes(definitions);
    std::set<std::string> names;
    for (const std::string& enumeration : enumerations) {
        const size_t start = text.find("enum " + enumeration + " {");
        EXPECT_NE(std::string::npos, start) << enumeration;
        if (start == std::string::npos) {
            continue;
        }
        // Each enumerator reads "QAV_MNT_FWUPDATE_MBA_<NAME> = <value>,".
        const size_t open = text.find('{', start) + 1;
        const std::string body = text.substr(open, text.find("};", open) - open);
        const std::string prefix = "QAV_MNT_FWUPDATE_MBA_";
        for (size_t at = body.find(prefix); at != std::string::npos; at = body.find(prefix, at)) {
            at += prefix.size();
            const size_t name_end = body.find(" = ", at);
            const std::string name = body.substr(at, name_end - at);
            const unsigned long value = std::stoul(body.substr(name_end + 3), nullptr, 0);
            names.insert(std::to_string(value) + " " + name);
        }
    }
    return names;
}

// value -> name of a field's value strings, as tshark lists them.
std::set<std::string> dissector_names(const std::string& values, const std::string& field)
{
    std::set<std::string> names;
    std::istringstream lines(values);
    std::string line;
    while (std::getline(lines, line)) {
        std::istringstream columns(line);
        std::string kind, abbreviation, value, name;
        std::getline(columns, kind, '\t');
        std::getline(columns, abbreviation, '\t');
        std::getline(columns, value, '\t');
        std::getline(columns, name, '\t');
        if (kind == "V" && abbreviation == field) {
            names.insert(std::to_string(std::stoul(value, nullptr, 0)) + " " + name);
        }
    }
    return names;
}

TEST(fwupdate_lua_test, names_of_commands_results_and_options_are_the_programs_enumerators)
{
    temp_dir dir;
    const std::string values = run_tshark(dir, "-G values -X lua_script:'" + dissector + "'");
    const std::set<std::string> commands =
        program_names({"_QAV_MNT_LIB_VEXA_MBA_CMD_REQ_", "_QAV_MNT_LIB_VEXA_MBA_CMD_RES_"});
    EXPECT_EQ(4u, commands.size());
    EXPECT_EQ(commands, dissector_names(values, "fwupdate.command"));
    const std::set<std::string> results = program_names({"_QAV_MNT_FWUPDATE_MBA_RESULT_CODE_"});
    EXPECT_EQ(4u, results.size());
    EXPECT_EQ(results, dissector_names(values, "fwupdate.result"));
    const std::set<std::string> options = program_names(
        {"_QAV_MNT_FWUPDATE_MBA_REQUEST_OPTION_CODE_", "_QAV_MNT_FWUPDATE_MBA_RESPONSE_OPTION_CODE_"});
    EXPECT_EQ(4u, options.size());
    EXPECT_EQ(options, dissector_names(values, "fwupdate.option"));
}

TEST(fwupdate_lua_test, captured_delivery_of_the_sample_package_decodes_to_its_exact_fields)
{
    // Recorded by fwupdate-mobile from the real program: the handshake
    // (request id 0), the upload header alone, the package in two
    // transfers, the upload reply, one poll, the confirmation.
    temp_dir dir;
    EXPECT_EQ("1\t0\t0\t0x0013\t1\t0\t0\t\t\t\t2\n"
              "2\t1\t0\t0x8013\t1\t0\t0\t\t\t1\t\n"
              "3\t0\t1\t0x0012\t0\t0\t31614\t\t\t\t6\n"
              "4\t0\t\t\t\t\t\t0\t16384\t\t\n"
              "5\t0\t\t\t\t\t\t16384\t15230\t\t\n"
              "6\t1\t1\t0x8012\t0\t0\t0\t\t\t3\t\n"
              "7\t0\t2\t0x0013\t1\t0\t0\t\t\t\t8\n"
              "8\t1\t2\t0x8013\t2\t0\t0\t\t\t7\t\n"
              "9\t0\t3\t0x0013\t2\t0\t0\t\t\t\t10\n"
              "10\t1\t3\t0x8013\t2\t0\t0\t\t\t9\t\n",
              decode(dir, std::string(FWUPDATE_SOURCE_DIR) + "/tests/captures/sample-delivery.pcapng",
                     header_fields));
}

TEST(fwupdate_lua_test, usbmon_capture_of_a_phone_decodes_headers_bodies_and_pairs_replies)
{
    temp_dir dir;
    const uint8_t phone_in = 0x81;     // the phone sends on its IN endpoint
    const uint8_t phone_out = 0x02;    // and receives on its OUT endpoint
    const std::vector<usbmon_record> records = {
        {1, 'S', phone_in, 5, 16384, ""},
        {1, 'C', phone_in, 5, 16, from_hex("00 01 00 00 00 01 00 00 00 12 00 00 00 00 00 28")},
        {2, 'S', phone_in, 5, 16384, ""},
        {2, 'C', phone_in, 5, 24, std::string(24, 'P')},
        {3, 'S', phone_in, 7, 512, ""},
        {3, 'C', phone_in, 7, 32, std::string(32, '\x55')},   // another device's bulk data
        {10, 'C', 0x83, 5, 24, std::string(24, 'A')},         // another interface of the phone
        {4, 'S', phone_in, 5, 16384, ""},
        {4, 'C', phone_in, 5, 16, std::string(16, 'K')},
        {5, 'S', phone_out, 5, 16, from_hex("00 01 00 00 00 01 00 00 80 12 00 00 00 00 00 00")},
        {5, 'C', phone_out, 5, 16, ""},
        {6, 'S', phone_in, 5, 16384, ""},
        {6, 'C', phone_in, 5, 16, from_hex("00 01 00 00 00 02 00 00 00 13 00 01 00 00 00 00")},
        {7, 'S', phone_out, 5, 16, from_hex("00 01 00 00 00 02 00 00 80 13 00 02 00 00 00 00")},
        {7, 'C', phone_out, 5, 16, ""},
        {8, 'S', phone_in, 5, 16384, ""},
        {8, 'C', phone_in, 5, 16, from_hex("00 01 00 00 00 03 00 00 00 13 00 02 00 00 00 00")},
        {9, 'S', phone_out, 5, 16, from_hex("00 01 00 00 00 03 00 00 80 13 00 02 00 00 00 00")},
        {9, 'C', phone_out, 5, 16, ""},
    };
    write_usbmon_capture(dir.file("usbmon.pcapng"), records);
    EXPECT_EQ("2\t0\t1\t0x0012\t0\t0\t40\t\t\t\t10\n"
              "4\t0\t\t\t\t\t\t0\t24\t\t\n"
              "9\t0\t\t\t\t\t\t24\t16\t\t\n"
              "10\t1\t1\t0x8012\t0\t0\t0\t\t\t2\t\n"
              "13\t0\t2\t0x0013\t1\t0\t0\t\t\t\t14\n"
              "14\t1\t2\t0x8013\t2\t0\t0\t\t\t13\t\n"
              "17\t0\t3\t0x0013\t2\t0\t0\t\t\t\t18\n"
              "18\t1\t3\t0x8013\t2\t0\t0\t\t\t17\t\n",
              decode(dir, dir.file("usbmon.pcapng"), header_fields));
}

TEST(fwupdate_lua_test, usbmon_bulk_data_of_other_protocols_is_left_alone)
{
    temp_dir dir;
    write_usbmon_capture(dir.file("usbmon.pcapng"),
                         {{1, 'C', 0x81, 3, 31, from_hex("55 53 42 53 01 00 00 00 00 00 00 00 00 00 00 00"
                                                         " 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00")},
                          {2, 'S', 0x02, 3, 16, std::string(16, '\0')}});
    EXPECT_EQ("", decode(dir, dir.file("usbmon.pcapng"), header_fields));
}

TEST(fwupdate_lua_test, link_capture_notes_what_a_phone_developer_must_fix)
{
    temp_dir dir;
    write_link_capture(dir.file("link.pcapng"), {
        // upload of 20 bytes whose header's transfer carries 8 of them
        {pcapng::direction_outbound, "00 01 00 00 00 01 00 00 00 12 00 00 00 00 00 14 41 41 41 41 41 41 41 41"},
        // 20 more bytes: 8 beyond the announced size
        {pcapng::direction_outbound, "42 42 42 42 42 42 42 42 42 42 42 42 42 42 42 42 42 42 42 42"},
        // the reply carries request id 9
        {pcapng::direction_inbound, "00 01 00 00 00 09 00 00 80 12 00 00 00 00 00 00"},
        {pcapng::direction_outbound, "00 01 00 00 00 02 00 00 00 13 00 07 00 00 00 00"},
        {pcapng::direction_inbound, "00 01 00 00 00 02 00 15 80 13 00 02 00 00 00 00"},
        {pcapng::direction_outbound, "00 01 00 00 00 03 00 00 00 99 00 00 00 00 00 00"},
        {pcapng::direction_inbound, "00 01 00 00 00 03 00 00 80 13 00 01 00 00 00 00"},
    });
    EXPECT_EQ("1\t0\t0x0012\t0\t8\tBody bytes in the header's transfer: the device stores 16 zero bytes"
              " inside the package, which then fails verification\n"
              "2\t0\t\t8\t20\t8 bytes beyond the announced size: the device takes them as body\n"
              "3\t1\t0x8012\t\t\tReply's request id 9 differs from 1 of the request in frame 1\n"
              "4\t0\t0x0013\t\t\tStatus option 7: the device answers finished with result 21 and ends the run\n"
              "5\t1\t0x8013\t\t\tResult 21 RESULT_CODE_ERROR_IN_FW_FILE\n"
              "6\t0\t0x0099\t\t\tUnknown command 0x0099: the device ends the run without a reply\n"
              "7\t1\t0x8013\t\t\tReply without a request\n",
              decode(dir, dir.file("link.pcapng"),
                     " -e frame.number -e fwupdate.direction -e fwupdate.command -e fwupdate.body.offset"
                     " -e fwupdate.body.length -e _ws.expert.message"));
}

TEST(fwupdate_lua_test, whole_package_in_the_headers_transfer_is_a_note_of_the_trailing_zero_bytes)
{
    temp_dir dir;
    write_link_capture(dir.file("link.pcapng"), {
        {pcapng::direction_outbound, "00 01 00 00 00 01 00 00 00 12 00 00 00 00 00 04 41 42 43 44"},
        {pcapng::direction_inbound, "00 01 00 00 00 01 00 00 80 12 00 00 00 00 00 00"},
    });
    EXPECT_EQ("1\t0\t4\t1\tBody bytes in the header's transfer: the device stores the package followed"
              " by 16 zero bytes\n"
              "2\t\t\t\t\n",
              decode(dir, dir.file("link.pcapng"),
                     " -e frame.number -e fwupdate.body.offset -e fwupdate.body.length"
                     " -e fwupdate.body.end -e _ws.expert.message"));
}

}  // namespace
}  // namespace norvane_test
