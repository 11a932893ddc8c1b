// The OS wrapper's mutex semaphore on the host: a binary semaphore made of a
// flag, a mutex and a condition variable, so that a request can time out.
#include "osw_os_wrapper.h"

#include <chrono>
#include <condition_variable>
#include <mutex>

class OSW_Mutex_Semaphore_impl {
public:
    explicit OSW_Mutex_Semaphore_impl(int initial) : free_(initial > 0) {}

    int request(int timeout)
    {
        std::unique_lock<std::mutex> guard(lock_);
        auto is_free = [this] { return free_; };
        if (timeout < 0) {
            released_.wait(guard, is_free);
        } else if (!released_.wait_for(guard, std::chrono::milliseconds(timeout), is_free)) {
            return 1;
        }
        free_ = false;
        return 0;
    }

    int release()
    {
        std::lock_guard<std::mutex> guard(lock_);
        if (free_) {
            return 1;  // binary: a second release has nothing to give back
        }
        free_ = true;
        released_.notify_one();
        return 0;
    }

private:
    bool free_;
    std::mutex lock_;
    std::condition_variable released_;
};

OSW_Mutex_Semaphore::OSW_Mutex_Semaphore(int initial) : impl_(new OSW_Mutex_Semaphore_impl(initial)) {}

OSW_Mutex_Semaphore::~OSW_Mutex_Semaphore()
{
    delete impl_;
}

int OSW_Mutex_Semaphore::request(int timeout)
{
    return impl_->request(timeout);
}

int OSW_Mutex_Semaphore::release()
{
    return impl_->release();
}
