// The fake OS wrapper: real FIFO queues and a real binary semaphore, plus the
// fault and observation knobs of fake_os_wrapper. All fake queues share one
// lock and one pair of condition variables; tests make few queues, and this
// keeps "a receiver is idle" a single observable fact.
#include "fake_os_wrapper.h"

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <map>
#include <mutex>
#include <new>
#include <string>

#include "osw_os_wrapper.h"

namespace {

struct queue_control {
    std::mutex lock;
    std::condition_variable changed;
    int fail_send_result = 0;
    bool fail_send = false;
    int fail_receive_result = 0;
    bool fail_receive = false;
    bool receive_bad_alloc = false;
    bool hold = false;
    int idle_receivers = 0;
    int blocked_senders = 0;
    int queued = 0;
    int created = 0;
    int alive = 0;
    int sends = 0;
    unsigned int last_count = 0;
    unsigned int last_size = 0;
    unsigned int last_flags = 0;
    std::vector<unsigned int> send_timeouts;
    std::vector<unsigned int> receive_timeouts;
    OSW_Message_Queue* newest = nullptr;
};

queue_control& queues_()
{
    static queue_control control;
    return control;
}

struct allocator_control {
    std::mutex lock;
    int calls = 0;
    int fail_number = 0;
    bool fail_size = false;
    unsigned int fail_size_value = 0;
    std::vector<int> sizes;
    std::map<void*, int> live;
    int foreign_frees = 0;
    int frees_with_pool = 0;
};

allocator_control& allocators_()
{
    static allocator_control control;
    return control;
}

// Waits on cv until ready() holds, for timeout milliseconds or without limit.
template <typename PREDICATE>
bool wait_for_(std::condition_variable& cv, std::unique_lock<std::mutex>& held,
               unsigned int timeout, PREDICATE ready)
{
    if (timeout == OSW_WAIT_FOREVER) {
        cv.wait(held, ready);
        return true;
    }
    return cv.wait_for(held, std::chrono::milliseconds(timeout), ready);
}

// Counts the call and applies the fault knobs; refused calls count too.
void* allocate_(int requested, size_t size, bool refused)
{
    allocator_control& control = allocators_();
    std::lock_guard<std::mutex> held(control.lock);
    control.calls++;
    control.sizes.push_back(requested);
    if (control.fail_number == control.calls) {
        return nullptr;
    }
    if (control.fail_size && requested >= 0 &&
        static_cast<unsigned int>(requested) == control.fail_size_value) {
        control.fail_size = false;
        return nullptr;
    }
    if (refused) {
        return nullptr;
    }
    void* block = std::malloc(size == 0 ? 1 : size);
    if (block != nullptr) {
        control.live[block] = requested;
    }
    return block;
}

}  // namespace

// One ring of fixed slots, and the callers inside send or receive, which a
// closing queue releases and waits for.
class OSW_Message_Queue_impl {
public:
    OSW_Message_Queue_impl(unsigned int count, unsigned int size) : count_(count), size_(size) {}

    unsigned int count_;
    unsigned int size_;
    std::deque<std::string> slots_;
    int inside_ = 0;
    bool closing_ = false;
};

namespace {

// Counts a caller in for the scope of a send or receive, under the lock.
class caller_inside {
public:
    caller_inside(OSW_Message_Queue_impl& queue, std::condition_variable& changed)
        : queue_(queue), changed_(changed)
    {
        ++queue_.inside_;
    }
    ~caller_inside()
    {
        --queue_.inside_;
        changed_.notify_all();
    }
    caller_inside(const caller_inside&) = delete;
    caller_inside& operator=(const caller_inside&) = delete;

private:
    OSW_Message_Queue_impl& queue_;
    std::condition_variable& changed_;
};

}  // namespace

OSW_Message_Queue::OSW_Message_Queue(unsigned int msg_count, unsigned int msg_size,
                                     unsigned int flags)
    : impl_(new OSW_Message_Queue_impl(msg_count, msg_size))
{
    queue_control& control = queues_();
    std::lock_guard<std::mutex> held(control.lock);
    control.created++;
    control.alive++;
    control.last_count = msg_count;
    control.last_size = msg_size;
    control.last_flags = flags;
    control.newest = this;
}

OSW_Message_Queue::~OSW_Message_Queue()
{
    queue_control& control = queues_();
    std::unique_lock<std::mutex> held(control.lock);
    impl_->closing_ = true;
    control.changed.notify_all();
    control.changed.wait(held, [this] { return impl_->inside_ == 0; });
    control.alive--;
    if (control.newest == this) {
        control.newest = nullptr;
    }
    control.queued -= static_cast<int>(impl_->slots_.size());
    delete impl_;
    impl_ = nullptr;
}

