// Private helpers shared by the message classes of the vexa family: their
// records come from the platform allocator, the list nodes they build are
// freed together, and texts are copied with a bound.
#ifndef NORVANE_UTL_LIB_XML_VEXA_MESSAGE_LOCAL_H
#define NORVANE_UTL_LIB_XML_VEXA_MESSAGE_LOCAL_H

#include <cstddef>
#include <cstring>
#include <vector>

#include "osw_os_wrapper.h"
#include "utl_lib_xml_vexa_data.h"
#include "utl_lib_xml_vexa_data_utl.h"

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

// Appends count progress entries to list through the list helper; the new
// nodes go into allocated. A count below 1 appends nothing.
inline int utl_lib_xml_vexa_append_progress(LIST* list,
                                            const UTL_LIB_XML_VEXA_PROGRESS_INFO_S* items,
                                            int count, std::vector<void*>& allocated)
{
    unsigned int entries = count > 0 ? static_cast<unsigned int>(count) : 0u;
    utl_lib_xml_vexa_data_utl data_utl;
    return data_utl.add_list(list, items, sizeof(UTL_LIB_XML_VEXA_PROGRESS_INFO_S), entries,
                             &allocated);
}

}  // namespace norvane

#endif
