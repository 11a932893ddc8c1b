// Delivery benchmark: a generated package of each size delivered in 64 KiB
// transfers to the real program, beside the floor on the same machine in the
// same run: a minimal receiver that takes the same transfers from the same
// kind of socket and writes them to a file with nothing else.
//
//   delivery_bench [SIZE_MIB...]     (default: 64 256)
//
// Reports, per size (median of three runs of each): MB/s from the first
// transfer to the upload reply, MB/s of the whole delivery to the program's
// exit, the program's peak resident memory (highest of the runs), and the
// floor's MB/s with the ratio.
#include "mobile_packet.h"
#include "mobile_session.h"
#include "package_builder.h"
#include "phone_socket.h"
#include "program_runner.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <thread>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

using namespace norvane_tools;
namespace fs = std::filesystem;
using clock_type = std::chrono::steady_clock;

constexpr size_t transfer_size = 65536;
constexpr size_t mib = 1024 * 1024;
constexpr int repetitions = 3;

double seconds_since(clock_type::time_point start)
{
    return std::chrono::duration<double>(clock_type::now() - start).count();
}

double megabytes_per_second(size_t bytes, double seconds)
{
    return seconds > 0 ? static_cast<double>(bytes) / 1e6 / seconds : 0.0;
}

// Four files of incompressible bytes totalling size_mib, packed by fwpkg.
std::string make_package(const std::string& work, size_t size_mib)
{
    const std::string folder = work + "/firmware";
    fs::create_directories(folder);
    std::mt19937_64 generator(size_mib);
    const size_t part = size_mib * mib / 4;
    std::vector<uint64_t> block(part / sizeof(uint64_t));
    for (int index = 0; index < 4; ++index) {
        for (uint64_t& word : block) {
            word = generator();
        }
        std::ofstream(folder + "/image_" + std::to_string(index) + ".bin", std::ios::binary)
            .write(reinterpret_cast<const char*>(block.data()),
                   static_cast<std::streamsize>(block.size() * sizeof(uint64_t)));
    }
    build_request request;
    request.folder = folder;
    request.output = work + "/package.zip";
    request.version = "bench-" + std::to_string(size_mib);
    request.type = "DEVICE_FIRMWARE";
    std::string error;
    std::string summary;
    if (build_package(request, error, summary) != 0) {
        std::fprintf(stderr, "delivery_bench: %s\n", error.c_str());
        std::exit(2);
    }
    fs::remove_all(folder);
    std::ifstream in(request.output, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// The floor's receiver, in a child process: connect, write every transfer
// to a file until the packet is complete, answer with one header.
void run_minimal_receiver(const std::string& socket_path, const std::string& file_path)
{
    int fd = ::socket(AF_UNIX, SOCK_SEQPACKET, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::snprintf(address.sun_path, sizeof address.sun_path, "%s", socket_path.c_str());
    if (fd < 0 || ::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        ::_exit(1);
    }
    FILE* out = std::fopen(file_path.c_str(), "wb");
    std::vector<unsigned char> buffer(transfer_size + 16);
    size_t expected = 0;
    size_t received = 0;
    for (;;) {
        ssize_t got = ::recv(fd, buffer.data(), transfer_size, 0);
        if (got <= 0) {
            ::_exit(1);
        }
        size_t skip = 0;
        if (received == 0) {
            header request = {};
            decode_header(std::string(reinterpret_cast<char*>(buffer.data()), 16), request);
            expected = request.data_size + 16;
            skip = 16;
        }
        std::fwrite(buffer.data() + skip, 1, static_cast<size_t>(got) - skip, out);
        received += static_cast<size_t>(got);
        if (received >= expected) {
            break;
        }
    }
    std::fclose(out);
    const std::string reply(16, '\0');
    ::send(fd, reply.data(), reply.size(), 0);
    ::close(fd);
    ::_exit(0);
}

// Sends the package in 64 KiB transfers and waits for the reply to the
// upload. Returns the seconds from the first transfer to the reply.
double timed_upload(mobile_session& session, const std::string& package, header& reply)
{
    upload_options options;
    options.transfer_size = transfer_size;
    const auto start = clock_type::now();
    session.send_upload(package, options, nullptr);
    std::string wire;
    session.read_reply(reply, wire);
    return seconds_since(start);
}

struct floor_result {
    double upload_s = 0;
};

floor_result measure_floor(const std::string& work, const std::string& package)
{
    floor_result result;
    phone_socket phone;
    const std::string socket_path = work + "/floor.sock";
    phone.listen_at(socket_path);
    pid_t child = ::fork();
    if (child == 0) {
        run_minimal_receiver(socket_path, work + "/floor-received.bin");
    }
    phone.accept_program(10000);
    mobile_session session(phone, 600000);
    header reply = {};
    result.upload_s = timed_upload(session, package, reply);
    int status = 0;
    ::waitpid(child, &status, 0);
    fs::remove(work + "/floor-received.bin");
    return result;
}

struct program_result {
    double upload_s = 0;
    double delivery_s = 0;
    long peak_rss_kib = 0;
    bool succeeded = false;
};

// Samples the program's peak resident memory every few milliseconds for as
// long as it lives; the high-water mark only grows, so the last reading
// before it ends is its peak.
class memory_sampler {
public:
    explicit memory_sampler(const program_runner& program)
        : thread_([this, &program] {
              while (!stop_.load()) {
                  peak_kib_.store(std::max(peak_kib_.load(), program.resident_high_water_kib()));
                  std::this_thread::sleep_for(std::chrono::milliseconds(2));
              }
          })
    {
    }
    ~memory_sampler() { stop(); }
    long stop()
    {
        stop_.store(true);
        if (thread_.joinable()) {
            thread_.join();
        }
        return peak_kib_.load();
    }

private:
    std::atomic<bool> stop_{false};
    std::atomic<long> peak_kib_{0};
    std::thread thread_;
};

program_result measure_program(const std::string& work, const std::string& package)
{
    program_result result;
    program_runner::empty_work_dir();
    phone_socket phone;
    const std::string socket_path = work + "/aoa.sock";
    phone.listen_at(socket_path);
    program_runner program;
    program_environment environment{socket_path, work + "/state", "", FWUPDATE_HOST_BIN_DIR,
                                    work + "/program.log", {}, {}};
    program.start(QAV_MNT_FWUPDATE_BINARY, environment);
    mobile_session session(phone, 600000);
    if (phone.accept_program(10000) != 0 || session.handshake() != 0) {
        return result;
    }
    // Sampling starts once the program runs its own image: between fork and
    // exec the child's memory is the benchmark's, package included.
    memory_sampler sampler(program);
    const auto start = clock_type::now();
    header reply = {};
    result.upload_s = timed_upload(session, package, reply);

    // Poll until finished, then confirm, as a phone does.
    header status_reply = {};
    std::string wire;
    do {
        session.send_status(1);
        session.read_reply(status_reply, wire);
    } while (status_reply.option_code != 2);
    session.send_status(2);
    session.read_reply(status_reply, wire);
    // The sampler reads the program's memory until it has ended.
    while (program.resident_high_water_kib() != 0) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    result.peak_rss_kib = sampler.stop();
    int exit_status = -1;
    program.wait_exit(600000, exit_status);
    result.delivery_s = seconds_since(start);
    result.succeeded = reply.result_code == 0 && status_reply.result_code == 0 && exit_status == 0;
    program_runner::empty_work_dir();
    return result;
}

}  // namespace

int main(int argc, char** argv)
{
    std::vector<size_t> sizes;
    for (int index = 1; index < argc; ++index) {
        sizes.push_back(std::strtoul(argv[index], nullptr, 10));
    }
    if (sizes.empty()) {
        sizes = {64, 256};
    }
    ::setenv("FWUPDATE_TRACE_FILE", "/dev/null", 1);
    // Packages are checksummed as the device does, through "busybox sum":
    // on the host, the front in the host platform's bin.
    const char* path = std::getenv("PATH");
    const std::string with_front =
        std::string(FWUPDATE_HOST_BIN_DIR) + ":" + (path != nullptr ? path : "/usr/bin:/bin");
    ::setenv("PATH", with_front.c_str(), 1);
    std::printf("%-9s %14s %14s %14s %10s %14s %12s\n", "package", "upload MB/s", "floor MB/s",
                "upload/floor", "total MB/s", "peak RSS MiB", "delivered");
    std::vector<long> peaks;
    bool all_met = true;
    for (size_t size_mib : sizes) {
        char work_template[] = "/tmp/delivery-bench-XXXXXX";
        const std::string work = ::mkdtemp(work_template);
        const std::string package = make_package(work, size_mib);
        // Floor and program alternate, and the median run of each counts:
        // writing hundreds of MiB makes single runs depend on the disk's
        // write-back.
        std::vector<floor_result> floors;
        std::vector<program_result> programs;
        for (int run = 0; run < repetitions; ++run) {
            floors.push_back(measure_floor(work, package));
            programs.push_back(measure_program(work, package));
        }
        std::sort(floors.begin(), floors.end(),
                  [](const floor_result& a, const floor_result& b) { return a.upload_s < b.upload_s; });
        std::sort(programs.begin(), programs.end(),
                  [](const program_result& a, const program_result& b) { return a.upload_s < b.upload_s; });
        const floor_result floor = floors[repetitions / 2];
        program_result program = programs[repetitions / 2];
        for (const program_result& each : programs) {
            program.peak_rss_kib = std::max(program.peak_rss_kib, each.peak_rss_kib);
            program.succeeded = program.succeeded && each.succeeded;
        }
        const double upload_rate = megabytes_per_second(package.size(), program.upload_s);
        const double floor_rate = megabytes_per_second(package.size(), floor.upload_s);
        const double ratio = floor_rate > 0 ? upload_rate / floor_rate : 0.0;
        std::printf("%4zu MiB  %14.1f %14.1f %13.0f%% %10.1f %14.1f %12s\n", size_mib, upload_rate,
                    floor_rate, ratio * 100, megabytes_per_second(package.size(), program.delivery_s),
                    static_cast<double>(program.peak_rss_kib) / 1024.0, program.succeeded ? "yes" : "NO");
        std::fflush(stdout);
        peaks.push_back(program.peak_rss_kib);
        const double limit_kib = (100.0 * transfer_size + 16.0 * mib) / 1024.0;
        all_met = all_met && program.succeeded && ratio >= 0.8 &&
                  static_cast<double>(program.peak_rss_kib) < limit_kib;
        fs::remove_all(work);
    }
    if (peaks.size() >= 2) {
        const long spread = peaks.back() - peaks.front();
        std::printf("peak memory growth from %zu to %zu MiB: %.2f MiB (target: within 2 MiB)\n",
                    sizes.front(), sizes.back(), static_cast<double>(spread) / 1024.0);
        all_met = all_met && spread <= 2 * 1024 && spread >= -2 * 1024;
    }
    std::printf("targets (upload >= 80%% of the floor, peak < 100 transfers + 16 MiB, flat memory): %s\n",
                all_met ? "met" : "NOT met");
    return all_met ? 0 : 1;
}
