#include "host_update_log.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace norvane {

namespace {

const char* const DEFAULT_STATE_DIR = "/tmp/fwupdate-state";
const char* const LOG_NAME = "/update-service.log";

std::string env_or_(const char* name, const char* fallback)
{
    const char* value = std::getenv(name);
    if (value == nullptr || value[0] == '\0') {
        return fallback;
    }
    return value;
}

}  // namespace

std::string host_update_log::state_dir()
{
    return env_or_("FWUPDATE_STATE_DIR", DEFAULT_STATE_DIR);
}

int host_update_log::make_dirs(const std::string& path)
{
    if (path.empty()) {
        return 1;
    }
    // Create every prefix that ends before a '/', then the path itself.
    for (size_t slash = path.find('/', 1); ; slash = path.find('/', slash + 1)) {
        const std::string prefix = path.substr(0, slash);
        if (::mkdir(prefix.c_str(), 0755) != 0 && errno != EEXIST) {
            return 1;
        }
        if (slash == std::string::npos) {
            break;
        }
    }
    struct stat info{};
    return (::stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode)) ? 0 : 1;
}

int host_update_log::append(const std::string& line)
{
    const std::string dir = state_dir();
    if (make_dirs(dir) != 0) {
        return 1;
    }
    const std::string path = dir + LOG_NAME;
    int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    if (fd < 0) {
        return 1;
    }
    // One write per line, so lines from two threads never mix.
    const std::string text = line + "\n";
    ssize_t written = ::write(fd, text.data(), text.size());
    int result = (written == static_cast<ssize_t>(text.size())) ? 0 : 1;
    result |= (::close(fd) == 0) ? 0 : 1;
    return result;
}

int host_update_log::is_fault(const std::string& call)
{
    // Names are separated by commas; blanks around a name are ignored.
    const std::string faults = env_or_("FWUPDATE_FAULTS", "");
    size_t start = 0;
    while (start <= faults.size()) {
        size_t end = faults.find(',', start);
        if (end == std::string::npos) {
            end = faults.size();
        }
        const size_t first = faults.find_first_not_of(" \t", start);
        const size_t last = faults.find_last_not_of(" \t", end == 0 ? 0 : end - 1);
        if (first < end && last != std::string::npos && last >= first &&
            faults.compare(first, last + 1 - first, call) == 0) {
            return 1;
        }
        start = end + 1;
    }
    return 0;
}

int host_update_log::take_fault(const std::string& call)
{
    if (is_fault(call) == 0) {
        return 0;
    }
    append(call + " fault");
    return 1;
}

}  // namespace norvane
