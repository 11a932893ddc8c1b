#include "command_run.h"

#include "temp_dir.h"

#include <cstdlib>
#include <sys/wait.h>

namespace norvane_test {

command_output run_command(const std::string& command)
{
    temp_dir streams;
    const std::string out_path = streams.file("out");
    const std::string err_path = streams.file("err");
    const std::string wrapped =
        "( " + command + " ) </dev/null >'" + out_path + "' 2>'" + err_path + "'";
    const int status = std::system(wrapped.c_str());
    command_output output;
    output.status = (status != -1 && WIFEXITED(status)) ? WEXITSTATUS(status) : -1;
    output.out = read_file_bytes(out_path);
    output.err = read_file_bytes(err_path);
    return output;
}

}  // namespace norvane_test
