#include "program_runner.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace norvane_tools {

const char* const fwupdate_work_dir = "/tmp/fwupdate/update";

std::vector<std::string> launcher_words(const std::string& text)
{
    std::istringstream stream(text);
    std::vector<std::string> words;
    std::string word;
    while (stream >> word) {
        words.push_back(word);
    }
    return words;
}

program_runner::~program_runner()
{
    kill_program();
}

int program_runner::empty_work_dir()
{
    std::error_code error;
    std::filesystem::remove_all(fwupdate_work_dir, error);
    if (error) {
        return 1;
    }
    return 0;
}

int program_runner::start(const std::string& binary, const program_environment& environment,
                          const std::vector<std::string>& args)
{
    std::string path_value = environment.host_bin_dir;
    const char* inherited_path = std::getenv("PATH");
    if (inherited_path != nullptr) {
        path_value += std::string(":") + inherited_path;
    }

    pid_t child = ::fork();
    if (child < 0) {
        return 1;
    }
    if (child == 0) {
        ::setenv("FWUPDATE_AOA_SOCKET", environment.socket_path.c_str(), 1);
        ::setenv("FWUPDATE_STATE_DIR", environment.state_dir.c_str(), 1);
        ::setenv("FWUPDATE_FAULTS", environment.faults.c_str(), 1);
        ::setenv("PATH", path_value.c_str(), 1);
        for (const auto& variable : environment.extra_variables) {
            ::setenv(variable.first.c_str(), variable.second.c_str(), 1);
        }
        if (!environment.log_path.empty()) {
            int log = ::open(environment.log_path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
            if (log >= 0) {
                // The unzip tool the program runs prints to standard output;
                // it belongs in the program's log, not among the phone's lines.
                ::dup2(log, STDOUT_FILENO);
                ::dup2(log, STDERR_FILENO);
                ::close(log);
            }
        }
        std::vector<char*> argv;
        for (const std::string& word : environment.launcher) {
            argv.push_back(const_cast<char*>(word.c_str()));
        }
        argv.push_back(const_cast<char*>(binary.c_str()));
        for (const std::string& arg : args) {
            argv.push_back(const_cast<char*>(arg.c_str()));
        }
        argv.push_back(nullptr);
        ::execvp(argv[0], argv.data());
        ::_exit(127);
    }
    pid_ = child;
    return 0;
}

long program_runner::resident_high_water_kib() const
{
    if (pid_ <= 0) {
        return 0;
    }
    std::ifstream status("/proc/" + std::to_string(pid_) + "/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.rfind("VmHWM:", 0) == 0) {
            return std::strtol(line.c_str() + 6, nullptr, 10);
        }
    }
    return 0;
}

int program_runner::wait_exit(int timeout_ms, int& exit_status)
{
    if (pid_ <= 0) {
        return 1;
    }
    // A pidfd becomes readable when the child ends: wait on it, not on a
    // clock, and reap the child then.
    const int ended = static_cast<int>(::syscall(SYS_pidfd_open, pid_, 0));
    if (ended >= 0) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout_ms);
        pollfd events{ended, POLLIN, 0};
        int ready = 0;
        do {
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                deadline - std::chrono::steady_clock::now());
            ready = ::poll(&events, 1, static_cast<int>(std::max<long long>(0, left.count())));
        } while (ready < 0 && errno == EINTR);
        ::close(ended);
    }
    int status = 0;
    if (::waitpid(pid_, &status, WNOHANG) != pid_) {
        return 1;
    }
    pid_ = -1;
    exit_status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return 0;
}

void program_runner::kill_program()
{
    if (pid_ > 0) {
        ::kill(pid_, SIGKILL);
        int status = 0;
        ::waitpid(pid_, &status, 0);
        pid_ = -1;
    }
}

}  // namespace norvane_tools
