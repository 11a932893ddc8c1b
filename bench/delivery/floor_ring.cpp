// The two-thread floor of the delivery benchmark: the same work as the
// single-thread floor, split as the program splits it. The main thread
// receives each transfer straight into the next free slot of a ring of 100
// transfer-sized slots; a writer thread writes the slots with write() in
// order, closes the file and answers the upload. A mutex and two condition
// variables hand the slots over, as the program's message queue does.
//
//   delivery_floor_ring SOCKET_PATH PACKAGE_PATH
#include "floor_link.h"

#include <algorithm>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace norvane_bench;

namespace {

constexpr size_t SLOT_COUNT = 100;

class slot_ring {
public:
    // The slots are not filled in advance: each is touched when first used.
    slot_ring() : slots_(new floor_transfer[SLOT_COUNT]), lengths_(SLOT_COUNT, 0) {}

    // The slot the receiver fills next, once one is free.
    unsigned char* wait_free_slot()
    {
        std::unique_lock<std::mutex> guard(lock_);
        not_full_.wait(guard, [this] { return used_ < SLOT_COUNT; });
        return slot_((head_ + used_) % SLOT_COUNT);
    }
    // Hands the slot from wait_free_slot to the writer with its length; a
    // length of 0 tells the writer that no more will come.
    void publish(size_t length)
    {
        std::lock_guard<std::mutex> guard(lock_);
        lengths_[(head_ + used_) % SLOT_COUNT] = length;
        ++used_;
        not_empty_.notify_one();
    }
    // The oldest filled slot and its length, once there is one.
    unsigned char* wait_filled_slot(size_t& length)
    {
        std::unique_lock<std::mutex> guard(lock_);
        not_empty_.wait(guard, [this] { return used_ > 0; });
        length = lengths_[head_];
        return slot_(head_);
    }
    void release()
    {
        std::lock_guard<std::mutex> guard(lock_);
        head_ = (head_ + 1) % SLOT_COUNT;
        --used_;
        not_full_.notify_one();
    }

private:
    unsigned char* slot_(size_t index) { return slots_[index].bytes; }

    std::unique_ptr<floor_transfer[]> slots_;
    std::vector<size_t> lengths_;
    size_t head_ = 0;
    size_t used_ = 0;
    std::mutex lock_;
    std::condition_variable not_full_;
    std::condition_variable not_empty_;
};

// The writer: every slot in order until the empty one, then close and reply.
int write_slots(slot_ring& ring, int file, int link, const floor_request& request)
{
    int result = 0;
    for (;;) {
        size_t length = 0;
        unsigned char* slot = ring.wait_filled_slot(length);
        if (length == 0) {
            ring.release();
            break;
        }
        result |= floor_write_all(file, slot, length);
        ring.release();
    }
    result |= ::close(file) != 0 ? 1 : 0;
    if (result == 0) {
        result |= floor_send_reply(link, request);
    }
    return result;
}

}  // namespace

int main(int argc, char** argv)
{
    static floor_upload upload;
    static slot_ring ring;
    if (argc != 3) {
        return 2;
    }
    if (floor_start_upload(argv[1], argv[2], upload) != 0) {
        return 1;
    }
    int writer_result = 0;
    std::thread writer(
        [&] { writer_result = write_slots(ring, upload.file, upload.link, upload.request); });

    const unsigned long long expected = upload.request.data_size + floor_header_size;
    unsigned long long received = static_cast<unsigned long long>(upload.first_length);
    int result = 0;
    if (upload.first_length > static_cast<long>(floor_header_size)) {
        unsigned char* slot = ring.wait_free_slot();
        std::copy(upload.first.bytes + floor_header_size, upload.first.bytes + upload.first_length,
                  slot);
        ring.publish(static_cast<size_t>(upload.first_length) - floor_header_size);
    }
    while (received < expected) {
        unsigned char* slot = ring.wait_free_slot();
        const long got = floor_receive(upload.link, slot);
        if (got < 0) {
            result = 1;
            break;
        }
        received += static_cast<unsigned long long>(got);
        ring.publish(static_cast<size_t>(got));
    }
    ring.wait_free_slot();
    ring.publish(0);
    writer.join();
    ::close(upload.link);
    return result | writer_result;
}
