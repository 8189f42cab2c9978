#include "Semaphore.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <memory>
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

    // Starts one more waiter and returns once it is blocked, so the arrival
    // order is the order of the calls.
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

TEST(Semaphore, BlocksOnlyOnceTheCountIsSpent) {
    Semaphore semaphore(2);
    semaphore.wait();
    semaphore.wait();
    semaphore.signal(0);
    EXPECT_EQ(semaphore.waiters(), 0);  // passing waits are not counted

    // addBlocked would time out had a unit been left over.
    Waiters waiters(semaphore);
    waiters.addBlocked();
    EXPECT_TRUE(waiters.released().empty());
    semaphore.signal();
    waiters.waitForReleased(1);
    WaitFor([&] { return semaphore.waiters() == 0; }, "the waiter to leave");
}

TEST(Semaphore, ReleasesLastArrivalFirst) {
    Semaphore semaphore(0);
    Waiters waiters(semaphore);
    for (int i = 0; i < 3; ++i) waiters.addBlocked();  // ids 0, 1, 2 in arrival order
    for (size_t i = 1; i <= 3; ++i) {
        semaphore.signal();
        waiters.waitForReleased(i);
    }
    EXPECT_EQ(waiters.released(), (std::vector<int>{2, 1, 0}));
}

TEST(Semaphore, SignalAllReleasesEveryBlockedWaiterAndNoUnitIsLeft) {
    Semaphore semaphore(0);
    {
        Waiters waiters(semaphore);
        for (int i = 0; i < 3; ++i) waiters.addBlocked();
        semaphore.signalAll();
        waiters.waitForReleased(3);
    }
    // With nobody blocked it releases nothing and adds no unit: the next wait blocks.
    semaphore.signalAll();
    Waiters late(semaphore);
    late.addBlocked();
    semaphore.signal();
    late.waitForReleased(1);
}
