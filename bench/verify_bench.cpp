// verify() of an extracted package folder of 100 and 1,000 small files,
// beside one coreutils "sum" run over all the same files (the checksum work
// alone, without one process per file) and a shell loop that runs
// sh -c "sum FILE" twice per file (the same processes that verify() starts).
//
// verify() writes its dumps to standard error; the benchmark sends them to
// /dev/null while it measures.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "qav_mnt_fwupdate_lib_verify_process.h"

namespace {

void write_bytes(const std::string& path, const std::string& bytes)
{
    FILE* file = std::fopen(path.c_str(), "wb");
    if (file != nullptr) {
        std::fwrite(bytes.data(), 1, bytes.size(), file);
        std::fclose(file);
    }
}

// The checksums of a folder's file_*.bin in name order, as the declared
// checksum texts: the first field of one run of coreutils "sum", the BSD
// algorithm that "busybox sum" runs on the host.
std::vector<std::string> folder_checksums(const std::string& folder)
{
    std::vector<std::string> sums;
    FILE* pipe = ::popen(("cd " + folder + " && sum file_*.bin").c_str(), "r");
    if (pipe == nullptr) {
        return sums;
    }
    char line[256];
    while (std::fgets(line, sizeof(line), pipe) != nullptr) {
        sums.emplace_back(line, 5);
    }
    ::pclose(pipe);
    return sums;
}

// An extracted package: files file_NNNN.bin and the FW_package.xml that
// declares them all, in a fresh folder under /tmp removed afterwards.
class extracted_package {
public:
    explicit extracted_package(int files)
    {
        char templ[] = "/tmp/fwbench-XXXXXX";
        folder_ = ::mkdtemp(templ) != nullptr ? templ : "";
        std::vector<std::string> names;
        std::vector<size_t> sizes;
        for (int i = 0; i < files; ++i) {
            char name[32];
            std::snprintf(name, sizeof(name), "file_%04d.bin", i);
            const std::string bytes = "small file " + std::to_string(i) + "\n";
            write_bytes(folder_ + "/" + name, bytes);
            names.push_back(name);
            sizes.push_back(bytes.size());
        }
        const std::vector<std::string> sums = folder_checksums(folder_);
        std::string xml = "<firmware_package><package_version>1.0</package_version>"
                          "<download_information><type>MAIN</type>";
        for (size_t i = 0; i < names.size(); ++i) {
            xml += "<data_information><filename>" + names[i] + "</filename><checksum>" +
                   (i < sums.size() ? sums[i] : std::string("?")) + "</checksum><size>" +
                   std::to_string(sizes[i]) + "</size></data_information>";
        }
        xml += "</download_information><package_type>DEVICE_FIRMWARE</package_type>"
               "</firmware_package>";
        write_bytes(folder_ + "/FW_package.xml", xml);
    }
    ~extracted_package()
    {
        if (!folder_.empty()) {
            std::system(("rm -rf " + folder_).c_str());
        }
    }
    const std::string& folder() const { return folder_; }

private:
    std::string folder_;
};

// Sends standard error to /dev/null for the object's life.
class quiet_stderr {
public:
    quiet_stderr() : saved_(::dup(2))
    {
        int null_fd = ::open("/dev/null", O_WRONLY);
        ::dup2(null_fd, 2);
        ::close(null_fd);
    }
    ~quiet_stderr()
    {
        ::dup2(saved_, 2);
        ::close(saved_);
    }

private:
    int saved_;
};

void bm_verify(benchmark::State& state)
{
    extracted_package package(static_cast<int>(state.range(0)));
    const std::string zip_path = package.folder() + "/qav_mnt_fwpackage.zip";
    quiet_stderr quiet;
    for (auto _ : state) {
        std::string version;
        norvane::UTL_LIB_XML_VEXA_PACKAGE_TYPE_ type = norvane::UTL_LIB_XML_VEXA_PACKAGE_TYPE_NONE;
        norvane::qav_mnt_fwupdate_lib_verify_process process;
        if (process.verify(zip_path, package.folder(), version, type) != 0) {
            state.SkipWithError("verify failed");
            break;
        }
    }
    state.SetComplexityN(state.range(0));
}

void bm_one_sum_run(benchmark::State& state)
{
    extracted_package package(static_cast<int>(state.range(0)));
    const std::string command = "cd " + package.folder() + " && sum file_*.bin > /dev/null";
    for (auto _ : state) {
        if (std::system(command.c_str()) != 0) {
            state.SkipWithError("sum failed");
            break;
        }
    }
    state.SetComplexityN(state.range(0));
}

// What verify() has to do at the least with one process per checksum: a
// shell loop that sums every file twice (the list and the dump), each time
// through "sh -c", as the program's pipe to the checksum command does.
void bm_shell_loop_two_sums(benchmark::State& state)
{
    extracted_package package(static_cast<int>(state.range(0)));
    const std::string command = "cd " + package.folder() +
                                " && for f in file_*.bin; do sh -c \"sum $f\" > /dev/null && "
                                "sh -c \"sum $f\" > /dev/null || exit 1; done";
    for (auto _ : state) {
        if (std::system(command.c_str()) != 0) {
            state.SkipWithError("sum failed");
            break;
        }
    }
    state.SetComplexityN(state.range(0));
}

}  // namespace

BENCHMARK(bm_verify)->Arg(100)->Arg(1000)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(bm_one_sum_run)->Arg(100)->Arg(1000)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(bm_shell_loop_two_sums)->Arg(100)->Arg(1000)->Unit(benchmark::kMillisecond)->UseRealTime();

int main(int argc, char** argv)
{
    // verify() runs "busybox sum": the host front must come first in PATH.
    const char* path = std::getenv("PATH");
    std::string search = std::string(FWUPDATE_HOST_BIN_DIR) + ":" + (path != nullptr ? path : "");
    ::setenv("PATH", search.c_str(), 1);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
