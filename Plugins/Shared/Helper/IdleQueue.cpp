#include "IdleQueue.h"

#include <utility>

#include "Semaphore.h"

namespace Ostrivane {
namespace GaussianBlur {

namespace {

// Gives the lock back on every way out, exceptions included.
class LockHold {
public:
    explicit LockHold(Semaphore& lock) : mLock(lock) { mLock.wait(); }
    ~LockHold() { mLock.signal(); }
    LockHold(const LockHold&) = delete;
    LockHold& operator=(const LockHold&) = delete;

private:
    Semaphore& mLock;
};

}  // namespace

IdleQueue::IdleQueue() : mLock(new Semaphore(1)) {}

IdleQueue::~IdleQueue() {
    delete mLock;
}

void IdleQueue::async(const std::function<void()>& task) {
    LockHold hold(*mLock);
    mTasks.push_back(task);
}

bool IdleQueue::hasTask() const {
    LockHold hold(*mLock);
    return !mTasks.empty();
}

void IdleQueue::updateQueue() {
    size_t size = 0;
    {
        LockHold hold(*mLock);
        size = mTasks.size();
    }
    if (size == 0) {
        return;
    }
    std::function<void()> task;
    {
        // Moved, not copied: a move of std::function cannot throw, so a task whose
        // copy throws can never get stuck at the front and block those behind it.
        // The single consumer is what keeps the front present since the size check.
        LockHold hold(*mLock);
        task = std::move(mTasks.front());
        mTasks.pop_front();
    }
    task();
}

void IdleQueue::clearAsyncQueue() {
    std::deque<std::function<void()>> dropped;
    dropped.swap(mTasks);
}

}  // namespace GaussianBlur
}  // namespace Ostrivane
