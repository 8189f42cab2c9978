#include "IdleQueue.h"

#include <gtest/gtest.h>

#include <numeric>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "Helper/WaitFor.h"

using Ostrivane::GaussianBlur::IdleQueue;

// One task an update, oldest first; a task that throws is gone all the same. Bounded: a lock left
// taken (or never given) hangs the next call.
TEST(IdleQueue, RunsOneTaskPerUpdateOldestFirstAndDropsOneThatThrows) {
    RunBounded(
        [] {
            IdleQueue queue;
            EXPECT_FALSE(queue.hasTask());
            queue.updateQueue();  // empty: returns, runs nothing
            std::string log;
            queue.async([&log] { log += 'a'; });
            queue.async([] { throw std::runtime_error("task failed"); });
            queue.async([&log] { log += 'c'; });
            queue.updateQueue();
            EXPECT_EQ(log, "a");
            EXPECT_THROW(queue.updateQueue(), std::runtime_error);
            EXPECT_TRUE(queue.hasTask());
            queue.updateQueue();
            EXPECT_EQ(log, "ac");
            EXPECT_FALSE(queue.hasTask());
            queue.updateQueue();
            EXPECT_EQ(log, "ac");
        },
        "the queue's updates");
}

TEST(IdleQueue, SeveralProducersOneConsumerLoseNothing) {
    constexpr int kProducers = 4, kTasksEach = 2000;
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
    RunBounded(
        [&] {
            while (total < kProducers * kTasksEach) queue.updateQueue();
        },
        "the consumer to run every task");
    for (auto& producer : producers) producer.join();
    // One producer posts in sequence, so its tasks run in that sequence.
    std::vector<int> inOrder(kTasksEach);
    std::iota(inOrder.begin(), inOrder.end(), 0);
    for (int p = 0; p < kProducers; ++p) EXPECT_TRUE(seen[p] == inOrder) << "producer " << p;
}
