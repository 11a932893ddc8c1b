// Hostile packages delivered to the real program: file names made for the
// shell, names too long for the checksum command, folders and escaping paths
// inside the zip, oversized descriptions, a zip bomb of zeros and an upload
// that stops half way. Each run must end with the outcome the design gives
// it, and nothing may be written or executed outside the extraction folder. docs/robustness.md keeps the table of these outcomes.
#include "e2e_fixture.h"

#include "bsd_sum.h"
#include "delivery_replies.h"
#include "mobile_packet.h"

#include <sys/statvfs.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

namespace norvane_test {
namespace {

using norvane_tools::upload_options;

const std::string work_dir = norvane_tools::fwupdate_work_dir;

// One entry of a hand-built zip; a name ending in "/" is a folder.
struct zip_entry {
    std::string name;
    std::string bytes;
};

uint32_t crc32_of(const std::string& bytes)
{
    uint32_t crc = 0xFFFFFFFFu;
    for (unsigned char byte : bytes) {
        crc ^= byte;
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc >> 1) ^ (0xEDB88320u & (0u - (crc & 1u)));
        }
    }
    return ~crc;
}

void put_16(std::string& out, uint32_t value)
{
    out += static_cast<char>(value & 0xFF);
    out += static_cast<char>((value >> 8) & 0xFF);
}

void put_32(std::string& out, uint32_t value)
{
    put_16(out, value & 0xFFFF);
    put_16(out, value >> 16);
}

// A zip of stored entries with exactly the given names, which the zip tool
// would clean up ("../" in particular).
std::string stored_zip(const std::vector<zip_entry>& entries)
{
    std::string body;
    std::string directory;
    for (const zip_entry& entry : entries) {
        const uint32_t offset = static_cast<uint32_t>(body.size());
        const uint32_t crc = crc32_of(entry.bytes);
        const uint32_t size = static_cast<uint32_t>(entry.bytes.size());
        const uint32_t name_size = static_cast<uint32_t>(entry.name.size());
        put_32(body, 0x04034b50);
        put_16(body, 20);
        put_16(body, 0);       // flags
        put_16(body, 0);       // stored
        put_16(body, 0);       // time
        put_16(body, 0x21);    // date: 1980-01-01
        put_32(body, crc);
        put_32(body, size);
        put_32(body, size);
        put_16(body, name_size);
        put_16(body, 0);
        body += entry.name + entry.bytes;

        const bool folder = !entry.name.empty() && entry.name.back() == '/';
        put_32(directory, 0x02014b50);
        put_16(directory, 20);
        put_16(directory, 20);
        put_16(directory, 0);
        put_16(directory, 0);
        put_16(directory, 0);
        put_16(directory, 0x21);
        put_32(directory, crc);
        put_32(directory, size);
        put_32(directory, size);
        put_16(directory, name_size);
        put_16(directory, 0);  // extra
        put_16(directory, 0);  // comment
        put_16(directory, 0);  // disk
        put_16(directory, 0);  // internal attributes
        put_32(directory, folder ? 0x10 : 0);
        put_32(directory, offset);
        directory += entry.name;
    }
    std::string zip = body + directory;
    put_32(zip, 0x06054b50);
    put_16(zip, 0);
    put_16(zip, 0);
    put_16(zip, static_cast<uint32_t>(entries.size()));
    put_16(zip, static_cast<uint32_t>(entries.size()));
    put_32(zip, static_cast<uint32_t>(directory.size()));
    put_32(zip, static_cast<uint32_t>(body.size()));
    put_16(zip, 0);
    return zip;
}

std::string xml_escaped(const std::string& text)
{
    std::string escaped;
    for (char c : text) {
        switch (c) {
        case '&': escaped += "&amp;"; break;
        case '<': escaped += "&lt;"; break;
        case '>': escaped += "&gt;"; break;
        default: escaped += c; break;
        }
    }
    return escaped;
}

// Truthful declarations of files, their names escaped for the XML text.
std::vector<declared_file> escaped_declarations(const std::vector<package_file>& files)
{
    std::vector<declared_file> declared = truthful_declarations(files);
    for (declared_file& file : declared) {
        file.name = xml_escaped(file.name);
    }
    return declared;
}

std::vector<zip_entry> entries_of(const std::vector<package_file>& files,
                                  const std::string& description)
{
    std::vector<zip_entry> entries{{"FW_package.xml", description}};
    for (const package_file& file : files) {
        entries.push_back({file.name, file.bytes});
    }
    return entries;
}

