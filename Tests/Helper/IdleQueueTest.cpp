#include "IdleQueue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "Helper/WaitFor.h"

using Ostrivane::GaussianBlur::IdleQueue;

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
