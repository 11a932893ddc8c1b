// Parsing a generated FW_package.xml of 1,000 and 10,000 data_information
// entries through the firmware-upgrade message, beside a bare expat parse of
// the same text with empty handlers (the floor under any binding); and the
// parse with the reading of the file list for one group of up to 100,000
// entries, where the list's walk from its head makes the time quadratic.
//
// Run with FWUPDATE_TRACE_FILE=/dev/null: every parse traces its text.
#include <benchmark/benchmark.h>
#include <expat.h>
#include <malloc.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>

#include <string>

#include "utl_lib_xml_vexa_firmware_upgrade_service.h"

namespace {

// A package description with the given number of files, in download groups
// of group_size files (one group when group_size is 0).
std::string generated_package(int entries, int group_size = 0)
{
    std::string xml =
        "<firmware_package><is_encrypted_url>OFF</is_encrypted_url>"
        "<device_id>BENCH-DEVICE</device_id><package_version>9.8.7</package_version>"
        "<total_size>123456</total_size><description>generated</description>";
    const std::string group_start =
        "<download_information><type>MAIN</type><version>1.0</version>";
    const std::string group_end = "</download_information>";
    xml += group_start;
    for (int i = 0; i < entries; ++i) {
        if (group_size > 0 && i > 0 && i % group_size == 0) {
            xml += group_end + group_start;
        }
        const std::string n = std::to_string(i);
        xml += "<data_information><name>file " + n + "</name><filename>file_" + n +
               ".bin</filename><download_url>http://host/file_" + n +
               ".bin</download_url><checksum>" + std::to_string(10000 + i % 50000) +
               "</checksum><size>" + std::to_string(1000 + i) +
               "</size><version>1.0</version></data_information>";
    }
    return xml + group_end + "<package_type>DEVICE_FIRMWARE</package_type></firmware_package>";
}

// A line "<field> N kB" of /proc/self/status, in MiB.
double status_mib(const char* field)
{
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.rfind(field, 0) == 0) {
            return std::strtod(line.c_str() + std::strlen(field), nullptr) / 1024.0;
        }
    }
    return 0;
}

// Starts the process's peak resident memory (VmHWM) afresh at its current
// resident size.
void reset_peak_memory()
{
    std::ofstream("/proc/self/clear_refs") << "5";
}

// Bytes that malloc has handed out and not yet taken back.
double heap_in_use_mib()
{
    const struct mallinfo2 info = ::mallinfo2();
    return static_cast<double>(info.uordblks + info.hblkhd) / (1024.0 * 1024.0);
}

void bm_parse_xml(benchmark::State& state)
{
    const int entries = static_cast<int>(state.range(0));
    const std::string xml = generated_package(entries);
    for (auto _ : state) {
        // One message object per package, as the pipeline uses it: the
        // mediator's list nodes are freed when the object goes.
        norvane::utl_lib_xml_vexa_firmware_upgrade_service service;
        norvane::UTL_LIB_XML_VEXA_RESULT result = norvane::UTL_LIB_XML_VEXA_RESULT_NO_ERR;
        int ret = service.parse_xml(xml, result, norvane::UTL_LIB_XML_VEXA_PROTOCOL_BTSPP);
        int groups = 0;
        service.get_download_information_count(groups);
        if (ret != 0 || groups != 1) {
            state.SkipWithError("parse failed");
            break;
        }
        benchmark::DoNotOptimize(groups);
    }
    state.SetComplexityN(entries);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                            static_cast<int64_t>(xml.size()));
}

void XMLCALL empty_start(void*, const XML_Char*, const XML_Char**) {}
void XMLCALL empty_end(void*, const XML_Char*) {}
void XMLCALL empty_text(void*, const XML_Char*, int) {}

void bm_expat_floor(benchmark::State& state)
{
    const int entries = static_cast<int>(state.range(0));
    const std::string xml = generated_package(entries);
    for (auto _ : state) {
        XML_Parser parser = XML_ParserCreate(nullptr);
        XML_SetElementHandler(parser, empty_start, empty_end);
        XML_SetCharacterDataHandler(parser, empty_text);
        XML_Status status =
            XML_Parse(parser, xml.data(), static_cast<int>(xml.size()), XML_TRUE);
        XML_ParserFree(parser);
        if (status != XML_STATUS_OK) {
            state.SkipWithError("expat failed");
            break;
        }
    }
    state.SetComplexityN(entries);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                            static_cast<int64_t>(xml.size()));
}

// Reads every file record back by its index, group by group, as the
// verification builds its list of declared files. Returns the records read.
int read_file_list(norvane::utl_lib_xml_vexa_firmware_upgrade_service& service)
{
    int groups = 0;
    service.get_download_information_count(groups);
    int records = 0;
    for (int group_index = 1; group_index <= groups; ++group_index) {
        norvane::UTL_LIB_XML_VEXA_FIRMWARE_DOWNLOAD_INFORMATION_S group{};
        if (service.get_download_information(group_index, group) != 0) {
            return -1;
        }
        int files = 0;
        service.get_firmware_data_information_count(&group, files);
        for (int file_index = 1; file_index <= files; ++file_index) {
            norvane::UTL_LIB_XML_VEXA_FIRMWARE_DATA_INFORMATION_S file{};
            if (service.get_firmware_data_information(file_index, &group, file) != 0) {
                return -1;
            }
            ++records;
        }
    }
    return records;
}

// The parse and the reading of the file list, for one group of
// state.range(0) files or groups of state.range(1) files. The list library
// finds a record by walking its group from the head, so reading one group is
// quadratic in its size. The counters: MiB_held, what the parsed records hold
// on the heap once parsed; MiB_peak, how far the resident memory rose above
// where it was before the parse. Both grow with the number of files.
void bm_parse_and_read_file_list(benchmark::State& state)
{
    const int entries = static_cast<int>(state.range(0));
    const std::string xml = generated_package(entries, static_cast<int>(state.range(1)));
    double held_mib = 0;
    double peak_mib = 0;
    for (auto _ : state) {
        // Free heap goes back to the system first, so that the rise of the
        // resident memory is what this parse needs.
        state.PauseTiming();
        ::malloc_trim(0);
        reset_peak_memory();
        const double resident_before = status_mib("VmRSS:");
        const double before = heap_in_use_mib();
        state.ResumeTiming();
        norvane::utl_lib_xml_vexa_firmware_upgrade_service service;
        norvane::UTL_LIB_XML_VEXA_RESULT result = norvane::UTL_LIB_XML_VEXA_RESULT_NO_ERR;
        int ret = service.parse_xml(xml, result, norvane::UTL_LIB_XML_VEXA_PROTOCOL_BTSPP);
        if (ret != 0 || read_file_list(service) != entries) {
            state.SkipWithError("parse or list failed");
            break;
        }
        state.PauseTiming();
        held_mib = heap_in_use_mib() - before;
        peak_mib = std::max(peak_mib, status_mib("VmHWM:") - resident_before);
        state.ResumeTiming();
    }
    state.counters["MiB_held"] = held_mib;
    state.counters["MiB_peak"] = peak_mib;
    state.SetComplexityN(entries);
}

}  // namespace

BENCHMARK(bm_parse_xml)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond)->Complexity();
// One group of 1,000 to 100,000 files, then 100,000 files in groups of 100.
BENCHMARK(bm_parse_and_read_file_list)
    ->Args({1000, 0})
    ->Args({10000, 0})
    ->Args({100000, 0})
    ->Args({100000, 100})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(bm_expat_floor)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond)->Complexity();

BENCHMARK_MAIN();
