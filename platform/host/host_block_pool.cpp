#include "host_block_pool.h"

#include <cstdio>
#include <cstdlib>
#include <sys/mman.h>

// GCC says __SANITIZE_ADDRESS__, clang __has_feature(address_sanitizer).
#if defined(__SANITIZE_ADDRESS__)
#define NORVANE_WITH_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define NORVANE_WITH_ASAN 1
#endif
#endif
#if defined(NORVANE_WITH_ASAN)
#include <sanitizer/asan_interface.h>
#endif

namespace norvane {

namespace {

// AddressSanitizer knows nothing of the pool's blocks: a block that is not
// handed out, and the part of a handed-out block beyond the size asked for,
// are marked unusable, so that a use after free or an overrun is still
// reported.
void poison_(void* address, size_t size)
{
#if defined(NORVANE_WITH_ASAN)
    __asan_poison_memory_region(address, size);
#else
    (void)address;
    (void)size;
#endif
}

void unpoison_(void* address, size_t size)
{
#if defined(NORVANE_WITH_ASAN)
    __asan_unpoison_memory_region(address, size);
#else
    (void)address;
    (void)size;
#endif
}

[[noreturn]] void corrupt_(const char* what, const void* block)
{
    std::fprintf(stderr, "host_block_pool: %s %p\n", what, block);
    std::abort();
}

}  // namespace

host_block_pool::host_block_pool(size_t block_size, size_t block_count)
    : block_size_(block_size), block_count_(block_count), out_(block_count, false)
{
    free_.reserve(block_count);
}

host_block_pool::~host_block_pool()
{
    unsigned char* memory = memory_.load();
    if (memory != nullptr) {
        unpoison_(memory, block_size_ * block_count_);
        ::munmap(memory, block_size_ * block_count_);
    }
}

void* host_block_pool::take(size_t size)
{
    if (size > block_size_) {
        return nullptr;
    }
    std::lock_guard<std::mutex> guard(lock_);
    if (!reserve_()) {
        return nullptr;
    }
    size_t index = 0;
    if (!free_.empty()) {
        index = free_.back();
        free_.pop_back();
    } else if (touched_ < block_count_) {
        index = touched_++;
    } else {
        return nullptr;
    }
    out_[index] = true;
    ++out_count_;
    unsigned char* block = block_at_(index);
    unpoison_(block, size);
    return block;
}

int host_block_pool::give_back(void* block)
{
    unsigned char* memory = memory_.load(std::memory_order_acquire);
    unsigned char* address = static_cast<unsigned char*>(block);
    if (memory == nullptr || address < memory || address >= memory + block_size_ * block_count_) {
        return 1;
    }
    const size_t offset = static_cast<size_t>(address - memory);
    if (offset % block_size_ != 0) {
        corrupt_("pointer into the middle of a block", block);
    }
    const size_t index = offset / block_size_;
    std::lock_guard<std::mutex> guard(lock_);
    if (!out_[index]) {
        corrupt_("block given back twice", block);
    }
    out_[index] = false;
    --out_count_;
    poison_(address, block_size_);
    free_.push_back(index);
    return 0;
}

size_t host_block_pool::blocks_out() const
{
    std::lock_guard<std::mutex> guard(lock_);
    return out_count_;
}

size_t host_block_pool::blocks_touched() const
{
    std::lock_guard<std::mutex> guard(lock_);
    return touched_;
}

// Maps the blocks on first use; untouched pages cost no memory.
bool host_block_pool::reserve_()
{
    if (memory_.load(std::memory_order_relaxed) != nullptr) {
        return true;
    }
    void* memory = ::mmap(nullptr, block_size_ * block_count_, PROT_READ | PROT_WRITE,
                          MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        return false;
    }
    poison_(memory, block_size_ * block_count_);
    memory_.store(static_cast<unsigned char*>(memory), std::memory_order_release);
    return true;
}

unsigned char* host_block_pool::block_at_(size_t index) const
{
    return memory_.load(std::memory_order_relaxed) + index * block_size_;
}

}  // namespace norvane
