// Delivery benchmark: the upload of a package to the real program, beside two
// floors written for the same work and run in the same rounds:
//   floor  one thread receives each transfer and write()s it to the file
//   ring   a receiving and a writing thread share a ring of 100 transfers
// Every contestant is a process of its own that connects to the phone's
// socket, stores the package at the program's package path and answers the
// upload; the benchmark is the phone. Per package size and transfer size it
// runs rounds of the three in an order rotated each round and prints one
// markdown table: MB/s (medians), the program's speed as a share of each
// floor's in the same round (min / median / max), CPU time per byte of each,
// the program's minor page faults during the upload and its peak memory.
//
//   delivery_bench [--rounds N] [--packages MIB,...] [--transfers KIB,...]
//
// Defaults: 7 rounds, packages of 64 and 256 MiB, transfers of 16 and 64 KiB.
// Each package is first delivered once by every contestant, untimed.
// Uses the program's fixed folder /tmp/fwupdate/update: run it under
// "flock /tmp/fwupdate-tests.lock".
#include "floor_link.h"
#include "mobile_packet.h"
#include "mobile_session.h"
#include "package_builder.h"
#include "phone_socket.h"
#include "process_probe.h"
#include "program_runner.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using namespace norvane_tools;
using norvane_bench::process_probe;
using norvane_bench::process_sample;
namespace fs = std::filesystem;
using clock_type = std::chrono::steady_clock;

constexpr size_t MIB = 1024 * 1024;
constexpr int TIMEOUT_MS = 600000;
const char* const PACKAGE_PATH = "/tmp/fwupdate/update/qav_mnt_fwpackage.zip";

enum contestant { PROGRAM, FLOOR_SINGLE, FLOOR_RING, CONTESTANT_COUNT };
const char* const CONTESTANT_NAMES[CONTESTANT_COUNT] = {"program", "floor", "ring"};

struct options {
    int rounds = 7;
    std::vector<size_t> package_mib = {64, 256};
    std::vector<size_t> transfer_kib = {16, 64};
};

// One contestant's upload in one round.
struct upload_run {
    bool ok = false;
    double seconds = 0;
    long long cpu_ns = 0;
    long long minor_faults = 0;
    long peak_upload_kib = 0;  // program only: VmHWM when the upload was answered
    long peak_run_kib = 0;     // program only: VmHWM after the verification
};

std::vector<size_t> parse_list(const char* text)
{
    std::vector<size_t> values;
    std::stringstream stream(text);
    std::string item;
    while (std::getline(stream, item, ',')) {
        values.push_back(std::strtoul(item.c_str(), nullptr, 10));
    }
    return values;
}

int parse_options(int argc, char** argv, options& chosen)
{
    for (int index = 1; index + 1 < argc; index += 2) {
        const std::string name = argv[index];
        if (name == "--rounds") {
            chosen.rounds = std::atoi(argv[index + 1]);
        } else if (name == "--packages") {
            chosen.package_mib = parse_list(argv[index + 1]);
        } else if (name == "--transfers") {
            chosen.transfer_kib = parse_list(argv[index + 1]);
        } else {
            return 1;
        }
    }
    const bool transfers_fit = std::all_of(chosen.transfer_kib.begin(), chosen.transfer_kib.end(),
                                           [](size_t kib) { return kib >= 1 && kib <= 64; });
    return (argc % 2 == 1 && chosen.rounds >= 1 && !chosen.package_mib.empty() &&
            !chosen.transfer_kib.empty() && transfers_fit)
               ? 0
               : 1;
}

