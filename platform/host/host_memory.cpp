// Heap blocks on the host come from malloc.
#include "osw_os_wrapper.h"

#include <cstdlib>

void* zulOSWSubAllocMem(unsigned int size)
{
    return std::malloc(size);
}

void* zulOSWOrgAllocMemPart(void* /*pool*/, signed char size)
{
    if (size <= 0) {
        return nullptr;
    }
    return std::malloc(static_cast<size_t>(size));
}

int zulOSWOrgFreeMemPart(void* /*pool*/, void* block)
{
    std::free(block);
    return 0;
}