int OSW_Message_Queue::send(const void* msg, unsigned int size, unsigned int timeout,
                            unsigned int /*option*/)
{
    queue_control& control = queues_();
    std::unique_lock<std::mutex> held(control.lock);
    control.send_timeouts.push_back(timeout);
    if (control.fail_send) {
        control.fail_send = false;
        return control.fail_send_result;
    }
    if (msg == nullptr || size > impl_->size_ || impl_->closing_) {
        return 1;
    }
    caller_inside inside(*impl_, control.changed);
    auto room = [this] { return impl_->closing_ || impl_->slots_.size() < impl_->count_; };
    bool blocked = !room();
    if (blocked) {
        control.blocked_senders++;
        control.changed.notify_all();
    }
    bool got_room = wait_for_(control.changed, held, timeout, room);
    if (blocked) {
        control.blocked_senders--;
    }
    if (impl_->closing_) {
        return 1;
    }
    if (!got_room) {
        return 2;
    }
    std::string slot(impl_->size_, '\0');
    std::memcpy(&slot[0], msg, size);
    impl_->slots_.push_back(slot);
    control.queued++;
    control.sends++;
    control.changed.notify_all();
    return 0;
}

int OSW_Message_Queue::receive(void* msg, unsigned int size, unsigned int timeout)
{
    queue_control& control = queues_();
    std::unique_lock<std::mutex> held(control.lock);
    control.receive_timeouts.push_back(timeout);
    if (control.receive_bad_alloc) {
        control.receive_bad_alloc = false;
        throw std::bad_alloc();
    }
    if (control.fail_receive) {
        control.fail_receive = false;
        return control.fail_receive_result;
    }
    if (msg == nullptr || impl_->closing_) {
        return 1;
    }
    caller_inside inside(*impl_, control.changed);
    auto ready = [this, &control] {
        return impl_->closing_ || control.fail_receive ||
               (!control.hold && !impl_->slots_.empty());
    };
    bool idle = !ready();
    if (idle) {
        control.idle_receivers++;
        control.changed.notify_all();
    }
    bool got = wait_for_(control.changed, held, timeout, ready);
    if (idle) {
        control.idle_receivers--;
    }
    if (impl_->closing_) {
        return 1;
    }
    if (control.fail_receive) {
        control.fail_receive = false;
        return control.fail_receive_result;
    }
    if (!got) {
        return 2;
    }
    std::memcpy(msg, impl_->slots_.front().data(), size < impl_->size_ ? size : impl_->size_);
    impl_->slots_.pop_front();
    control.queued--;
    control.changed.notify_all();
    return 0;
}

// A binary semaphore: count is 1 when free.
class OSW_Mutex_Semaphore_impl {
public:
    explicit OSW_Mutex_Semaphore_impl(int initial) : count_(initial > 0 ? 1 : 0) {}

    std::mutex lock_;
    std::condition_variable released_;
    int count_;
};

OSW_Mutex_Semaphore::OSW_Mutex_Semaphore(int initial) : impl_(new OSW_Mutex_Semaphore_impl(initial))
{
}

OSW_Mutex_Semaphore::~OSW_Mutex_Semaphore()
{
    delete impl_;
}

int OSW_Mutex_Semaphore::request(int timeout)
{
    std::unique_lock<std::mutex> held(impl_->lock_);
    unsigned int limit = timeout < 0 ? OSW_WAIT_FOREVER : static_cast<unsigned int>(timeout);
    if (!wait_for_(impl_->released_, held, limit, [this] { return impl_->count_ > 0; })) {
        return 1;
    }
    impl_->count_ = 0;
    return 0;
}

int OSW_Mutex_Semaphore::release()
{
    std::lock_guard<std::mutex> held(impl_->lock_);
    impl_->count_ = 1;
    impl_->released_.notify_one();
    return 0;
}

void* zulOSWSubAllocMem(unsigned int size)
{
    return allocate_(static_cast<int>(size), size, false);
}

void* zulOSWOrgAllocMemPart(void* /*pool*/, signed char size)
{
    return allocate_(size, size <= 0 ? 0 : static_cast<size_t>(size), size <= 0);
}

int zulOSWOrgFreeMemPart(void* pool, void* block)
{
    allocator_control& control = allocators_();
    std::lock_guard<std::mutex> held(control.lock);
    if (pool != nullptr) {
        control.frees_with_pool++;
    }
    if (block == nullptr) {
        return 0;
    }
    if (control.live.erase(block) == 0) {
        control.foreign_frees++;
    }
    std::free(block);
    return 0;
}

