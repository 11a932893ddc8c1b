// A fixed set of equal heap blocks for the host allocator, handed out and
// taken back by any thread.
//
// The link's callback allocates one block per incoming transfer and the
// main thread frees it after the write; from malloc, every such block was
// faulted in afresh once glibc had trimmed the freed heap. The pool keeps
// its blocks mapped: the most recently returned block goes out next, so a
// delivery cycles through the few blocks that are in flight at once, and
// memory still never exceeds block_count blocks. Blocks are only touched
// once handed out, so the pool's resident size follows its deepest use, not
// its capacity.
#ifndef NORVANE_PLATFORM_HOST_BLOCK_POOL_H
#define NORVANE_PLATFORM_HOST_BLOCK_POOL_H

#include <atomic>
#include <cstddef>
#include <mutex>
#include <vector>

namespace norvane {

class host_block_pool {
public:
    // block_count blocks of block_size bytes; the memory is reserved at the
    // first take.
    host_block_pool(size_t block_size, size_t block_count);
    ~host_block_pool();
    host_block_pool(const host_block_pool&) = delete;
    host_block_pool& operator=(const host_block_pool&) = delete;

    // A block with room for size bytes, or null when size exceeds the block
    // size, every block is out, or the memory cannot be reserved.
    void* take(size_t size);
    // Takes back a block of this pool and returns 0; returns 1 for any other
    // pointer (null included), which the pool leaves alone. A block given
    // back twice, or a pointer into the middle of a block, ends the process:
    // the heap would be corrupt from then on.
    int give_back(void* block);

    size_t block_size() const { return block_size_; }
    size_t block_count() const { return block_count_; }
    // Blocks handed out and not yet given back.
    size_t blocks_out() const;
    // Blocks ever touched: the deepest use so far.
    size_t blocks_touched() const;

private:
    bool reserve_();
    unsigned char* block_at_(size_t index) const;

    const size_t block_size_;
    const size_t block_count_;
    std::atomic<unsigned char*> memory_{nullptr};
    mutable std::mutex lock_;
    std::vector<size_t> free_;       // indexes of given-back blocks, last out first
    std::vector<bool> out_;          // per block: handed out
    size_t touched_ = 0;             // blocks [0, touched_) have been handed out once
    size_t out_count_ = 0;
};

}  // namespace norvane

#endif
