// OS wrapper of the platform: message queue, mutex and heap blocks.
//
// The device links the vendor's library; a host build links platform/host.
// Both honour the contracts written beside each call.
#ifndef NORVANE_PLATFORM_OSW_OS_WRAPPER_H
#define NORVANE_PLATFORM_OSW_OS_WRAPPER_H

// Time-out value that waits without limit.
constexpr unsigned int OSW_WAIT_FOREVER = 0xFFFFFFFFu;

class OSW_Message_Queue_impl;

// A fixed ring of msg_count slots of msg_size bytes. Messages are copied in
// and out by value and leave in the order they were sent.
class OSW_Message_Queue {
public:
    // flags: only 0 is used. A queue of 0 slots or 0-byte slots refuses every
    // send and receive.
    OSW_Message_Queue(unsigned int msg_count, unsigned int msg_size, unsigned int flags);
    // Releases every sender and receiver still waiting in the queue with a
    // non-zero result and returns once they have all left it; messages still
    // queued are dropped. A call that starts after the destructor returned
    // is the caller's error.
    ~OSW_Message_Queue();
    OSW_Message_Queue(const OSW_Message_Queue&) = delete;
    OSW_Message_Queue& operator=(const OSW_Message_Queue&) = delete;

    // Copies size bytes into a free slot, zeros after them up to the slot
    // size. Blocks while the queue is full, for at most timeout milliseconds
    // (0: not at all; OSW_WAIT_FOREVER: without limit). option: only 0 is
    // used. Returns 0 on success, non-zero on time-out, for a null msg or when
    // size exceeds the slot size.
    int send(const void* msg, unsigned int size, unsigned int timeout, unsigned int option);

    // Copies the oldest message's whole slot (msg_size bytes: the message and
    // the zeros after it) into msg and removes it. Blocks while the queue is
    // empty, for at most timeout milliseconds, as send does. A null msg or a
    // size below msg_size is refused at once with non-zero and nothing is
    // taken from the queue (no message is ever cut short). Returns 0 on
    // success, non-zero on time-out or bad arguments.
    int receive(void* msg, unsigned int size, unsigned int timeout);

private:
    OSW_Message_Queue_impl* impl_;
};

class OSW_Mutex_Semaphore_impl;

// A binary semaphore used as a mutex. initial 1 (or above) means free, 0 or
// below taken.
class OSW_Mutex_Semaphore {
public:
    explicit OSW_Mutex_Semaphore(int initial);
    ~OSW_Mutex_Semaphore();
    OSW_Mutex_Semaphore(const OSW_Mutex_Semaphore&) = delete;
    OSW_Mutex_Semaphore& operator=(const OSW_Mutex_Semaphore&) = delete;

    // Takes the semaphore, waiting at most timeout milliseconds (0: not at
    // all; -1, or any negative value: without limit). Returns 0 when taken,
    // non-zero on time-out.
    int request(int timeout);
    // Gives the semaphore back and wakes one waiter. Any thread may release.
    // Returns 0, or non-zero when the semaphore was not taken.
    int release();

private:
    OSW_Mutex_Semaphore_impl* impl_;
};

// Heap block of size bytes, or null. Blocks that cross a thread or a platform
// list come from here and go back through zulOSWOrgFreeMemPart.
void* zulOSWSubAllocMem(unsigned int size);

// Heap block from a pool (null: the default pool). The size is a signed 8-bit
// quantity, as the platform call takes it: 0 or below returns null.
void* zulOSWOrgAllocMemPart(void* pool, signed char size);

// Returns a block from either allocator. A null block is ignored. Returns 0.
int zulOSWOrgFreeMemPart(void* pool, void* block);

#endif
