// Private helpers shared by the message classes of the vexa family: their
// records come from the platform allocator, the list nodes they build are
// freed together, and texts are copied with a bound.
#ifndef NORVANE_UTL_LIB_XML_VEXA_MESSAGE_LOCAL_H
#define NORVANE_UTL_LIB_XML_VEXA_MESSAGE_LOCAL_H

#include <cstddef>
#include <cstring>
#include <vector>

#include "osw_os_wrapper.h"

namespace norvane {

// Longest request identifier kept; the records' arrays have one byte more.
constexpr size_t UTL_LIB_XML_VEXA_REXID_MAX_LENGTH = 38;

// A record block of the platform allocator (not initialised; callers clear).
template <typename RECORD>
RECORD* utl_lib_xml_vexa_alloc_record()
{
    return static_cast<RECORD*>(zulOSWSubAllocMem(static_cast<unsigned int>(sizeof(RECORD))));
}

// Returns every block to the platform allocator and empties the vector.
inline void utl_lib_xml_vexa_free_blocks(std::vector<void*>& blocks)
{
    for (void* block : blocks) {
        zulOSWOrgFreeMemPart(nullptr, block);
    }
    blocks.clear();
}

// Copies at most max characters of src, stopping after its NUL; at the limit
// no terminator is added (the destination was zero-filled beforehand).
inline void utl_lib_xml_vexa_copy_text(char* dst, const char* src, size_t max)
{
    size_t length = strnlen(src, max);
    std::memcpy(dst, src, length);
    if (length < max) {
        dst[length] = '\0';
    }
}

}  // namespace norvane

#endif
