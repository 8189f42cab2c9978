#include "IdleQueue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "Helper/WaitFor.h"

using Ostrivane::GaussianBlur::IdleQueue;

namespace {

// A callable whose copies throw once the allowance is spent; moves never throw.
struct ThrowsOnCopy {
    explicit ThrowsOnCopy(int copiesAllowed) : copiesLeft(std::make_shared<int>(copiesAllowed)) {}
    ThrowsOnCopy(const ThrowsOnCopy& other) : copiesLeft(other.copiesLeft) {
        if ((*copiesLeft)-- <= 0) throw std::runtime_error("copy refused");
    }
    ThrowsOnCopy(ThrowsOnCopy&&) noexcept = default;
    void operator()() const {}
    std::shared_ptr<int> copiesLeft;
};

// After a failure the queue still takes and runs a new task.
void expectStillUsable(IdleQueue& queue) {
    bool ran = false;
    queue.async([&] { ran = true; });
    queue.updateQueue();
    EXPECT_TRUE(ran);
}

}  // namespace

TEST(IdleQueue, RunsOneTaskPerUpdateOldestFirst) {
    IdleQueue queue;
    EXPECT_FALSE(queue.hasTask());
    queue.updateQueue();  // empty: returns, runs nothing

    std::string log;
    for (char c : {'a', 'b', 'c'}) queue.async([&log, c] { log += c; });
    for (const char* expected : {"a", "ab", "abc", "abc"}) {
        EXPECT_EQ(queue.hasTask(), log != "abc");
        queue.updateQueue();
        EXPECT_EQ(log, expected);
    }
}

TEST(IdleQueue, TaskMayUseItsOwnQueue) {
    IdleQueue queue;
    std::string log;
    RunBounded(
        [&] {
            queue.async([&] {
                log += 'a';
                queue.async([&] { log += 'b'; });
                log += queue.hasTask() ? '+' : '-';
            });
            queue.updateQueue();
            EXPECT_EQ(log, "a+");  // the posted task waits for a later update
            queue.updateQueue();
            EXPECT_EQ(log, "a+b");

            // A task draining the queue from inside runs the later task nested.
            queue.async([&] {
                queue.async([&] { log += 'd'; });
                queue.updateQueue();
                log += 'c';
            });
            queue.updateQueue();
            EXPECT_EQ(log, "a+bdc");
            EXPECT_FALSE(queue.hasTask());
        },
        "a task that uses its own queue");
}

TEST(IdleQueue, ThrowingTaskIsRemovedAndQueueStaysUsable) {
    IdleQueue queue;
    int thrown = 0;
    std::string log;
    queue.async([&] {
        ++thrown;
        throw std::runtime_error("task failed");
    });
    queue.async([&] { log += 'n'; });
    RunBounded(
        [&] {
            EXPECT_THROW(queue.updateQueue(), std::runtime_error);
            EXPECT_TRUE(queue.hasTask());
            queue.updateQueue();
            EXPECT_EQ(log, "n");
            EXPECT_FALSE(queue.hasTask());
            queue.updateQueue();
        },
        "the queue after a throwing task");
    EXPECT_EQ(thrown, 1);
}

TEST(IdleQueue, FailedCopyInAsyncLeavesQueueUnchangedAndUnlocked) {
    IdleQueue queue;
    ThrowsOnCopy callable(0);
    std::function<void()> task(std::move(callable));
    RunBounded(
        [&] {
            EXPECT_THROW(queue.async(task), std::runtime_error);
            EXPECT_FALSE(queue.hasTask());
            expectStillUsable(queue);
        },
        "the queue after a failed copy");
}

TEST(IdleQueue, ClearAndDestructorDropTasksWithoutRunning) {
    auto token = std::make_shared<int>(0);
    int runs = 0;
    {
        IdleQueue queue;
        queue.async([token, &runs] { ++runs; });
        queue.async([token, &runs] { ++runs; });
        EXPECT_EQ(token.use_count(), 3);
        queue.clearAsyncQueue();
        EXPECT_EQ(token.use_count(), 1);  // the dropped tasks are destroyed
        EXPECT_FALSE(queue.hasTask());
        queue.updateQueue();
        EXPECT_EQ(runs, 0);

        queue.async([&runs] { runs += 10; });
        queue.updateQueue();
        EXPECT_EQ(runs, 10);

        queue.async([token, &runs] { ++runs; });
        EXPECT_EQ(token.use_count(), 2);
    }
    EXPECT_EQ(token.use_count(), 1);
    EXPECT_EQ(runs, 10);
}

TEST(IdleQueue, SeveralProducersOneConsumerLoseNothing) {
    constexpr int kProducers = 4;
    constexpr int kTasksEach = 2000;
    IdleQueue queue;
    // Written only by tasks, which all run on the consumer thread.
    std::vector<std::vector<int>> seen(kProducers);
    int total = 0;

    std::vector<std::thread> producers;
    for (int p = 0; p < kProducers; ++p) {
        producers.emplace_back([&, p] {
            for (int i = 0; i < kTasksEach; ++i) {
                queue.async([&seen, &total, p, i] {
                    seen[p].push_back(i);
                    ++total;
                });
                queue.hasTask();
            }
        });
    }
    std::atomic<bool> finished(false);
    std::thread consumer([&] {
        while (total < kProducers * kTasksEach) queue.updateQueue();
        finished = true;
    });
    for (auto& producer : producers) producer.join();
    WaitFor([&] { return finished.load(); }, "the consumer to run every task");
    consumer.join();

    EXPECT_EQ(total, kProducers * kTasksEach);
    for (int p = 0; p < kProducers; ++p) {
        ASSERT_EQ(seen[p].size(), static_cast<size_t>(kTasksEach)) << "producer " << p;
        // One producer posts in sequence, so its tasks run in that sequence.
        for (int i = 0; i < kTasksEach; ++i) ASSERT_EQ(seen[p][i], i) << "producer " << p;
    }
}
