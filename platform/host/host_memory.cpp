// Heap blocks on the host. Transfer-sized blocks (the link's callback takes
// one per incoming transfer) come from a pool that keeps them mapped; every
// other block comes from malloc.
#include "osw_os_wrapper.h"

#include "host_block_pool.h"
#include "osl_mdev_aoa.h"

#include <cstdlib>

using norvane::host_block_pool;

namespace {

// Requests above this size and up to a whole transfer are transfer-sized.
// The records of the XML layers are far smaller and stay with malloc.
constexpr size_t SMALLEST_POOLED_SIZE = 4096 + 1;

// The controller's queue holds at most 100 chunks, one more is being filled
// on the link's thread and one written on the main thread: 128 blocks hold
// every chunk a delivery can have in flight. A request beyond them falls
// back to malloc.
constexpr size_t POOL_BLOCKS = 128;

host_block_pool& transfer_pool_()
{
    // Never destroyed: blocks may come back from any thread until the
    // process ends.
    static host_block_pool* pool =
        new host_block_pool(static_cast<size_t>(OSL_MDEV_AOA_MAX_TRANSFER), POOL_BLOCKS);
    return *pool;
}

}  // namespace

void* zulOSWSubAllocMem(unsigned int size)
{
    if (size >= SMALLEST_POOLED_SIZE && size <= static_cast<unsigned int>(OSL_MDEV_AOA_MAX_TRANSFER)) {
        void* block = transfer_pool_().take(size);
        if (block != nullptr) {
            return block;
        }
    }
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
    if (transfer_pool_().give_back(block) != 0) {
        std::free(block);
    }
    return 0;
}
