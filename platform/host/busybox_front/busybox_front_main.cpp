// The host's stand-in for the device's busybox, found first in PATH on host
// runs. Debian's busybox has no "sum" applet, so "busybox sum FILE..." is
// answered here, in this process, exactly as coreutils sum answers it; "sum"
// with options goes to coreutils sum itself, and every other applet to the
// real busybox.
#include "bsd_sum_applet.h"

#include <climits>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

const char* const REAL_BUSYBOXES[] = {"/usr/bin/busybox", "/bin/busybox"};
const char* const COREUTILS_SUMS[] = {"/usr/bin/sum", "/bin/sum"};

bool is_option_(const char* argument)
{
    return argument[0] == '-' && argument[1] != '\0';
}

// The canonical path of path, or "" when it has none.
std::string real_path_(const char* path)
{
    char resolved[PATH_MAX];
    return ::realpath(path, resolved) != nullptr ? resolved : "";
}

// Runs the first executable of candidates that is not this program with
// arguments. Returns only when none could be run.
void exec_first_(const char* const* candidates, size_t count, char** arguments)
{
    const std::string self = real_path_("/proc/self/exe");
    for (size_t index = 0; index < count; ++index) {
        if (::access(candidates[index], X_OK) == 0 && real_path_(candidates[index]) != self) {
            ::execv(candidates[index], arguments);
        }
    }
}

void print_error_(const char* text)
{
    const std::string line = std::string(text) + "\n";
    if (::write(STDERR_FILENO, line.data(), line.size()) < 0) {
        // Nothing is left to tell.
    }
}

int run_sum_(int argc, char** argv)
{
    for (int index = 2; index < argc; ++index) {
        if (is_option_(argv[index])) {
            // coreutils names itself after its argv[0] in its messages.
            std::vector<char*> arguments(argv + 1, argv + argc + 1);
            exec_first_(COREUTILS_SUMS, sizeof COREUTILS_SUMS / sizeof COREUTILS_SUMS[0],
                        arguments.data());
            print_error_("busybox: sum: coreutils sum not found");
            return 127;
        }
    }
    // Which bytes of a file name are printable depends on the character
    // type, as it does for coreutils; messages stay in English.
    std::setlocale(LC_CTYPE, "");
    return norvane::bsd_sum_applet().run(std::vector<std::string>(argv + 2, argv + argc));
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc >= 2 && std::strcmp(argv[1], "sum") == 0) {
        return run_sum_(argc, argv);
    }
    // busybox takes the applet from argv[1] only when it is called busybox.
    std::vector<char*> arguments(argv, argv + argc + 1);
    char busybox_name[] = "busybox";
    arguments[0] = busybox_name;
    exec_first_(REAL_BUSYBOXES, sizeof REAL_BUSYBOXES / sizeof REAL_BUSYBOXES[0], arguments.data());
    print_error_("busybox: no real busybox found");
    return 127;
}
