// Fuzz target: base64 decoding of schema values.
//
// Any bytes encode to text that decodes back to them. Any text may be
// refused; a refusal leaves the output untouched. Text that decodes must
// round-trip too: its bytes encode to canonical text that decodes back to the
// same bytes, and the decoded size fits the text's groups.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "fuzz_check.h"
#include "utl_lib_xml_vexa_data_utl.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    norvane::utl_lib_xml_vexa_data_utl utl;

    // Any bytes encode to text that decodes back to them.
    const std::vector<char> raw(text.begin(), text.end());
    std::string raw_text;
    FUZZ_CHECK(utl.encode_base64(raw, raw_text) == 0);
    std::vector<char> raw_again;
    FUZZ_CHECK(utl.decode_base64(raw_text, raw_again) == 0);
    FUZZ_CHECK(raw_again == raw);

    const std::vector<char> sentinel(3, 'x');
    std::vector<char> decoded = sentinel;
    if (utl.decode_base64(text, decoded) != 0) {
        FUZZ_CHECK(decoded == sentinel);
        return 0;
    }
    FUZZ_CHECK(decoded.size() <= text.size() / 4 * 3);

    std::string encoded;
    FUZZ_CHECK(utl.encode_base64(decoded, encoded) == 0);
    FUZZ_CHECK(encoded.size() == (decoded.size() + 2) / 3 * 4);
    FUZZ_CHECK(encoded.size() <= text.size());

    std::vector<char> again;
    FUZZ_CHECK(utl.decode_base64(encoded, again) == 0);
    FUZZ_CHECK(again == decoded);
    return 0;
}
