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

// Tasks posted from several threads while the consumer runs them: none lost, each thread's in its order.
TEST(IdleQueue, SeveralProducersOneConsumerLoseNothing) {
    constexpr int kTasksEach = 2000;
    IdleQueue queue;
    std::vector<int> seen[3];  // written only by tasks, which all run on the consumer thread
    std::vector<std::thread> producers;
    for (int p = 0; p < 3; ++p) {
        producers.emplace_back([&, p] {
            for (int i = 0; i < kTasksEach; ++i) queue.async([&seen, p, i] { seen[p].push_back(i); });
        });
    }
    RunBounded(
        [&] {
            while (seen[0].size() + seen[1].size() + seen[2].size() < 3 * kTasksEach) queue.updateQueue();
        },
        "the consumer to run every task");
    for (auto& producer : producers) producer.join();
    std::vector<int> inOrder(kTasksEach);
    std::iota(inOrder.begin(), inOrder.end(), 0);
    for (const auto& one : seen) EXPECT_TRUE(one == inOrder);
}