std::string read_text(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

std::string load_average()
{
    std::string text = read_text("/proc/loadavg");
    std::istringstream fields(text);
    std::string one, five, fifteen;
    fields >> one >> five >> fifteen;
    return one + " " + five + " " + fifteen;
}

std::string processor_name()
{
    std::istringstream info(read_text("/proc/cpuinfo"));
    std::string line;
    while (std::getline(info, line)) {
        if (line.rfind("model name", 0) == 0) {
            return line.substr(line.find(':') + 2);
        }
    }
    return "unknown processor";
}

// Four files of incompressible bytes totalling size_mib, packed by fwpkg.
std::string make_package(const std::string& work, size_t size_mib)
{
    const std::string folder = work + "/firmware";
    fs::create_directories(folder);
    std::mt19937_64 generator(size_mib);
    const size_t part = size_mib * MIB / 4;
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
    return read_text(request.output);
}

// The phone's upload: the request header alone, then the package in
// transfers of transfer_size bytes, straight from the package's memory.
int send_upload(phone_socket& phone, const std::string& package, size_t transfer_size)
{
    const header request = upload_request(1, 0, 1, static_cast<uint32_t>(package.size()));
    if (phone.send_transfer(encode_header(request)) != 0) {
        return 1;
    }
    const unsigned char* bytes = reinterpret_cast<const unsigned char*>(package.data());
    for (size_t sent = 0; sent < package.size(); sent += transfer_size) {
        if (phone.send_transfer(bytes + sent, std::min(transfer_size, package.size() - sent)) != 0) {
            return 1;
        }
    }
    return 0;
}

// Times the upload from its first transfer to the reply, and takes the
// contestant's CPU time and faults over the same span.
int timed_upload(phone_socket& phone, const process_probe& probe, const std::string& package,
                 size_t transfer_size, upload_run& run, header& reply)
{
    process_sample before;
    if (probe.sample(before) != 0) {
        return 1;
    }
    const auto start = clock_type::now();
    if (send_upload(phone, package, transfer_size) != 0) {
        return 1;
    }
    mobile_session session(phone, TIMEOUT_MS);
    std::string wire;
    if (session.read_reply(reply, wire) != 0) {
        return 1;
    }
    run.seconds = std::chrono::duration<double>(clock_type::now() - start).count();
    process_sample after;
    if (probe.sample(after) != 0) {
        return 1;
    }
    run.cpu_ns = after.cpu_ns - before.cpu_ns;
    run.minor_faults = after.minor_faults - before.minor_faults;
    return 0;
}

// A floor: started with the socket and package paths, reaped after its reply.
upload_run run_floor(const std::string& binary, const std::string& work, const std::string& package,
                     size_t transfer_size)
{
    upload_run run;
    fs::create_directories(fs::path(PACKAGE_PATH).parent_path());
    phone_socket phone;
    const std::string socket_path = work + "/floor.sock";
    if (phone.listen_at(socket_path) != 0) {
        return run;
    }
    pid_t child = ::fork();
    if (child == 0) {
        ::execl(binary.c_str(), binary.c_str(), socket_path.c_str(), PACKAGE_PATH,
                static_cast<char*>(nullptr));
        ::_exit(127);
    }
    header reply = {};
    if (child > 0 && phone.accept_program(10000) == 0) {
        process_probe probe(child);
        run.ok = timed_upload(phone, probe, package, transfer_size, run, reply) == 0 &&
                 reply.result_code == 0;
    }
    int status = 0;
    if (child > 0) {
        ::waitpid(child, &status, 0);
    }
    std::error_code ignored;
    run.ok = run.ok && WIFEXITED(status) && WEXITSTATUS(status) == 0 &&
             fs::file_size(PACKAGE_PATH, ignored) == package.size();
    fs::remove(PACKAGE_PATH, ignored);
    return run;
}

// After the upload: polls until the program says it has finished, takes its
// peak memory, confirms, and waits for it to end.
int finish_delivery(mobile_session& session, program_runner& program, upload_run& run)
{
    header reply = {};
    std::string wire;
    do {
        if (session.send_status(1) != 0 || session.read_reply(reply, wire) != 0) {
            return 1;
        }
        run.peak_run_kib = std::max(run.peak_run_kib, program.resident_high_water_kib());
    } while (reply.option_code != 2);
    if (reply.result_code != 0 || session.send_status(2) != 0 ||
        session.read_reply(reply, wire) != 0 || reply.result_code != 0) {
        return 1;
    }
    int exit_status = -1;
    return (program.wait_exit(TIMEOUT_MS, exit_status) == 0 && exit_status == 0) ? 0 : 1;
}

upload_run run_program(const std::string& work, const std::string& package, size_t transfer_size)
{
    upload_run run;
    program_runner::empty_work_dir();
    phone_socket phone;
    const std::string socket_path = work + "/aoa.sock";
    if (phone.listen_at(socket_path) != 0) {
        return run;
    }
    program_runner program;
    program_environment environment{socket_path, work + "/state", "", FWUPDATE_HOST_BIN_DIR,
                                    work + "/program.log", {}, {}};
    mobile_session session(phone, TIMEOUT_MS);
    if (program.start(QAV_MNT_FWUPDATE_BINARY, environment) != 0 ||
        phone.accept_program(10000) != 0 || session.handshake() != 0) {
        return run;
    }
    process_probe probe(program.pid());
    header reply = {};
    if (timed_upload(phone, probe, package, transfer_size, run, reply) != 0 ||
        reply.result_code != 0) {
        return run;
    }
    run.peak_upload_kib = program.resident_high_water_kib();
    run.peak_run_kib = run.peak_upload_kib;
    run.ok = finish_delivery(session, program, run) == 0;
    program_runner::empty_work_dir();
    return run;
}

upload_run run_contestant(contestant who, const std::string& work, const std::string& package,
                          size_t transfer_size)
{
    // Each contestant starts with no dirty pages of the one before waiting
    // to be written back.
    ::sync();
    switch (who) {
    case FLOOR_SINGLE:
        return run_floor(DELIVERY_FLOOR_SINGLE, work, package, transfer_size);
    case FLOOR_RING:
        return run_floor(DELIVERY_FLOOR_RING, work, package, transfer_size);
    default:
        return run_program(work, package, transfer_size);
    }
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const size_t middle = values.size() / 2;
    return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

// min / median / max of values as percentages.
std::string spread_percent(const std::vector<double>& values)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.0f / %.0f / %.0f %%",
                  100 * *std::min_element(values.begin(), values.end()), 100 * median(values),
                  100 * *std::max_element(values.begin(), values.end()));
    return text;
}

