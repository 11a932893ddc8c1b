// The package tool on real folders and zips, and a package it built
// delivered to the real program.
#include "e2e_fixture.h"

#include "bsd_sum.h"
#include "command_output.h"
#include "delivery_replies.h"

#include <cstdio>
#include <filesystem>

namespace norvane_test {
namespace {

// A command with its standard error in its output, as a user sees it.
command_output run(const std::string& command)
{
    return run_command(command + " 2>&1");
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

    command_output last_;
};

TEST_F(fwpkg_test, built_sample_passes_the_device_verification)
{
    const std::string zip = build(FWUPDATE_SOURCE_DIR "/samples/device-firmware");
    ASSERT_EQ(0, last_.status) << last_.out;

    const command_output check = run(std::string(FWPKG_BINARY) + " check '" + zip + "'");
    EXPECT_EQ(0, check.status);
    EXPECT_EQ(zip + ": verified: version 1.0.0, type DEVICE_FIRMWARE\n", check.out);
}

TEST_F(fwpkg_test, same_folder_gives_the_same_bytes_in_any_time_zone_under_any_umask)
{
    const std::string zip = build(FWUPDATE_SOURCE_DIR "/samples/device-firmware");
    ASSERT_EQ(0, last_.status) << last_.out;
    // Fresh copies of the files (new modification times), another time zone
    // and a umask that leaves only the owner's bits.
    const std::string copy = dir_.file("copy");
    std::filesystem::copy(FWUPDATE_SOURCE_DIR "/samples/device-firmware", copy);
    const std::string again = dir_.file("again.zip");
    const command_output second =
        run("umask 077 && TZ=Asia/Tokyo " + std::string(FWPKG_BINARY) + " build '" + copy + "' -o '" +
            again + "' --version 1.0.0 --type DEVICE_FIRMWARE");
    ASSERT_EQ(0, second.status) << second.out;

    EXPECT_EQ(read_file_bytes(zip), read_file_bytes(again));
    const command_output listing = run("zipinfo -T '" + again + "'");
    EXPECT_NE(std::string::npos,
              listing.out.find("-rw-r--r--  3.0 unx      666 t- defN 19800101.000000 FW_package.xml\n"
                                  "-rw-r--r--  3.0 unx    24576 b- stor 19800101.000000 main_controller.bin\n"
                                  "-rw-r--r--  3.0 unx     6144 b- stor 19800101.000000 panel_ui.bin\n"
                                  "-rw-r--r--  3.0 unx      232 t- defN 19800101.000000 release_notes.txt\n"))
        << listing.out;
}

TEST_F(fwpkg_test, show_prints_the_description_as_a_table)
{
    const auto files = sample_files(1234, 56);
    const std::string zip = build(folder_with(files), " --group MAIN:1.0.0 --group PANEL:2.1=panel_firmware.bin");
    ASSERT_EQ(0, last_.status) << last_.out;

    const command_output show = run(std::string(FWPKG_BINARY) + " show '" + zip + "'");
    EXPECT_EQ(0, show.status);
    char main_row[200];
    std::snprintf(main_row, sizeof main_row, "  %-40s %12s  %-8s %s\n", "main_firmware.bin", "1234",
                  bsd_sum_text(files[0].bytes).c_str(), "-");
    char panel_row[200];
    std::snprintf(panel_row, sizeof panel_row, "  %-40s %12s  %-8s %s\n", "panel_firmware.bin", "56",
                  bsd_sum_text(files[1].bytes).c_str(), "-");
    EXPECT_NE(std::string::npos, show.out.find("package version  1.0.0\npackage type     DEVICE_FIRMWARE\n"));
    EXPECT_NE(std::string::npos, show.out.find("total size       1290\n"));
    EXPECT_NE(std::string::npos, show.out.find("group 1: MAIN 1.0.0\n"));
    EXPECT_NE(std::string::npos, show.out.find(main_row));
    EXPECT_NE(std::string::npos, show.out.find("group 2: PANEL 2.1\n"));
    EXPECT_NE(std::string::npos, show.out.find(panel_row));
}

TEST_F(fwpkg_test, check_reports_the_checksum_of_a_corrupted_file)
{
    const auto files = sample_files(3000, 300);
    const std::string zip = build(folder_with(files));
    ASSERT_EQ(0, last_.status) << last_.out;

    // Replace one file inside the package by a same-sized file of other bytes.
    const std::string unpacked = dir_.file("unpacked");
    std::filesystem::create_directories(unpacked);
    ASSERT_EQ(0, run("cd '" + unpacked + "' && unzip -q '" + zip + "'").status);
    std::string corrupted = files[1].bytes;
    corrupted[10] = static_cast<char>(corrupted[10] ^ 0x5A);
    write_file_bytes(unpacked + "/panel_firmware.bin", corrupted);
    ASSERT_EQ(0, run("cd '" + unpacked + "' && zip -q -X '" + zip + "' panel_firmware.bin").status);

    const command_output check = run(std::string(FWPKG_BINARY) + " check '" + zip + "'");
    EXPECT_EQ(1, check.status);
    EXPECT_EQ(zip + ": verification failed\n"
                    "[ERR] check(): Checksum in the list did not match. xml_info_list:[" +
                  bsd_sum_text(files[1].bytes) + "] unzip_info_list:[" + bsd_sum_text(corrupted) +
                  "]\n"
                  "[ERR] verify(): Faild check verify list operation.\n",
              check.out);
}

TEST_F(fwpkg_test, build_refuses_a_folder_with_a_subfolder)
{
    const std::string folder = folder_with(sample_files(10, 10));
    std::filesystem::create_directories(folder + "/nested");
    build(folder);
    EXPECT_EQ(1, last_.status);
    EXPECT_EQ("fwpkg: nested is not a regular file: the device extracts packages flat\n", last_.out);
}

TEST_F(fwpkg_test, build_refuses_a_name_the_device_cannot_checksum)
{
    build(folder_with({{"a;touch x", "data"}}));
    EXPECT_EQ(1, last_.status);
    EXPECT_EQ("fwpkg: the device cannot take the file name \"a;touch x\" "
              "(at most 93 letters, digits and ._-+,=@%:~)\n",
              last_.out);
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
              last_.out);
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
    ASSERT_EQ(0, last_.status) << last_.out;

    const command_output check = run(std::string(FWPKG_BINARY) + " check '" + zip + "'");
    EXPECT_EQ(0, check.status) << check.out;
    EXPECT_EQ(zip + ": verified: version 1.0.0, type DEVICE_FIRMWARE\n", check.out);
}

TEST_F(fwpkg_test, build_refuses_an_unknown_package_type)
{
    const std::string zip = dir_.file("built.zip");
    const command_output result = run(std::string(FWPKG_BINARY) + " build '" +
                                      folder_with(sample_files(10, 10)) + "' -o '" + zip +
                                      "' --version 1 --type FIRMWARE");
    EXPECT_EQ(2, result.status);
    EXPECT_EQ(0u, result.out.find("fwpkg: unknown package type FIRMWARE\nusage:\n"));
    EXPECT_FALSE(std::filesystem::exists(zip));
}

TEST_F(fwpkg_test, package_it_builds_is_delivered_and_recorded_by_the_program)
{
    const std::string zip = build(FWUPDATE_SOURCE_DIR "/samples/device-firmware");
    ASSERT_EQ(0, last_.status) << last_.out;
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
