// Counting semaphore. wait() takes one unit, blocking while there is none;
// a unit handed out while threads are blocked goes to the one that blocked
// last (last in, first out). signalAll() releases only the threads blocked at
// that moment and leaves the count as it was. The only failures are the
// standard library's (std::bad_alloc, std::system_error); they take nothing.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <vector>

namespace Ostrivane {
namespace GaussianBlur {

class Semaphore {
public:
    explicit Semaphore(unsigned int count);
    virtual ~Semaphore();

    Semaphore(const Semaphore&) = delete;
    Semaphore& operator=(const Semaphore&) = delete;

    void wait();
    void signal();
    // Same as signal() called count times; nothing if count is 0.
    void signal(unsigned int count);
    void signalAll();

    // Threads that found no unit and are blocked in wait(), or are just
    // leaving it after their release. A wait() that finds a unit is not counted.
    int64_t waiters() const { return mWaiters.load(); }

private:
    struct Ticket {
        std::condition_variable wakeUp;
        bool released = false;
    };

    void releaseLatest();

    std::mutex mMutex;
    unsigned long long mCount;
    // Blocked threads in order of arrival; the back is released first.
    std::vector<Ticket*> mBlocked;
    std::atomic<int64_t> mWaiters;
};

}  // namespace GaussianBlur
}  // namespace Ostrivane
