// The signature check's cost: qav_mnt_fwupdate_lib_verify_signature::check()
// on an extracted, signed package, beside the floor for the same work in the
// same run: one sha256sum process over the same files.
//
//   signature_bench [ROUNDS]      (default 9)
//
// Cases: a package of 64 MiB (four files of 16 MiB) and one of 1,000 small
// files. Each round times both, in alternating order, each in a child process
// from fork to reaping (the check is forked, the floor forked and exec'd), so
// both pay for a process; the ratio check/floor is taken per round and
// reported as min/median/max. The files are read once before the rounds, so
// both read from the page cache.
//
// Memory: in a child of its own, the check's growth of the peak resident set
// (VmHWM after the check minus VmRSS before it, the peak reset through
// /proc/self/clear_refs) for packages of 4, 64 and 256 MiB: it must not grow
// with the package.
#include "package_signer.h"
#include "qav_mnt_fwupdate_lib_verify_signature.h"

#include <algorithm>
#include <chrono>
#include <fcntl.h>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

namespace fs = std::filesystem;
using clock_type = std::chrono::steady_clock;

constexpr size_t mib = 1024 * 1024;

struct package_case {
    std::string label;
    std::string folder;
    std::vector<std::string> files;  // every listed file, as sha256sum gets them
};

// A folder with files of pseudo-random bytes, an FW_package.xml, and the
// manifest and signature that fwpkg writes.
package_case make_case(const std::string& work, const std::string& label, int file_count,
                       size_t file_size, norvane_tools::package_signer& signer)
{
    package_case made{label, work + "/" + label, {}};
    fs::create_directories(made.folder);
    std::mt19937_64 generator(file_count * 7919 + file_size);
    std::vector<uint64_t> block((file_size + 7) / 8);
    for (int index = 0; index < file_count; ++index) {
        for (uint64_t& word : block) {
            word = generator();
        }
        char name[32];
        std::snprintf(name, sizeof name, "file_%04d.bin", index);
        std::ofstream(made.folder + "/" + name, std::ios::binary)
            .write(reinterpret_cast<const char*>(block.data()), static_cast<std::streamsize>(file_size));
        made.files.push_back(made.folder + "/" + name);
    }
    std::ofstream(made.folder + "/FW_package.xml") << "<firmware_package/>\n";
    made.files.push_back(made.folder + "/FW_package.xml");
    std::string error;
    if (signer.sign_folder(made.folder, error) != 0) {
        std::fprintf(stderr, "signature_bench: %s\n", error.c_str());
        std::exit(2);
    }
    return made;
}

// The check in a forked child; its exit status is the check's result.
double time_check(const package_case& package, const std::string& trust)
{
    std::fflush(stdout);
    const clock_type::time_point start = clock_type::now();
    const pid_t child = ::fork();
    if (child == 0) {
        norvane::qav_mnt_fwupdate_lib_verify_signature signature;
        signature.load_trusted_keys(trust);
        ::_exit(signature.check(package.folder + "/none.zip", package.folder));
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    const double seconds = std::chrono::duration<double>(clock_type::now() - start).count();
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        std::fprintf(stderr, "signature_bench: the check failed on %s\n", package.label.c_str());
        std::exit(1);
    }
    return seconds;
}

// One sha256sum process over the same files, its output to /dev/null.
double time_floor(const package_case& package, long& max_rss_kib)
{
    std::vector<char*> argv;
    argv.push_back(const_cast<char*>("sha256sum"));
    for (const std::string& file : package.files) {
        argv.push_back(const_cast<char*>(file.c_str()));
    }
    argv.push_back(nullptr);
    std::fflush(stdout);
    const clock_type::time_point start = clock_type::now();
    const pid_t child = ::fork();
    if (child == 0) {
        const int null = ::open("/dev/null", O_WRONLY);
        ::dup2(null, STDOUT_FILENO);
        ::execvp(argv[0], argv.data());
        ::_exit(127);
    }
    int status = 0;
    struct rusage usage {};
    ::wait4(child, &status, 0, &usage);
    const double seconds = std::chrono::duration<double>(clock_type::now() - start).count();
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        std::fprintf(stderr, "signature_bench: sha256sum failed on %s\n", package.label.c_str());
        std::exit(1);
    }
    max_rss_kib = usage.ru_maxrss;
    return seconds;
}

long status_kib(const char* field)
{
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.compare(0, std::string(field).size(), field) == 0) {
            return std::atol(line.c_str() + std::string(field).size());
        }
    }
    return -1;
}