namespace norvane_fake {

void fake_os_wrapper::reset()
{
    {
        queue_control& control = queues_();
        std::lock_guard<std::mutex> held(control.lock);
        control.fail_send = false;
        control.fail_receive = false;
        control.receive_bad_alloc = false;
        control.hold = false;
        control.created = 0;
        control.sends = 0;
        control.last_count = 0;
        control.last_size = 0;
        control.last_flags = 0;
        control.send_timeouts.clear();
        control.receive_timeouts.clear();
        control.changed.notify_all();
    }
    allocator_control& control = allocators_();
    std::lock_guard<std::mutex> held(control.lock);
    control.calls = 0;
    control.fail_number = 0;
    control.fail_size = false;
    control.sizes.clear();
    control.live.clear();
    control.foreign_frees = 0;
    control.frees_with_pool = 0;
}

void fake_os_wrapper::fail_next_send(int result)
{
    queue_control& control = queues_();
    std::lock_guard<std::mutex> held(control.lock);
    control.fail_send = true;
    control.fail_send_result = result;
}

void fake_os_wrapper::fail_next_receive(int result)
{
    queue_control& control = queues_();
    std::lock_guard<std::mutex> held(control.lock);
    control.fail_receive = true;
    control.fail_receive_result = result;
    control.changed.notify_all();
}

void fake_os_wrapper::fail_next_receive_with_bad_alloc()
{
    queue_control& control = queues_();
    std::lock_guard<std::mutex> held(control.lock);
    control.receive_bad_alloc = true;
}

void fake_os_wrapper::hold_receive(bool hold)
{
    queue_control& control = queues_();
    std::lock_guard<std::mutex> held(control.lock);
    control.hold = hold;
    control.changed.notify_all();
}

bool fake_os_wrapper::wait_receiver_idle(int timeout_ms)
{
    queue_control& control = queues_();
    std::unique_lock<std::mutex> held(control.lock);
    return control.changed.wait_for(held, std::chrono::milliseconds(timeout_ms),
                                    [&control] {
                                        return control.idle_receivers > 0 &&
                                               (control.hold || control.queued == 0);
                                    });
}

bool fake_os_wrapper::wait_sender_blocked(int timeout_ms)
{
    queue_control& control = queues_();
    std::unique_lock<std::mutex> held(control.lock);
    return control.changed.wait_for(held, std::chrono::milliseconds(timeout_ms),
                                    [&control] { return control.blocked_senders > 0; });
}

int fake_os_wrapper::send_to_newest_queue(const void* msg, unsigned int size)
{
    OSW_Message_Queue* newest = nullptr;
    {
        std::lock_guard<std::mutex> held(queues_().lock);
        newest = queues_().newest;
    }
    if (newest == nullptr) {
        return -1;
    }
    return newest->send(msg, size, OSW_WAIT_FOREVER, 0);
}

int fake_os_wrapper::queues_created()
{
    std::lock_guard<std::mutex> held(queues_().lock);
    return queues_().created;
}

unsigned int fake_os_wrapper::last_msg_count()
{
    std::lock_guard<std::mutex> held(queues_().lock);
    return queues_().last_count;
}

unsigned int fake_os_wrapper::last_msg_size()
{
    std::lock_guard<std::mutex> held(queues_().lock);
    return queues_().last_size;
}

unsigned int fake_os_wrapper::last_flags()
{
    std::lock_guard<std::mutex> held(queues_().lock);
    return queues_().last_flags;
}

int fake_os_wrapper::queues_alive()
{
    std::lock_guard<std::mutex> held(queues_().lock);
    return queues_().alive;
}

int fake_os_wrapper::sends()
{
    std::lock_guard<std::mutex> held(queues_().lock);
    return queues_().sends;
}

std::vector<unsigned int> fake_os_wrapper::send_timeouts()
{
    std::lock_guard<std::mutex> held(queues_().lock);
    return queues_().send_timeouts;
}

std::vector<unsigned int> fake_os_wrapper::receive_timeouts()
{
    std::lock_guard<std::mutex> held(queues_().lock);
    return queues_().receive_timeouts;
}

void fake_os_wrapper::fail_allocation_number(int n)
{
    std::lock_guard<std::mutex> held(allocators_().lock);
    allocators_().fail_number = n;
}

void fake_os_wrapper::fail_allocation_of_size(unsigned int size)
{
    std::lock_guard<std::mutex> held(allocators_().lock);
    allocators_().fail_size = true;
    allocators_().fail_size_value = size;
}

int fake_os_wrapper::allocations()
{
    std::lock_guard<std::mutex> held(allocators_().lock);
    return allocators_().calls;
}

std::vector<int> fake_os_wrapper::allocation_sizes()
{
    std::lock_guard<std::mutex> held(allocators_().lock);
    return allocators_().sizes;
}

int fake_os_wrapper::blocks_outstanding()
{
    std::lock_guard<std::mutex> held(allocators_().lock);
    return static_cast<int>(allocators_().live.size());
}

int fake_os_wrapper::foreign_frees()
{
    std::lock_guard<std::mutex> held(allocators_().lock);
    return allocators_().foreign_frees;
}

int fake_os_wrapper::frees_with_pool()
{
    std::lock_guard<std::mutex> held(allocators_().lock);
    return allocators_().frees_with_pool;
}

}  // namespace norvane_fake