// The rounds of one package and transfer size, and what they add up to.
struct case_result {
    size_t package_mib = 0;
    size_t transfer_kib = 0;
    size_t bytes = 0;  // of the package
    std::vector<upload_run> runs[CONTESTANT_COUNT];
    bool all_ok = true;

    std::vector<double> speed_ratios(contestant floor) const
    {
        std::vector<double> ratios;
        for (size_t round = 0; round < runs[PROGRAM].size(); ++round) {
            ratios.push_back(runs[floor][round].seconds / runs[PROGRAM][round].seconds);
        }
        return ratios;
    }
    std::vector<double> cpu_ratios(contestant floor) const
    {
        std::vector<double> ratios;
        for (size_t round = 0; round < runs[PROGRAM].size(); ++round) {
            ratios.push_back(static_cast<double>(runs[PROGRAM][round].cpu_ns) /
                             static_cast<double>(runs[floor][round].cpu_ns));
        }
        return ratios;
    }
    double median_of(contestant who, double (*value)(const upload_run&, size_t)) const
    {
        std::vector<double> values;
        for (const upload_run& run : runs[who]) {
            values.push_back(value(run, bytes));
        }
        return median(values);
    }
    long peak_upload_kib() const
    {
        long peak = 0;
        for (const upload_run& run : runs[PROGRAM]) {
            peak = std::max(peak, run.peak_upload_kib);
        }
        return peak;
    }
    long peak_run_kib() const
    {
        long peak = 0;
        for (const upload_run& run : runs[PROGRAM]) {
            peak = std::max(peak, run.peak_run_kib);
        }
        return peak;
    }
};

double speed_of(const upload_run& run, size_t bytes)
{
    return static_cast<double>(bytes) / 1e6 / run.seconds;
}

double cpu_per_byte_of(const upload_run& run, size_t bytes)
{
    return static_cast<double>(run.cpu_ns) / static_cast<double>(bytes);
}

double faults_of(const upload_run& run, size_t /*bytes*/)
{
    return static_cast<double>(run.minor_faults);
}

// One untimed delivery by each contestant: the first runs after the package
// was built meet a machine whose memory and disk are still busy with it.
void warm_up(const std::string& work, const std::string& package, size_t transfer_kib)
{
    for (int who = 0; who < CONTESTANT_COUNT; ++who) {
        const upload_run run = run_contestant(static_cast<contestant>(who), work, package,
                                              transfer_kib * 1024);
        std::fprintf(stderr, "delivery_bench: warm-up %-7s %s\n", CONTESTANT_NAMES[who],
                     run.ok ? "ok" : "FAILED");
    }
}

case_result run_case(const std::string& work, const std::string& package, size_t package_mib,
                     size_t transfer_kib, int rounds)
{
    case_result result;
    result.package_mib = package_mib;
    result.transfer_kib = transfer_kib;
    result.bytes = package.size();
    for (int round = 0; round < rounds; ++round) {
        for (int turn = 0; turn < CONTESTANT_COUNT; ++turn) {
            const contestant who = static_cast<contestant>((round + turn) % CONTESTANT_COUNT);
            upload_run run = run_contestant(who, work, package, transfer_kib * 1024);
            std::fprintf(stderr, "delivery_bench: %zu MiB / %zu KiB round %d %-7s %s %8.1f MB/s\n",
                         package_mib, transfer_kib, round + 1, CONTESTANT_NAMES[who],
                         run.ok ? "ok    " : "FAILED", speed_of(run, package.size()));
            result.all_ok = result.all_ok && run.ok;
            result.runs[who].push_back(run);
        }
    }
    return result;
}

