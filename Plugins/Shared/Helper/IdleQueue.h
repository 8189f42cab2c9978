// Tasks posted from any thread, run one per updateQueue() on the thread that
// calls it, oldest first. A task's exception reaches the caller of updateQueue
// with the task already removed; no call leaves the queue locked.
//
// Contract: any number of threads may call async() and hasTask(), but only one
// thread at a time may call updateQueue(). clearAsyncQueue() and the destructor
// need the queue to themselves: no other thread in any call on it.
#pragma once

#include <deque>
#include <functional>

namespace Ostrivane {
namespace GaussianBlur {

class Semaphore;

class IdleQueue {
public:
    IdleQueue();
    // Pending tasks are destroyed, not run.
    virtual ~IdleQueue();

    IdleQueue(const IdleQueue&) = delete;
    IdleQueue& operator=(const IdleQueue&) = delete;

    // Queues a copy of task. If the copy throws, the queue is left as it was.
    void async(const std::function<void()>& task);
    // May be out of date by the time the caller looks at it.
    bool hasTask() const;
    // Removes the oldest task and runs it with no lock held, so the task may use
    // this queue; does nothing when the queue is empty. An empty std::function
    // is removed and then throws std::bad_function_call.
    void updateQueue();
    // Drops every pending task without running it.
    void clearAsyncQueue();

private:
    Semaphore* mLock;
    std::deque<std::function<void()>> mTasks;
};

}  // namespace GaussianBlur
}  // namespace Ostrivane
