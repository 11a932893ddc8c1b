// Fuzz target: the schema mediator on firmware-package documents.
//
// The input is parsed as a firmware-package document into a zeroed record.
// A document that parses is written back with create; what create writes
// must parse again, into a record that create writes back to exactly the
// same document. So the rewritten document holds everything the original's
// record held: every value and list entry that the mediator read from the
// original comes back unchanged. The mediator frees its list nodes when it
// goes out of scope, so a leak or a double free shows under ASan.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "fuzz_check.h"
#include "utl_lib_xml_vexa_data.h"
#include "utl_lib_xml_vexa_mediator.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string xml(reinterpret_cast<const char*>(data), size);
    norvane::utl_lib_xml_vexa_mediator mediator;
    norvane::UTL_LIB_XML_VEXA_FIRMWARE_PACKAGE_S package;
    std::memset(&package, 0, sizeof(package));
    norvane::UTL_LIB_XML_VEXA_RESULT result = norvane::UTL_LIB_XML_VEXA_RESULT_NO_ERR;
    if (mediator.parse(norvane::UTL_LIB_XML_VEXA_MESSAGE_FIRMWARE_PACKAGE, xml, &package,
                       result) != 0) {
        FUZZ_CHECK(result == norvane::UTL_LIB_XML_VEXA_RESULT_PARSER_ERR);
        return 0;
    }

    std::string written;
    FUZZ_CHECK(mediator.create(norvane::UTL_LIB_XML_VEXA_MESSAGE_FIRMWARE_PACKAGE, 1,
                                   &package, written, result) == 0);

    norvane::utl_lib_xml_vexa_mediator reader;
    norvane::UTL_LIB_XML_VEXA_FIRMWARE_PACKAGE_S again;
    std::memset(&again, 0, sizeof(again));
    FUZZ_CHECK(reader.parse(norvane::UTL_LIB_XML_VEXA_MESSAGE_FIRMWARE_PACKAGE, written,
                                &again, result) == 0);

    std::string rewritten;
    FUZZ_CHECK(reader.create(norvane::UTL_LIB_XML_VEXA_MESSAGE_FIRMWARE_PACKAGE, 1, &again,
                             rewritten, result) == 0);
    FUZZ_CHECK(rewritten == written);
    return 0;
}
