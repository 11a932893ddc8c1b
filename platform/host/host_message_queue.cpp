// The OS wrapper's message queue on the host: a fixed ring of msg_count slots
// of msg_size bytes, guarded by one mutex, with one condition variable for
// "a slot became free", one for "a message arrived" and one for "the last
// caller left a closing queue".
//
// Destroying the queue closes it first: every sender and receiver still
// waiting in it returns with an error, and the destructor frees the queue
// only once they have all left it.
#include "osw_os_wrapper.h"

#include <chrono>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <vector>

class OSW_Message_Queue_impl {
public:
    OSW_Message_Queue_impl(unsigned int msg_count, unsigned int msg_size)
        : slot_count_(msg_count), slot_size_(msg_size),
          slots_(static_cast<size_t>(msg_count) * msg_size)
    {
    }

    int send(const void* msg, unsigned int size, unsigned int timeout)
    {
        if (!usable_() || msg == nullptr || size > slot_size_) {
            return 1;
        }
        std::unique_lock<std::mutex> guard(lock_);
        caller_inside counted(*this);
        if (!wait_(guard, not_full_, timeout, [this] { return closing_ || used_ < slot_count_; }) ||
            closing_) {
            return 1;
        }
        // The slot holds the message followed by zeros up to the slot size.
        unsigned char* slot = slot_at_((head_ + used_) % slot_count_);
        std::memcpy(slot, msg, size);
        std::memset(slot + size, 0, slot_size_ - size);
        ++used_;
        not_empty_.notify_one();
        return 0;
    }

    int receive(void* msg, unsigned int size, unsigned int timeout)
    {
        if (!usable_() || msg == nullptr || size < slot_size_) {
            return 1;
        }
        std::unique_lock<std::mutex> guard(lock_);
        caller_inside counted(*this);
        if (!wait_(guard, not_empty_, timeout, [this] { return closing_ || used_ > 0; }) ||
            closing_) {
            return 1;
        }
        std::memcpy(msg, slot_at_(head_), slot_size_);
        head_ = (head_ + 1) % slot_count_;
        --used_;
        not_full_.notify_one();
        return 0;
    }

    // Releases every waiting caller with an error and waits until all have
    // left; later calls fail at once.
    void close()
    {
        std::unique_lock<std::mutex> guard(lock_);
        closing_ = true;
        not_full_.notify_all();
        not_empty_.notify_all();
        all_left_.wait(guard, [this] { return inside_ == 0; });
    }

private:
    // Counts a caller in for the scope of a send or receive, under the lock.
    class caller_inside {
    public:
        explicit caller_inside(OSW_Message_Queue_impl& queue) : queue_(queue) { ++queue_.inside_; }
        ~caller_inside()
        {
            if (--queue_.inside_ == 0 && queue_.closing_) {
                queue_.all_left_.notify_all();
            }
        }
        caller_inside(const caller_inside&) = delete;
        caller_inside& operator=(const caller_inside&) = delete;

    private:
        OSW_Message_Queue_impl& queue_;
    };

    bool usable_() const { return slot_count_ > 0 && slot_size_ > 0; }

    unsigned char* slot_at_(unsigned int index) { return slots_.data() + static_cast<size_t>(index) * slot_size_; }

    // Waits until ready() holds: without limit for OSW_WAIT_FOREVER, else for
    // at most timeout milliseconds. Returns whether ready() holds.
    template <typename Ready>
    static bool wait_(std::unique_lock<std::mutex>& guard, std::condition_variable& condition,
                      unsigned int timeout, Ready ready)
    {
        if (timeout == OSW_WAIT_FOREVER) {
            condition.wait(guard, ready);
            return true;
        }
        return condition.wait_for(guard, std::chrono::milliseconds(timeout), ready);
    }

    const unsigned int slot_count_;
    const unsigned int slot_size_;
    std::vector<unsigned char> slots_;
    unsigned int head_ = 0;  // slot of the oldest message
    unsigned int used_ = 0;  // messages waiting
    unsigned int inside_ = 0;  // callers in send or receive
    bool closing_ = false;
    std::mutex lock_;
    std::condition_variable not_full_;
    std::condition_variable not_empty_;
    std::condition_variable all_left_;
};

OSW_Message_Queue::OSW_Message_Queue(unsigned int msg_count, unsigned int msg_size, unsigned int /*flags*/)
    : impl_(new OSW_Message_Queue_impl(msg_count, msg_size))
{
}

OSW_Message_Queue::~OSW_Message_Queue()
{
    impl_->close();
    delete impl_;
}

int OSW_Message_Queue::send(const void* msg, unsigned int size, unsigned int timeout, unsigned int /*option*/)
{
    return impl_->send(msg, size, timeout);
}

int OSW_Message_Queue::receive(void* msg, unsigned int size, unsigned int timeout)
{
    return impl_->receive(msg, size, timeout);
}
