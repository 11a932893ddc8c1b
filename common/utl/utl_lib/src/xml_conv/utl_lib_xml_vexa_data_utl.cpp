// List and base64 helpers of the message classes.
#include "utl_lib_xml_vexa_data_utl.h"

#include <cstdint>
#include <cstring>

#include "osw_os_wrapper.h"
#include "utl_lib_xml_local.h"

namespace norvane {

namespace {

const char BASE64_ALPHABET[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr char BASE64_PAD = '=';

unsigned int trace_address(const void* pointer)
{
    return static_cast<unsigned int>(reinterpret_cast<uintptr_t>(pointer));
}

}  // namespace

utl_lib_xml_vexa_data_utl::utl_lib_xml_vexa_data_utl() = default;

int utl_lib_xml_vexa_data_utl::get_list_data(LIST* list, int index, unsigned int size, void* out)
{
    if (list == nullptr || out == nullptr) {
        utl_lib_xml_trace("[XML][ERROR! ]DataUtl get list error. data ptr is null[0x%08x][0x%08x]",
                          trace_address(list), trace_address(out));
        return UTL_LIB_XML_RET_ERR;
    }
    if (index < 1 || index > list->count) {
        utl_lib_xml_trace("[XML][ERROR! ]DataUtl get list error. out of range. index[%d] cnt[%d]",
                          index, list->count);
        return UTL_LIB_XML_RET_ERR;
    }
    NODE* node = zulCLBLstNth(list, index);
    if (node == nullptr) {
        utl_lib_xml_trace("[XML][ERROR! ]DataUtl get list error. Node ptr invalid.(0x%08x)",
                          trace_address(node));
        return UTL_LIB_XML_RET_ERR;
    }
    std::memcpy(out, reinterpret_cast<const char*>(node) + sizeof(NODE), size);
    return UTL_LIB_XML_RET_OK;
}

int utl_lib_xml_vexa_data_utl::add_list(LIST* list, const void* data, unsigned int size,
                                        unsigned int count, std::vector<void*>* allocated)
{
    if (list == nullptr || data == nullptr) {
        utl_lib_xml_trace("[XML][ERROR! ]DataUtl add list error. data null[0x%08x][0x%08x]",
                          trace_address(list), trace_address(data));
        return UTL_LIB_XML_RET_ERR;
    }
    const char* element = static_cast<const char*>(data);
    for (unsigned int i = 0; i < count; ++i, element += size) {
        // One block per element: the node header, then the record.
        char* block = static_cast<char*>(
            zulOSWSubAllocMem(static_cast<unsigned int>(sizeof(NODE)) + size));
        std::memset(block, 0, sizeof(NODE));
        std::memcpy(block + sizeof(NODE), element, size);
        zulCLBLstAdd(list, reinterpret_cast<NODE*>(block));
        if (allocated != nullptr) {
            allocated->push_back(block);
        }
    }
    return UTL_LIB_XML_RET_OK;
}

int utl_lib_xml_vexa_data_utl::encode_base64(const std::vector<char>& data, std::string& text)
{
    std::string encoded;
    encoded.reserve((data.size() + 2) / 3 * 4);
    for (size_t i = 0; i < data.size(); i += 3) {
        // Up to three bytes make a 24-bit group; n bytes give n + 1
        // characters, padded with "=" to four.
        size_t bytes = data.size() - i < 3 ? data.size() - i : 3;
        uint32_t group = 0;
        for (size_t k = 0; k < bytes; ++k) {
            group |= static_cast<uint32_t>(static_cast<unsigned char>(data[i + k])) << (16 - 8 * k);
        }
        for (size_t k = 0; k < 4; ++k) {
            encoded += k <= bytes ? BASE64_ALPHABET[(group >> (18 - 6 * k)) & 0x3F] : BASE64_PAD;
        }
    }
    text = encoded;
    return UTL_LIB_XML_RET_OK;
}

int utl_lib_xml_vexa_data_utl::decode_base64(const std::string& text, std::vector<char>& data)
{
    if (text.size() % 4 != 0) {
        return UTL_LIB_XML_RET_ERR;
    }
    std::vector<char> decoded;
    decoded.reserve(text.size() / 4 * 3);
    for (size_t i = 0; i < text.size(); i += 4) {
        if (text[i] == BASE64_PAD || text[i + 1] == BASE64_PAD) {
            return UTL_LIB_XML_RET_ERR;
        }
        // Padding ends the decoding: what follows it is not examined.
        int groups = 3;
        if (text[i + 2] == BASE64_PAD) {
            groups = 1;
        } else if (text[i + 3] == BASE64_PAD) {
            groups = 2;
        }
        uint32_t group = 0;
        for (int k = 0; k <= groups; ++k) {
            int value = decode_char_(text[i + static_cast<size_t>(k)]);
            if (value < 0) {
                return UTL_LIB_XML_RET_ERR;
            }
            group |= static_cast<uint32_t>(value) << (18 - 6 * k);
        }
        for (int k = 0; k < groups; ++k) {
            decoded.push_back(static_cast<char>((group >> (16 - 8 * k)) & 0xFF));
        }
        if (groups < 3) {
            break;
        }
    }
    data = decoded;
    return UTL_LIB_XML_RET_OK;
}

int utl_lib_xml_vexa_data_utl::decode_char_(char character)
{
    if (character == '\0') {
        return -1;
    }
    const char* found = std::strchr(BASE64_ALPHABET, character);
    if (found == nullptr) {
        return -1;
    }
    return static_cast<int>(found - BASE64_ALPHABET);
}

}  // namespace norvane