bool contains(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

class hostile_package_test : public e2e_fixture {
protected:
    // A failed scenario shows the end of the program's log.
    void TearDown() override
    {
        if (HasFailure()) {
            const std::string log = program_log();
            std::cerr << "program log (last 4000 bytes):\n"
                      << log.substr(log.size() > 4000 ? log.size() - 4000 : 0) << "\n";
        }
        e2e_fixture::TearDown();
    }

    // Upload, one query that finds the run finished, the confirmation.
    void expect_verified_run(const std::string& package)
    {
        ASSERT_EQ(0, start_program());
        EXPECT_EQ(upload_ok, upload(package, upload_options{}));
        EXPECT_EQ(finished_ok_2, slow_status(1));
        EXPECT_EQ(finished_ok_3, slow_status(2));
        EXPECT_EQ(0, wait_program(60000));
        EXPECT_EQ("dlstart\ndlfinish 0\n", service_log());
    }

    // Upload, then one query answered with "error in firmware file"; the
    // error ends the run, dlfinish(1), exit status 0.
    void expect_refused_run(const std::string& package)
    {
        ASSERT_EQ(0, start_program());
        EXPECT_EQ(upload_ok, upload(package, upload_options{}));
        EXPECT_EQ(finished_fw_error_2, slow_status(1));
        EXPECT_EQ(0, wait_program(60000));
        EXPECT_EQ("dlstart\ndlfinish 1\n", service_log());
        EXPECT_TRUE(contains(program_log(), "[IMP] verify(): ##### Faild Verify process.\n"));
    }

    // A status query whose answer may wait for a long verification.
    std::string slow_status(uint16_t option)
    {
        if (session().send_status(option) != 0) {
            return "query not sent: " + session().error();
        }
        return next_reply(90000);
    }
};

TEST_F(hostile_package_test, file_name_with_shell_characters_is_refused_and_never_executed)
{
    const std::string name = "fw;echo INJECTED-A>&2;$(echo INJECTED-B>&2)`echo INJECTED-C>&2`.bin";
    const std::vector<package_file> files{{name, "payload"}};
    const std::string description =
        package_description(escaped_declarations(files), "1.0", "DEVICE_FIRMWARE");
    expect_refused_run(stored_zip(entries_of(files, description)));

    const std::string log = program_log();
    EXPECT_TRUE(contains(log, "[ERR] calc_check_sum(): Unsafe character in the file path. "
                              "file_path:[" + work_dir + "/" + name + "]\n"));
    EXPECT_TRUE(contains(log, "[ERR] get_info_list(): Failed to calculate the checksum. "
                              "file_path:[" + work_dir + "/" + name + "]\n"));
    EXPECT_TRUE(contains(log, "[ERR] verify(): Failed to create file list from unzip folder.\n"));
    // An executed echo would have printed a line of its own.
    EXPECT_FALSE(contains(log, "\nINJECTED-"));
    EXPECT_TRUE(contains(log, "INJECTED-A"));  // the name itself is logged
    // The file itself was extracted under its own name, as plain data.
    EXPECT_EQ("payload", work_file(name));
    EXPECT_FALSE(record_exists("FIRMWARE_VERSION_DEVICE"));
}

TEST_F(hostile_package_test, file_name_of_200_characters_cannot_be_checksummed_and_is_refused)
{
    // "busybox sum " and the folder path make a command of 234 characters,
    // which the platform allocator, sized in a signed byte, refuses.
    const std::string name = std::string(196, 'n') + ".bin";
    ASSERT_EQ(200u, name.size());
    const std::vector<package_file> files{{name, "long name payload"}};
    expect_refused_run(make_package(files, "1.0", "DEVICE_FIRMWARE"));

    const std::string log = program_log();
    EXPECT_TRUE(contains(log, "[ERR] calc_check_sum(): Failed to alloc mem.\n"));
    EXPECT_TRUE(contains(log, "[ERR] get_info_list(): Failed to calculate the checksum. "
                              "file_path:[" + work_dir + "/" + name + "]\n"));
    EXPECT_EQ("long name payload", work_file(name));
}

// Makes a pipe this process's standard input for the lifetime of the object,
// and keeps its writing end open without ever writing: a child that reads
// its standard input would wait on it for ever.
class open_standard_input {
public:
    open_standard_input() : saved_(::dup(STDIN_FILENO))
    {
        int ends[2] = {-1, -1};
        if (::pipe(ends) == 0) {
            ::dup2(ends[0], STDIN_FILENO);
            ::close(ends[0]);
            writer_ = ends[1];
        }
    }
    ~open_standard_input()
    {
        ::dup2(saved_, STDIN_FILENO);
        ::close(saved_);
        ::close(writer_);
    }
    open_standard_input(const open_standard_input&) = delete;
    open_standard_input& operator=(const open_standard_input&) = delete;

    bool is_open() const { return writer_ >= 0; }

private:
    int saved_;
    int writer_ = -1;
};

class long_name_test : public hostile_package_test, public ::testing::WithParamInterface<size_t> {
};

// With 21 characters of folder and "/", "busybox sum " and the NUL, a name
// of 234 characters makes a command of 268 bytes and one of 235 a command
// of 269, which the platform allocator's signed 8-bit size wraps to 12 and
// 13 bytes: just "busybox sum" with or without its blank, which would sum
// the standard input. The description declares 00000, the sum of an empty
// input, and the program is started with an input that never ends.
TEST_P(long_name_test, file_name_is_refused_whatever_the_standard_input_holds)
{
    const std::string name = std::string(GetParam() - 4, 'n') + ".bin";
    ASSERT_EQ(GetParam(), name.size());
    const std::vector<package_file> files{{name, "long name payload"}};
    auto declared = truthful_declarations(files);
    declared[0].checksum = "00000";
    const std::string package =
        make_package(files, package_description(declared, "1.0", "DEVICE_FIRMWARE"));
    open_standard_input never_ending;
    ASSERT_TRUE(never_ending.is_open());
    expect_refused_run(package);

    const std::string log = program_log();
    EXPECT_TRUE(contains(log, "[ERR] calc_check_sum(): Failed to alloc mem.\n"));
    EXPECT_TRUE(contains(log, "[ERR] get_info_list(): Failed to calculate the checksum. "
                              "file_path:[" + work_dir + "/" + name + "]\n"));
    EXPECT_FALSE(record_exists("FIRMWARE_VERSION_DEVICE"));
    EXPECT_EQ("long name payload", work_file(name));
}

INSTANTIATE_TEST_SUITE_P(wrapping_to_busybox_sum, long_name_test, ::testing::Values(234, 235));

TEST_F(hostile_package_test, folder_in_the_zip_is_not_created_and_its_files_land_flat)
{
    const std::vector<package_file> files{{"main_firmware.bin", "main"}, {"notes.bin", "notes"}};
    const std::string description =
        package_description(truthful_declarations(files), "2.0", "DEVICE_FIRMWARE");
    expect_verified_run(stored_zip({{"FW_package.xml", description},
                                    {"main_firmware.bin", "main"},
                                    {"docs/", ""},
                                    {"docs/notes.bin", "notes"}}));

    EXPECT_FALSE(std::filesystem::exists(work_dir + "/docs"));
    EXPECT_EQ("notes", work_file("notes.bin"));
    EXPECT_EQ(std::string("2.0", 4), record("FIRMWARE_VERSION_DEVICE"));
}

TEST_F(hostile_package_test, entries_with_parent_paths_land_flat_in_the_folder)
{
    const std::vector<package_file> files{{"escape_a.bin", "A"}, {"escape_b.bin", "B"},
                                          {"escape_c.bin", "C"}};
    const std::string description =
        package_description(truthful_declarations(files), "3.0", "DEVICE_FIRMWARE");
    const std::string outside = dir_.file("outside");
    std::filesystem::create_directories(outside);
    expect_verified_run(stored_zip({{"FW_package.xml", description},
                                    {"../escape_a.bin", "A"},
                                    {"../../../../../../.." + outside + "/escape_b.bin", "B"},
                                    {"..\\..\\escape_c.bin", "C"}}));

    EXPECT_EQ("A", work_file("escape_a.bin"));
    EXPECT_EQ("B", work_file("escape_b.bin"));
    EXPECT_EQ("C", work_file("escape_c.bin"));
    EXPECT_FALSE(std::filesystem::exists(work_dir + "/../escape_a.bin"));
    EXPECT_FALSE(std::filesystem::exists(outside + "/escape_b.bin"));
    EXPECT_FALSE(std::filesystem::exists(work_dir + "/../../escape_c.bin"));
}

TEST_F(hostile_package_test, description_of_10_mib_is_read_and_the_package_verified)
{
    const std::vector<package_file> files{{"main_firmware.bin", "firmware"}};
    std::string description =
        package_description(truthful_declarations(files), "4.0", "DEVICE_FIRMWARE");
    // A description element of 10 MiB: far more than its record can hold.
    const std::string huge(10u << 20, 'D');
    description.insert(description.find("<download_information>"),
                       "<description>" + huge + "</description>\n  ");
    ASSERT_GE(description.size(), 10u << 20);
    expect_verified_run(make_package(files, description));

    EXPECT_EQ(std::string("4.0", 4), record("FIRMWARE_VERSION_DEVICE"));
    // The description is dumped into the log whole.
    EXPECT_GE(program_log().size(), description.size());
}

TEST_F(hostile_package_test, description_with_100000_entries_fails_the_comparison)
{
    // 100 download groups of 1,000 files; one real file, the rest missing.
    // (In a single group the same entries take minutes: each file record is
    // fetched by walking its list from the head. docs/robustness.md.)
    const std::vector<package_file> files{{"main_firmware.bin", "firmware"}};
    const std::vector<declared_file> real = truthful_declarations(files);
    std::string xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<firmware_package>\n"
                      "  <package_version>5.0</package_version>\n";
    int entries = 0;
    for (int group = 0; group < 100; ++group) {
        xml += "  <download_information>\n    <type>MAIN</type>\n";
        for (int file = 0; file < 1000; ++file, ++entries) {
            const declared_file declared =
                entries == 0 ? real[0]
                             : declared_file{"missing_" + std::to_string(entries) + ".bin",
                                             "00000", "0"};
            xml += "    <data_information><filename>" + declared.name +
                   "</filename><checksum>" + declared.checksum + "</checksum><size>" +
                   declared.size + "</size></data_information>\n";
        }
        xml += "  </download_information>\n";
    }
    xml += "  <package_type>DEVICE_FIRMWARE</package_type>\n</firmware_package>\n";
    ASSERT_EQ(100000, entries);
    expect_refused_run(make_package(files, xml));

    const std::string log = program_log();
    EXPECT_TRUE(contains(log, "[ERR] verify(): Faild check verify list operation.\n"));
    EXPECT_TRUE(contains(log, "[INF] dsp_verify_list(): verify_xml_list file_name:[missing_99999.bin]"));
}

TEST_F(hostile_package_test, zip_expanding_to_1_gib_of_zeros_is_verified)
{
    const uint64_t gib = 1ull << 30;
    struct statvfs space {};
    ASSERT_EQ(0, statvfs("/tmp", &space));
    if (static_cast<uint64_t>(space.f_bavail) * space.f_frsize < 3 * gib) {
        GTEST_SKIP() << "less than 3 GiB free in /tmp";
    }
    // The zip tool deflates a sparse file of zeros to about 1 MiB.
    const std::string folder = dir_.file("bomb");
    std::filesystem::create_directories(folder);
    const std::string description = package_description(
        {{"zeros.bin", "00000", std::to_string(gib)}}, "6.0", "DEVICE_FIRMWARE");
    write_file_bytes(folder + "/FW_package.xml", description);
    const std::string zip_path = dir_.file("bomb.zip");
    const std::string command = "cd '" + folder + "' && truncate -s 1G zeros.bin && zip -q -X '" +
                                zip_path + "' FW_package.xml zeros.bin";
    ASSERT_EQ(0, std::system(command.c_str()));
    std::filesystem::remove_all(folder);
    const std::string package = read_file_bytes(zip_path);
    EXPECT_LT(package.size(), 2u << 20);

    expect_verified_run(package);

    EXPECT_EQ(gib, std::filesystem::file_size(work_dir + "/zeros.bin"));
    EXPECT_EQ(std::string("6.0", 4), record("FIRMWARE_VERSION_DEVICE"));
    // The extraction folder stays after a run; give the disk back.
    std::filesystem::remove(work_dir + "/zeros.bin");
}

TEST_F(hostile_package_test, upload_that_stops_half_way_leaves_the_program_waiting)
{
    const auto files = sample_files(40000, 3000);
    const std::string package = make_package(files, "7.0", "DEVICE_FIRMWARE");
    ASSERT_EQ(0, start_program());
    const uint32_t size = static_cast<uint32_t>(package.size());
    ASSERT_EQ(0, session().send_raw(norvane_tools::encode_header(
                     norvane_tools::upload_request(1, 0, 1, size))));
    ASSERT_EQ(0, session().send_raw(package.substr(0, package.size() / 2)));

    // No reply comes and the program does not end by itself: it waits for
    // the rest without a time limit, so the test ends it.
    EXPECT_TRUE(contains(next_reply(3000), "no reply"));
    EXPECT_EQ(-1, wait_program(2000));

    EXPECT_TRUE(replies().empty());
    EXPECT_EQ("dlstart\n", service_log());
    const std::string log = program_log();
    EXPECT_TRUE(contains(log, "Change exec state. [CONNECT] -> [DOWNLOAD] \n"));
    EXPECT_FALSE(contains(log, "[DOWNLOAD] -> [VERIFY]"));
}

}  // namespace
}  // namespace norvane_test
