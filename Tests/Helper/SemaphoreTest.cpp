#include "Semaphore.h"

#include <gtest/gtest.h>

#include <mutex>
#include <thread>
#include <vector>

#include "Helper/WaitFor.h"

using Ostrivane::GaussianBlur::Semaphore;

namespace {

// Threads that each wait once on a semaphore and note, in order, who got through.
class Waiters {
public:
    explicit Waiters(Semaphore& semaphore) : mSemaphore(semaphore) {}
    ~Waiters() {
        for (auto& thread : mThreads) thread.join();
    }

    // Starts one more waiter and returns once it is blocked (it times out where the waiter found a
    // unit left), so the arrival order is the order of the calls.
    void addBlocked() {
        const int64_t before = mSemaphore.waiters();
        const int id = static_cast<int>(mThreads.size());
        mThreads.emplace_back([this, id] {
            mSemaphore.wait();
            std::lock_guard<std::mutex> lock(mMutex);
            mReleased.push_back(id);
        });
        WaitFor([&] { return mSemaphore.waiters() == before + 1; }, "a waiter to block");
    }

    std::vector<int> released() {
        std::lock_guard<std::mutex> lock(mMutex);
        return mReleased;
    }

    void waitForReleased(size_t count) {
        WaitFor([&] { return released().size() == count; }, "waiters to get through");
    }

private:
    Semaphore& mSemaphore;
    std::vector<std::thread> mThreads;
    std::mutex mMutex;
    std::vector<int> mReleased;
};

}  // namespace

// Waits pass while the count lasts and are not counted as waiters; then they block, and a signal
// releases the last arrival first; signalAll releases every blocked waiter and, with nobody
// blocked, adds no unit.
TEST(Semaphore, BlocksOnceTheCountIsSpentAndReleasesLastArrivalFirst) {
    Semaphore semaphore(2);
    RunBounded(
        [&] {
            semaphore.wait();
            semaphore.wait();
        },
        "two waits on a count of two");
    semaphore.signal(0);
    EXPECT_EQ(semaphore.waiters(), 0);

    Waiters waiters(semaphore);
    for (int i = 0; i < 4; ++i) waiters.addBlocked();  // ids 0 to 3 in arrival order
    for (size_t i = 1; i <= 2; ++i) {
        semaphore.signal();
        waiters.waitForReleased(i);
    }
    EXPECT_EQ(waiters.released(), (std::vector<int>{3, 2}));
    semaphore.signalAll();
    waiters.waitForReleased(4);
    WaitFor([&] { return semaphore.waiters() == 0; }, "the waiters to leave");

    semaphore.signalAll();
    waiters.addBlocked();
    semaphore.signal();
    waiters.waitForReleased(5);
}