// The check's own growth of the peak resident set, measured in a child.
long check_memory_kib(const package_case& package, const std::string& trust)
{
    int pipe_ends[2];
    if (::pipe(pipe_ends) != 0) {
        return -1;
    }
    std::fflush(stdout);
    const pid_t child = ::fork();
    if (child == 0) {
        ::close(pipe_ends[0]);
        std::ofstream("/proc/self/clear_refs") << "5";
        const long before = status_kib("VmRSS:");
        norvane::qav_mnt_fwupdate_lib_verify_signature signature;
        signature.load_trusted_keys(trust);
        const int result = signature.check(package.folder + "/none.zip", package.folder);
        const long growth = result == 0 ? status_kib("VmHWM:") - before : -1;
        const ssize_t ignored = ::write(pipe_ends[1], &growth, sizeof growth);
        (void)ignored;
        ::_exit(0);
    }
    ::close(pipe_ends[1]);
    long growth = -1;
    if (::read(pipe_ends[0], &growth, sizeof growth) != static_cast<ssize_t>(sizeof growth)) {
        growth = -1;
    }
    ::close(pipe_ends[0]);
    ::waitpid(child, nullptr, 0);
    return growth;
}

std::string load_average()
{
    std::ifstream in("/proc/loadavg");
    std::string one, five, fifteen;
    in >> one >> five >> fifteen;
    return one + " " + five + " " + fifteen;
}

struct spread {
    double min, median, max;
};

spread spread_of(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return {values.front(), values[values.size() / 2], values.back()};
}

}  // namespace

int main(int argc, char** argv)
{
    const int rounds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 9;
    char work_template[] = "/tmp/signature-bench-XXXXXX";
    if (::mkdtemp(work_template) == nullptr) {
        return 2;
    }
    const std::string work = work_template;
    std::string error;
    std::string fingerprint;
    norvane_tools::package_signer signer;
    fs::create_directories(work + "/trust");
    if (norvane_tools::make_key_pair(work + "/bench", fingerprint, error) != 0 ||
        signer.load_private_key(work + "/bench.key.pem", error) != 0) {
        std::fprintf(stderr, "signature_bench: %s\n", error.c_str());
        return 2;
    }
    fs::copy_file(work + "/bench.pub.pem", work + "/trust/bench.pem");
    const std::string trust = work + "/trust";
    // The check logs which key signed; that line is of no interest here.
    std::freopen("/dev/null", "w", stderr);

    std::vector<package_case> timed = {make_case(work, "64MiB", 4, 16 * mib, signer),
                                       make_case(work, "1000files", 1000, 1024, signer)};
    std::printf("signature_bench: %d rounds; load average before: %s\n", rounds, load_average().c_str());
    std::printf("%-11s %-27s %-27s %s\n", "package", "check ms min/med/max", "sha256sum ms min/med/max",
                "check/sha256sum min/med/max");
    for (const package_case& package : timed) {
        long floor_rss = 0;
        time_check(package, trust);  // warm the page cache
        time_floor(package, floor_rss);
        std::vector<double> check_times;
        std::vector<double> floor_times;
        std::vector<double> ratios;
        for (int round = 0; round < rounds; ++round) {
            double check = 0;
            double floor = 0;
            if (round % 2 == 0) {
                check = time_check(package, trust);
                floor = time_floor(package, floor_rss);
            } else {
                floor = time_floor(package, floor_rss);
                check = time_check(package, trust);
            }
            check_times.push_back(check * 1000);
            floor_times.push_back(floor * 1000);
            ratios.push_back(check / floor);
        }
        const spread check = spread_of(check_times);
        const spread floor = spread_of(floor_times);
        const spread ratio = spread_of(ratios);
        std::printf("%-11s %7.2f %7.2f %7.2f     %7.2f %7.2f %7.2f     %5.2f %5.2f %5.2f\n",
                    package.label.c_str(), check.min, check.median, check.max, floor.min, floor.median,
                    floor.max, ratio.min, ratio.median, ratio.max);
        std::printf("%-11s sha256sum peak resident set %ld KiB\n", "", floor_rss);
    }

    std::printf("check's peak memory growth:");
    std::vector<package_case> sized = {make_case(work, "4MiB", 1, 4 * mib, signer), timed[0],
                                       make_case(work, "256MiB", 1, 256 * mib, signer), timed[1]};
    for (const package_case& package : sized) {
        std::printf(" %s %ld KiB;", package.label.c_str(), check_memory_kib(package, trust));
    }
    std::printf("\nload average after: %s\n", load_average().c_str());
    std::error_code ignored;
    fs::remove_all(work, ignored);
    return 0;
}
