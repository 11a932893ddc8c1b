#include "command_output.h"

#include "temp_dir.h"

#include <cstdio>
#include <sys/wait.h>

namespace norvane_test {

command_output run_command(const std::string& command)
{
    command_output result;
    temp_dir dir;
    const std::string errors = dir.file("stderr");
    FILE* pipe = ::popen(("(" + command + ") 2>'" + errors + "'").c_str(), "r");
    if (pipe == nullptr) {
        result.err = "cannot run " + command;
        return result;
    }
    char buffer[4096];
    size_t got = 0;
    while ((got = std::fread(buffer, 1, sizeof buffer, pipe)) > 0) {
        result.out.append(buffer, got);
    }
    const int status = ::pclose(pipe);
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    result.err = read_file_bytes(errors);
    return result;
}

std::string shell_word(const std::string& text)
{
    std::string word = "'";
    for (char c : text) {
        word += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return word + "'";
}

}  // namespace norvane_test
