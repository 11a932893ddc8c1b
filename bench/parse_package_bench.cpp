// Parsing a generated FW_package.xml of 1,000 and 10,000 data_information
// entries through the firmware-upgrade message, beside a bare expat parse of
// the same text with empty handlers (the floor under any binding).
//
// Run with FWUPDATE_TRACE_FILE=/dev/null: every parse traces its text.
#include <benchmark/benchmark.h>
#include <expat.h>

#include <string>

#include "utl_lib_xml_vexa_firmware_upgrade_service.h"

namespace {

// A package description with one download group of the given number of files.
std::string generated_package(int entries)
{
    std::string xml =
        "<firmware_package><is_encrypted_url>OFF</is_encrypted_url>"
        "<device_id>BENCH-DEVICE</device_id><package_version>9.8.7</package_version>"
        "<total_size>123456</total_size><description>generated</description>"
        "<download_information><type>MAIN</type><version>1.0</version>";
    for (int i = 0; i < entries; ++i) {
        const std::string n = std::to_string(i);
        xml += "<data_information><name>file " + n + "</name><filename>file_" + n +
               ".bin</filename><download_url>http://host/file_" + n +
               ".bin</download_url><checksum>" + std::to_string(10000 + i % 50000) +
               "</checksum><size>" + std::to_string(1000 + i) +
               "</size><version>1.0</version></data_information>";
    }
    return xml + "</download_information><package_type>DEVICE_FIRMWARE</package_type>"
                 "</firmware_package>";
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

}  // namespace

BENCHMARK(bm_parse_xml)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond)->Complexity();
BENCHMARK(bm_expat_floor)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond)->Complexity();

BENCHMARK_MAIN();
