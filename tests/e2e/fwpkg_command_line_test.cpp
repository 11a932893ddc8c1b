// fwpkg's command line as scripts rely on it: help on standard output,
// every usage error named, and the exit statuses its help documents.
#include "command_output.h"
#include "temp_dir.h"

#include <gtest/gtest.h>

#include <string>

namespace norvane_test {
namespace {

const std::string FWPKG = FWPKG_BINARY;

class fwpkg_command_line_test : public testing::Test {
protected:
    // A folder of two small files to pack.
    std::string folder()
    {
        const std::string path = dir_.file("firmware");
        run_command("mkdir -p '" + path + "'");
        write_file_bytes(path + "/a.bin", "firmware A\n");
        write_file_bytes(path + "/b.bin", "firmware B\n");
        return path;
    }

    command_output build(const std::string& extra)
    {
        return run_command(FWPKG + " build '" + folder() + "' -o '" + dir_.file("p.zip") +
                           "' --version 1.0.0 --type DEVICE_FIRMWARE" + extra);
    }

    temp_dir dir_;
};

TEST_F(fwpkg_command_line_test, help_prints_usage_with_the_exit_statuses_on_standard_output)
{
    for (const char* words : {" --help", " -h", " build --help", " check p.zip --help"}) {
        const command_output help = run_command(FWPKG + words);
        EXPECT_EQ(0, help.status) << words;
        EXPECT_EQ("", help.err) << words;
        EXPECT_EQ(0u, help.out.find("usage:\n  fwpkg keygen NAME\n")) << words;
        EXPECT_NE(std::string::npos,
                  help.out.find("exit status:\n"
                                "  0  done: key pair written, package built, verified or shown\n"
                                "  1  the package is not verified, or the package or key pair "
                                "could not be made\n"
                                "  2  usage error: unknown command or option, missing or bad "
                                "argument\n"
                                "  3  could not run: a package, folder, key or trust folder is "
                                "missing, unreadable or\n"
                                "     unusable, or the package could not be extracted\n"))
            << help.out;
    }
}

// A usage error: status 2, the problem named on the first line of standard
// error, the usage after it, nothing on standard output.
void expect_usage_error(const command_output& result, const std::string& first_line)
{
    EXPECT_EQ(2, result.status);
    EXPECT_EQ("", result.out);
    EXPECT_EQ(0u, result.err.find(first_line + "\nusage:\n")) << result.err;
}

TEST_F(fwpkg_command_line_test, unknown_option_is_named)
{
    expect_usage_error(run_command(FWPKG + " check p.zip --frobnicate"),
                       "fwpkg: unknown option --frobnicate");
    expect_usage_error(build(" --sgin key.pem"), "fwpkg: unknown option --sgin");
    expect_usage_error(run_command(FWPKG + " --version"), "fwpkg: unknown option --version");
}

TEST_F(fwpkg_command_line_test, unknown_or_missing_command_is_a_usage_error)
{
    expect_usage_error(run_command(FWPKG + " verify p.zip"), "fwpkg: unknown command verify");
    expect_usage_error(run_command(FWPKG), "fwpkg: no command");
}

TEST_F(fwpkg_command_line_test, option_without_its_value_is_a_usage_error)
{
    expect_usage_error(run_command(FWPKG + " check p.zip --trust"),
                       "fwpkg: option --trust needs a value");
}

TEST_F(fwpkg_command_line_test, missing_or_extra_arguments_are_usage_errors)
{
    expect_usage_error(run_command(FWPKG + " build '" + folder() + "' --version 1 --type DEVICE_FIRMWARE"),
                       "fwpkg: build needs FOLDER, -o PACKAGE.zip, --version and --type");
    expect_usage_error(run_command(FWPKG + " check"), "fwpkg: check needs one PACKAGE.zip");
    expect_usage_error(run_command(FWPKG + " show a.zip b.zip"), "fwpkg: show needs one PACKAGE.zip");
    expect_usage_error(run_command(FWPKG + " keygen"), "fwpkg: keygen needs one NAME");
}

TEST_F(fwpkg_command_line_test, bad_type_or_group_is_a_usage_error_and_builds_nothing)
{
    expect_usage_error(run_command(FWPKG + " build '" + folder() + "' -o '" + dir_.file("p.zip") +
                                   "' --version 1 --type FIRMWARE"),
                       "fwpkg: unknown package type FIRMWARE");
    expect_usage_error(build(" --group NOPE:1"), "fwpkg: unknown group type NOPE");
    expect_usage_error(build(" --group MAIN"), "fwpkg: bad group MAIN (TYPE:VERSION[=FILE,...])");
    EXPECT_TRUE(read_file_bytes(dir_.file("p.zip")).empty());
}

TEST_F(fwpkg_command_line_test, missing_package_cannot_be_checked_or_shown)
{
    const std::string missing = dir_.file("missing.zip");
    for (const char* command : {" check '", " show '"}) {
        const command_output result = run_command(FWPKG + command + missing + "'");
        EXPECT_EQ(3, result.status) << command;
        EXPECT_EQ("", result.out);
        EXPECT_EQ("fwpkg: cannot read " + missing + ": No such file or directory\n", result.err);
    }
}

TEST_F(fwpkg_command_line_test, missing_folder_cannot_be_built)
{
    const command_output result = run_command(FWPKG + " build '" + dir_.file("none") + "' -o '" +
                                              dir_.file("p.zip") + "' --version 1 --type DEVICE_FIRMWARE");
    EXPECT_EQ(3, result.status);
    EXPECT_EQ("fwpkg: cannot read the folder " + dir_.file("none") + ": No such file or directory\n",
              result.err);
}

TEST_F(fwpkg_command_line_test, file_that_is_no_package_is_not_verified)
{
    const std::string not_zip = dir_.write_file("notes.zip", "not a zip\n");
    const command_output check = run_command(FWPKG + " check '" + not_zip + "'");
    EXPECT_EQ(1, check.status);
    EXPECT_EQ(0u, check.out.find(not_zip + ": verification failed\n")) << check.out;
    const command_output show = run_command(FWPKG + " show '" + not_zip + "'");
    EXPECT_EQ(1, show.status);
    EXPECT_EQ("fwpkg: the package holds no readable FW_package.xml\n", show.err);
}

TEST_F(fwpkg_command_line_test, folder_that_cannot_become_a_package_fails_the_build)
{
    const std::string path = folder();
    write_file_bytes(path + "/FW_package.sha256", "stale\n");
    const command_output result = build("");
    EXPECT_EQ(1, result.status);
    EXPECT_EQ("fwpkg: the folder already holds FW_package.sha256, which the tool writes\n", result.err);
}

}  // namespace
}  // namespace norvane_test
