// Test helpers for the file utilities, the file-info lists and the folder
// list: records built in one call, environment changes undone at scope end,
// stub tools first in PATH, process conditions under which the C library's
// pipe and shell calls fail, and log splitting.
#ifndef NORVANE_TESTS_QAV_MNT_FWUPDATE_LIB_UTIL_TEST_SUPPORT_H
#define NORVANE_TESTS_QAV_MNT_FWUPDATE_LIB_UTIL_TEST_SUPPORT_H

#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "qav_mnt_fwupdate_lib_verify_file_info.h"
#include "temp_dir.h"

namespace norvane_test {

// Sets an environment variable and restores the earlier value (or its
// absence) at scope end.
class scoped_env {
public:
    scoped_env(const char* name, const std::string& value) : name_(name)
    {
        const char* old = std::getenv(name);
        had_ = old != nullptr;
        if (had_) {
            old_ = old;
        }
        ::setenv(name, value.c_str(), 1);
    }
    ~scoped_env()
    {
        if (had_) {
            ::setenv(name_.c_str(), old_.c_str(), 1);
        } else {
            ::unsetenv(name_.c_str());
        }
    }
    scoped_env(const scoped_env&) = delete;
    scoped_env& operator=(const scoped_env&) = delete;

private:
    std::string name_;
    std::string old_;
    bool had_ = false;
};

// A folder holding an executable "busybox" with the given shell script body,
// put first in PATH for the lifetime of the object.
class stub_busybox {
public:
    explicit stub_busybox(const std::string& script_body)
        : path_env_("PATH", folder_.path() + ":" + current_path_())
    {
        const std::string tool = folder_.write_file("busybox", "#!/bin/sh\n" + script_body);
        ::chmod(tool.c_str(), 0755);
    }

private:
    static std::string current_path_()
    {
        const char* path = std::getenv("PATH");
        return path != nullptr ? path : "/usr/bin:/bin";
    }

    temp_dir folder_;
    scoped_env path_env_;
};

// Uses up every free file descriptor (under a lowered soft limit), so that
// pipe() and open() fail with EMFILE until the object goes away.
class exhausted_descriptors {
public:
    exhausted_descriptors()
    {
        ::getrlimit(RLIMIT_NOFILE, &saved_);
        struct rlimit lowered = saved_;
        lowered.rlim_cur = 256;
        ::setrlimit(RLIMIT_NOFILE, &lowered);
        for (int fd = ::open("/dev/null", O_RDONLY); fd >= 0; fd = ::open("/dev/null", O_RDONLY)) {
            fds_.push_back(fd);
        }
    }
    ~exhausted_descriptors()
    {
        for (int fd : fds_) {
            ::close(fd);
        }
        ::setrlimit(RLIMIT_NOFILE, &saved_);
    }
    exhausted_descriptors(const exhausted_descriptors&) = delete;
    exhausted_descriptors& operator=(const exhausted_descriptors&) = delete;

private:
    struct rlimit saved_;
    std::vector<int> fds_;
};

// With SIGCHLD ignored, children are reaped by the kernel, so waitpid()
// inside system() and pclose() fails and both return -1.
class ignored_sigchld {
public:
    ignored_sigchld()
    {
        struct sigaction ignore = {};
        ignore.sa_handler = SIG_IGN;
        ::sigemptyset(&ignore.sa_mask);
        ::sigaction(SIGCHLD, &ignore, &saved_);
    }
    ~ignored_sigchld() { ::sigaction(SIGCHLD, &saved_, nullptr); }
    ignored_sigchld(const ignored_sigchld&) = delete;
    ignored_sigchld& operator=(const ignored_sigchld&) = delete;

private:
    struct sigaction saved_;
};

// Makes /dev/null this process's standard input for the lifetime of the
// object, so that a child that reads it ends at once instead of waiting on
// whatever the test runner passed.
class null_standard_input {
public:
    null_standard_input() : saved_(::dup(STDIN_FILENO))
    {
        int null_fd = ::open("/dev/null", O_RDONLY);
        ::dup2(null_fd, STDIN_FILENO);
        ::close(null_fd);
    }
    ~null_standard_input()
    {
        ::dup2(saved_, STDIN_FILENO);
        ::close(saved_);
    }
    null_standard_input(const null_standard_input&) = delete;
    null_standard_input& operator=(const null_standard_input&) = delete;

private:
    int saved_;
};

// A pointer as the program log prints it through "0x%08X".
inline std::string pointer_text(const void* pointer)
{
    char text[16];
    std::snprintf(text, sizeof text, "0x%08X",
                  static_cast<unsigned int>(reinterpret_cast<uintptr_t>(pointer)));
    return text;
}

// The lines of a captured log, without their line feeds.
inline std::vector<std::string> split_lines(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        lines.push_back(line);
    }
    return lines;
}

// The program's own lines of a captured stream: the XML layers' trace lines,
// which start with "[XML]", are left out (each is one line for a one-line
// document).
inline std::string program_log(const std::string& captured)
{
    std::string kept;
    for (const std::string& line : split_lines(captured)) {
        if (line.compare(0, 5, "[XML]") != 0) {
            kept += line + "\n";
        }
    }
    return kept;
}

inline norvane::verify_file_info make_info(const std::string& name, int32_t size,
                                          const std::string& check_sum)
{
    norvane::verify_file_info info;
    info.file_name = name;
    info.file_size = size;
    info.check_sum = check_sum;
    return info;
}

inline std::vector<std::string> names_of(const std::vector<norvane::verify_file_info>& list)
{
    std::vector<std::string> names;
    for (const norvane::verify_file_info& info : list) {
        names.push_back(info.file_name);
    }
    return names;
}

inline bool path_exists(const std::string& path)
{
    struct stat status;
    return ::lstat(path.c_str(), &status) == 0;
}

}  // namespace norvane_test

#endif
