// The package tool on real folders and zips, and a package it built
// delivered to the real program.
#include "e2e_fixture.h"

#include "bsd_sum.h"
#include "delivery_replies.h"

#include <cstdio>
#include <filesystem>

namespace norvane_test {
namespace {

struct command_result {
    int status = -1;
    std::string output;
};

command_result run(const std::string& command)
{
    command_result result;
    FILE* pipe = ::popen((command + " 2>&1").c_str(), "r");
    if (pipe == nullptr) {
        return result;
    }
    char buffer[4096];
    size_t got = 0;
    while ((got = std::fread(buffer, 1, sizeof buffer, pipe)) > 0) {
        result.output.append(buffer, got);
    }
    int status = ::pclose(pipe);
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return result;
}

class fwpkg_test : public e2e_fixture {
protected:
    std::string build(const std::string& folder, const std::string& extra = "")
    {
        const std::string zip = dir_.file("built.zip");
        last_ = run(std::string(FWPKG_BINARY) + " build '" + folder + "' -o '" + zip +
                    "' --version 1.0.0 --type DEVICE_FIRMWARE" + extra);
        return zip;
    }

    std::string folder_with(const std::vector<package_file>& files)
    {
        const std::string folder = dir_.file("firmware");
        std::filesystem::create_directories(folder);
        for (const package_file& file : files) {
            write_file_bytes(folder + "/" + file.name, file.bytes);
        }
        return folder;
    }

