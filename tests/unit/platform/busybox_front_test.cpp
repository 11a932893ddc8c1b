// The host busybox front, run through the shell with the PATH that test runs
// use: "busybox sum" prints, reports and exits exactly as coreutils sum does
// for the same files, and every other applet reaches the real busybox.
#include "bsd_sum.h"
#include "command_output.h"
#include "temp_dir.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace {

using norvane_test::shell_word;

struct command_result {
    std::string output;  // standard output, and standard error where redirected into it
    int status;          // exit status, -1 when the command did not exit normally

    bool operator==(const command_result& other) const
    {
        return output == other.output && status == other.status;
    }
};

std::ostream& operator<<(std::ostream& out, const command_result& result)
{
    return out << "status " << result.status << ", output \"" << result.output << "\"";
}

command_result run(const std::string& command)
{
    const norvane_test::command_output result = norvane_test::run_command(command);
    return command_result{result.out, result.status};
}

// The front and coreutils sum with the same arguments (already quoted for
// the shell), standard error folded into standard output after it.
command_result front_sum(const std::string& arguments)
{
    return run("LC_ALL=C busybox sum " + arguments + " 2>&1");
}

command_result coreutils_sum(const std::string& arguments)
{
    return run("LC_ALL=C sum " + arguments + " 2>&1");
}

std::string mixed_bytes(size_t size)
{
    std::string bytes(size, '\0');
    for (size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<char>((i * 131 + 7) & 0xFF);
    }
    return bytes;
}

TEST(busybox_front_test, path_finds_the_compiled_front_first)
{
    command_result found = run("command -v busybox");
    EXPECT_EQ(0, found.status);
    const std::string tail = "/platform/host/bin/busybox\n";
    ASSERT_GE(found.output.size(), tail.size());
    EXPECT_EQ(tail, found.output.substr(found.output.size() - tail.size()));
    EXPECT_EQ("", run("head -c 2 \"$(command -v busybox)\" | grep '#!'").output);
}

TEST(busybox_front_test, sum_of_files_of_every_edge_size_matches_coreutils)
{
    norvane_test::temp_dir dir;
    for (size_t size : {0u, 1u, 4095u, 4096u, 65537u}) {
        const std::string bytes = mixed_bytes(size);
        const std::string path = dir.write_file("file_" + std::to_string(size) + ".bin", bytes);
        const command_result front = front_sum(path);
        EXPECT_EQ(coreutils_sum(path), front) << size << " bytes";
        EXPECT_EQ(0, front.status);
        EXPECT_EQ(norvane_test::bsd_sum_text(bytes), front.output.substr(0, 5)) << size << " bytes";
    }
}

TEST(busybox_front_test, sum_of_a_sparse_file_of_1_gib_matches_coreutils)
{
    norvane_test::temp_dir dir;
    const std::string path = dir.file("sparse_1gib.bin");
    {
        std::ofstream create(path, std::ios::binary);
    }
    std::filesystem::resize_file(path, 1024ull * 1024 * 1024);
    const command_result front = front_sum(path);
    EXPECT_EQ(coreutils_sum(path), front);
    EXPECT_EQ("00000 1048576 " + path + "\n", front.output);
}

TEST(busybox_front_test, sum_of_a_missing_file_matches_coreutils)
{
    norvane_test::temp_dir dir;
    const std::string path = dir.file("missing.bin");
    const command_result front = front_sum(path);
    EXPECT_EQ(coreutils_sum(path), front);
    EXPECT_EQ(command_result({"sum: " + path + ": No such file or directory\n", 1}), front);
}

// As root every file is readable whatever its mode; a folder and the
// process's own memory at offset 0 are not.
TEST(busybox_front_test, sum_of_unreadable_files_matches_coreutils)
{
    norvane_test::temp_dir dir;
    const std::string folder = dir.path() + "/folder.bin";
    std::filesystem::create_directory(folder);
    const command_result of_folder = front_sum(folder);
    EXPECT_EQ(coreutils_sum(folder), of_folder);
    EXPECT_EQ(command_result({"sum: " + folder + ": Is a directory\n", 1}), of_folder);
    const command_result of_memory = front_sum("/proc/self/mem");
    EXPECT_EQ(coreutils_sum("/proc/self/mem"), of_memory);
    EXPECT_EQ(command_result({"sum: /proc/self/mem: Input/output error\n", 1}), of_memory);
}

