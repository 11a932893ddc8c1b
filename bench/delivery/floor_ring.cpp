// The two-thread floor of the delivery benchmark: the same work as the
// single-thread floor, split as the program splits it. The main thread
// receives each transfer straight into the next free slot of a ring of 100
// transfer-sized slots; a writer thread writes the slots with write() in
// order, closes the file and answers the upload. A mutex and two condition
// variables hand the slots over, as the program's message queue does.
//
//   delivery_floor_ring SOCKET_PATH PACKAGE_PATH
#include "floor_link.h"

#include <condition_variable>
#include <mutex>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace norvane_bench;

namespace {

constexpr size_t SLOT_COUNT = 100;

class slot_ring {
public:
    slot_ring() : memory_(SLOT_COUNT * floor_max_transfer), lengths_(SLOT_COUNT, 0) {}

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
    unsigned char* slot_(size_t index) { return memory_.data() + index * floor_max_transfer; }

    std::vector<unsigned char> memory_;
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
    if (argc != 3) {
        return 2;
    }
    int link = floor_connect(argv[1]);
    if (link < 0) {
        return 1;
    }
    std::vector<unsigned char> first(floor_max_transfer);
    long got = floor_receive(link, first.data());
    floor_request request;
    if (got < 0 || floor_decode_request(first.data(), got, request) != 0) {
        return 1;
    }
    int file = floor_open_package(argv[2]);
    if (file < 0) {
        return 1;
    }
    slot_ring ring;
    int writer_result = 0;
    std::thread writer([&] { writer_result = write_slots(ring, file, link, request); });

    const unsigned long long expected = request.data_size + floor_header_size;
    unsigned long long received = static_cast<unsigned long long>(got);
    int result = 0;
    if (got > static_cast<long>(floor_header_size)) {
        const size_t body = static_cast<size_t>(got) - floor_header_size;
        unsigned char* slot = ring.wait_free_slot();
        std::copy(first.begin() + floor_header_size, first.begin() + got, slot);
        ring.publish(body);
    }
    while (received < expected) {
        unsigned char* slot = ring.wait_free_slot();
        got = floor_receive(link, slot);
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
    ::close(link);
    return result | writer_result;
}