    command_result last_;
};

TEST_F(fwpkg_test, built_sample_passes_the_device_verification)
{
    const std::string zip = build(FWUPDATE_SOURCE_DIR "/samples/device-firmware");
    ASSERT_EQ(0, last_.status) << last_.output;

    const command_result check = run(std::string(FWPKG_BINARY) + " check '" + zip + "'");
    EXPECT_EQ(0, check.status);
    EXPECT_EQ(zip + ": verified: version 1.0.0, type DEVICE_FIRMWARE\n", check.output);
}

TEST_F(fwpkg_test, show_prints_the_description_as_a_table)
{
    const auto files = sample_files(1234, 56);
    const std::string zip = build(folder_with(files), " --group MAIN:1.0.0 --group PANEL:2.1=panel_firmware.bin");
    ASSERT_EQ(0, last_.status) << last_.output;

    const command_result show = run(std::string(FWPKG_BINARY) + " show '" + zip + "'");
    EXPECT_EQ(0, show.status);
    char main_row[200];
    std::snprintf(main_row, sizeof main_row, "  %-40s %12s  %-8s %s\n", "main_firmware.bin", "1234",
                  bsd_sum_text(files[0].bytes).c_str(), "-");
    char panel_row[200];
    std::snprintf(panel_row, sizeof panel_row, "  %-40s %12s  %-8s %s\n", "panel_firmware.bin", "56",
                  bsd_sum_text(files[1].bytes).c_str(), "-");
    EXPECT_NE(std::string::npos, show.output.find("package version  1.0.0\npackage type     DEVICE_FIRMWARE\n"));
    EXPECT_NE(std::string::npos, show.output.find("total size       1290\n"));
    EXPECT_NE(std::string::npos, show.output.find("group 1: MAIN 1.0.0\n"));
    EXPECT_NE(std::string::npos, show.output.find(main_row));
    EXPECT_NE(std::string::npos, show.output.find("group 2: PANEL 2.1\n"));
    EXPECT_NE(std::string::npos, show.output.find(panel_row));
}

TEST_F(fwpkg_test, check_reports_the_checksum_of_a_corrupted_file)
{
    const auto files = sample_files(3000, 300);
    const std::string zip = build(folder_with(files));
    ASSERT_EQ(0, last_.status) << last_.output;

    // Replace one file inside the package by a same-sized file of other bytes.
    const std::string unpacked = dir_.file("unpacked");
    std::filesystem::create_directories(unpacked);
    ASSERT_EQ(0, run("cd '" + unpacked + "' && unzip -q '" + zip + "'").status);
    std::string corrupted = files[1].bytes;
    corrupted[10] = static_cast<char>(corrupted[10] ^ 0x5A);
    write_file_bytes(unpacked + "/panel_firmware.bin", corrupted);
    ASSERT_EQ(0, run("cd '" + unpacked + "' && zip -q -X '" + zip + "' panel_firmware.bin").status);

    const command_result check = run(std::string(FWPKG_BINARY) + " check '" + zip + "'");
    EXPECT_EQ(1, check.status);
    EXPECT_EQ(zip + ": verification failed\n"
                    "[ERR] check(): Checksum in the list did not match. xml_info_list:[" +
                  bsd_sum_text(files[1].bytes) + "] unzip_info_list:[" + bsd_sum_text(corrupted) +
                  "]\n"
                  "[ERR] verify(): Faild check verify list operation.\n",
              check.output);
}

TEST_F(fwpkg_test, build_refuses_a_folder_with_a_subfolder)
{
    const std::string folder = folder_with(sample_files(10, 10));
    std::filesystem::create_directories(folder + "/nested");
    build(folder);
    EXPECT_EQ(1, last_.status);
    EXPECT_EQ("fwpkg: nested is not a regular file: the device extracts packages flat\n", last_.output);
}

TEST_F(fwpkg_test, build_refuses_a_name_the_device_cannot_checksum)
{
    build(folder_with({{"a;touch x", "data"}}));
    EXPECT_EQ(1, last_.status);
    EXPECT_EQ("fwpkg: the device cannot take the file name \"a;touch x\" "
              "(at most 93 letters, digits and ._-+,=@%:~)\n",
              last_.output);
}

// The device's checksum command for a file in /tmp/fwupdate/update must fit
// 127 bytes with its NUL: names of at most 93 characters.
TEST_F(fwpkg_test, build_refuses_a_name_too_long_for_the_device_checksum)
{
    const std::string name = std::string(90, 'n') + ".bin";
    ASSERT_EQ(94u, name.size());
    build(folder_with({{name, "data"}}));
    EXPECT_EQ(1, last_.status);
    EXPECT_EQ("fwpkg: the device cannot take the file name \"" + name +
                  "\" (at most 93 letters, digits and ._-+,=@%:~)\n",
              last_.output);
}

TEST_F(fwpkg_test, longest_name_the_device_takes_is_built_and_verified)
{
    const std::string name = std::string(89, 'n') + ".bin";
    ASSERT_EQ(93u, name.size());
    const std::string folder = folder_with({{name, "data"}});
    const std::string zip = dir_.file("built.zip");
    // From inside the folder, so that the name's path here is short too.
    last_ = run("cd '" + folder + "' && " + FWPKG_BINARY + " build . -o '" + zip +
                "' --version 1.0.0 --type DEVICE_FIRMWARE");
    ASSERT_EQ(0, last_.status) << last_.output;

    const command_result check = run(std::string(FWPKG_BINARY) + " check '" + zip + "'");
    EXPECT_EQ(0, check.status) << check.output;
    EXPECT_EQ(zip + ": verified: version 1.0.0, type DEVICE_FIRMWARE\n", check.output);
}

TEST_F(fwpkg_test, build_refuses_an_unknown_package_type)
{
    const std::string zip = dir_.file("built.zip");
    const command_result result = run(std::string(FWPKG_BINARY) + " build '" +
                                      folder_with(sample_files(10, 10)) + "' -o '" + zip +
                                      "' --version 1 --type FIRMWARE");
    EXPECT_EQ(1, result.status);
    EXPECT_EQ("fwpkg: unknown package type FIRMWARE\n", result.output);
    EXPECT_FALSE(std::filesystem::exists(zip));
}

TEST_F(fwpkg_test, package_it_builds_is_delivered_and_recorded_by_the_program)
{
    const std::string zip = build(FWUPDATE_SOURCE_DIR "/samples/device-firmware");
    ASSERT_EQ(0, last_.status) << last_.output;
    ASSERT_EQ(0, start_program());
    EXPECT_EQ(upload_ok,
              upload(read_file_bytes(zip), norvane_tools::upload_options{}));
    EXPECT_EQ(finished_ok_2, status(1));
    EXPECT_EQ(finished_ok_3, status(2));
    EXPECT_EQ(0, wait_program());
    EXPECT_EQ(std::string("1.0.0", 6), record("FIRMWARE_VERSION_DEVICE"));
    EXPECT_EQ("dlstart\ndlfinish 0\n", service_log());
}

}  // namespace
}  // namespace norvane_test