TEST(busybox_front_test, several_files_with_a_failing_one_match_coreutils)
{
    norvane_test::temp_dir dir;
    const std::string first = dir.write_file("first.bin", mixed_bytes(3000));
    const std::string second = dir.write_file("second.bin", mixed_bytes(70000));
    const std::string arguments = first + " " + dir.file("gone.bin") + " " + second + " " + first;
    const command_result front = front_sum(arguments);
    EXPECT_EQ(coreutils_sum(arguments), front);
    EXPECT_EQ(1, front.status);
}

TEST(busybox_front_test, standard_input_without_operands_or_as_dash_matches_coreutils)
{
    norvane_test::temp_dir dir;
    const std::string bytes = mixed_bytes(3000);
    const std::string path = dir.write_file("input", bytes);
    const command_result bare = front_sum("< " + path);
    EXPECT_EQ(coreutils_sum("< " + path), bare);
    EXPECT_EQ(command_result({norvane_test::bsd_sum_text(bytes) + "     3\n", 0}), bare);
    EXPECT_EQ(coreutils_sum("- < " + path), front_sum("- < " + path));
    EXPECT_EQ(coreutils_sum(path + " - < " + path), front_sum(path + " - < " + path));
}

TEST(busybox_front_test, names_that_need_quoting_are_quoted_as_coreutils_quotes_them)
{
    norvane_test::temp_dir dir;
    const std::string present = dir.write_file("a b:c", "x");
    EXPECT_EQ(coreutils_sum(shell_word(present)), front_sum(shell_word(present)));
    for (const std::string& name :
         {std::string("it's"), std::string("tab\there"), std::string("new\nline"),
          std::string("~home"), std::string("#hash"), std::string("x'$y"), std::string("\x80\x81"),
          std::string("caf\xc3\xa9"), std::string("back\\slash"), std::string("{"),
          std::string("a{b}"), std::string("q?"), std::string("'\n'")}) {
        const std::string word = shell_word(dir.file(name));
        EXPECT_EQ(coreutils_sum(word), front_sum(word)) << name;
    }
    EXPECT_EQ(coreutils_sum("''"), front_sum("''"));
}

TEST(busybox_front_test, output_that_cannot_be_written_is_reported_as_coreutils_does)
{
    norvane_test::temp_dir dir;
    const std::string path = dir.write_file("file.bin", mixed_bytes(100));
    const std::string full = path + " 2>&1 >/dev/full";
    EXPECT_EQ(run("LC_ALL=C sum " + full), run("LC_ALL=C busybox sum " + full));
    EXPECT_EQ(command_result({"sum: write error\n", 1}), run("LC_ALL=C busybox sum " + full));
    const std::string closed = path + " 2>&1 >&-";
    EXPECT_EQ(run("LC_ALL=C sum " + closed), run("LC_ALL=C busybox sum " + closed));
    EXPECT_EQ(command_result({"sum: write error: Bad file descriptor\n", 1}),
              run("LC_ALL=C busybox sum " + closed));
}

TEST(busybox_front_test, sum_with_options_is_coreutils_sum)
{
    norvane_test::temp_dir dir;
    const std::string path = dir.write_file("file.bin", mixed_bytes(5000));
    EXPECT_EQ(coreutils_sum("-s " + path), front_sum("-s " + path));
    EXPECT_EQ(coreutils_sum("-r " + path), front_sum("-r " + path));
    EXPECT_EQ(coreutils_sum("--bogus " + path), front_sum("--bogus " + path));
}

TEST(busybox_front_test, echo_applet_reaches_real_busybox)
{
    command_result result = run("busybox echo hi");
    EXPECT_EQ(0, result.status);
    EXPECT_EQ("hi\n", result.output);
}

TEST(busybox_front_test, exit_status_of_real_applet_comes_back)
{
    EXPECT_EQ(0, run("busybox true").status);
    EXPECT_EQ(1, run("busybox false").status);
}

TEST(busybox_front_test, bare_call_reaches_real_busybox)
{
    command_result result = run("busybox 2>&1");
    ASSERT_GE(result.output.size(), 9u);
    EXPECT_EQ("BusyBox v", result.output.substr(0, 9));
}

}  // namespace