void print_case(const case_result& result)
{
    const double kib_per_mib = 1024.0;
    std::printf("| %zu MiB | %zu KiB | %.0f | %.0f | %.0f | %s | %s | %.3f / %.3f / %.3f | %.2fx "
                "| %.0f | %.1f / %.1f |%s\n",
                result.package_mib, result.transfer_kib,
                result.median_of(PROGRAM, speed_of),
                result.median_of(FLOOR_SINGLE, speed_of),
                result.median_of(FLOOR_RING, speed_of),
                spread_percent(result.speed_ratios(FLOOR_SINGLE)).c_str(),
                spread_percent(result.speed_ratios(FLOOR_RING)).c_str(),
                result.median_of(PROGRAM, cpu_per_byte_of),
                result.median_of(FLOOR_SINGLE, cpu_per_byte_of),
                result.median_of(FLOOR_RING, cpu_per_byte_of),
                median(result.cpu_ratios(FLOOR_SINGLE)), result.median_of(PROGRAM, faults_of),
                static_cast<double>(result.peak_upload_kib()) / kib_per_mib,
                static_cast<double>(result.peak_run_kib()) / kib_per_mib,
                result.all_ok ? "" : " (a run FAILED)");
}

// The goals: for every case the median speed at least 95 % of the floor's
// and the CPU per byte at most 1.5 times the floor's; the program's peak
// memory the same (within 2 MiB) for every package size.
bool goals_met(const std::vector<case_result>& results)
{
    bool met = true;
    std::map<size_t, std::vector<long>> peaks_by_transfer;
    for (const case_result& result : results) {
        met = met && result.all_ok && median(result.speed_ratios(FLOOR_SINGLE)) >= 0.95 &&
              median(result.cpu_ratios(FLOOR_SINGLE)) <= 1.5;
        peaks_by_transfer[result.transfer_kib].push_back(result.peak_upload_kib());
    }
    for (const auto& entry : peaks_by_transfer) {
        const auto range = std::minmax_element(entry.second.begin(), entry.second.end());
        met = met && *range.second - *range.first <= 2 * 1024;
    }
    return met;
}

}  // namespace

int main(int argc, char** argv)
{
    options chosen;
    if (parse_options(argc, argv, chosen) != 0) {
        std::fprintf(stderr,
                     "usage: delivery_bench [--rounds N] [--packages MIB,...] "
                     "[--transfers KIB,...]   (transfers of 1 to 64 KiB)\n");
        return 2;
    }
    ::setenv("FWUPDATE_TRACE_FILE", "/dev/null", 1);
    // Packages are checksummed as the device does, through "busybox sum":
    // on the host, the front in the host platform's bin.
    const char* path = std::getenv("PATH");
    const std::string with_front =
        std::string(FWUPDATE_HOST_BIN_DIR) + ":" + (path != nullptr ? path : "/usr/bin:/bin");
    ::setenv("PATH", with_front.c_str(), 1);

    char work_template[] = "/tmp/delivery-bench-XXXXXX";
    const std::string work = ::mkdtemp(work_template);
    const std::string load_before = load_average();
    std::vector<case_result> results;
    for (size_t package_mib : chosen.package_mib) {
        const std::string package = make_package(work, package_mib);
        warm_up(work, package, chosen.transfer_kib.front());
        for (size_t transfer_kib : chosen.transfer_kib) {
            results.push_back(run_case(work, package, package_mib, transfer_kib, chosen.rounds));
        }
    }
    const std::string load_after = load_average();

    std::printf("Delivery benchmark: %d rounds per case, order rotated each round; %u CPUs (%s); "
                "load average %s at the start, %s at the end.\n\n",
                chosen.rounds, std::thread::hardware_concurrency(), processor_name().c_str(),
                load_before.c_str(), load_after.c_str());
    std::printf("| package | transfer | program MB/s | floor MB/s | ring MB/s "
                "| program/floor min / median / max | program/ring min / median / max "
                "| CPU ns/byte program / floor / ring | CPU program/floor "
                "| program minor faults | program peak MiB upload / run |\n");
    std::printf("|---|---|---:|---:|---:|---:|---:|---:|---:|---:|---:|\n");
    for (const case_result& result : results) {
        print_case(result);
    }
    const bool met = goals_met(results);
    std::printf("\nGoals (median speed >= 95 %% of the floor and CPU per byte <= 1.5x the floor's "
                "in every case, peak memory within 2 MiB across package sizes): %s\n",
                met ? "met" : "NOT met");
    fs::remove_all(work);
    return met ? 0 : 1;
}
