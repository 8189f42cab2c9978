// Bounded waiting for the threaded tests: a condition that does not come true
// in time is a hang, so the program stops instead of leaving blocked threads.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>

template <typename Predicate>
void WaitFor(Predicate done, const char* what) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!done()) {
        if (std::chrono::steady_clock::now() > deadline) {
            std::fprintf(stderr, "timed out waiting for: %s\n", what);
            std::abort();
        }
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
}

// Runs body on a thread of its own and stops the program if it does not
// return in time, for calls that would deadlock if a lock were left taken.
template <typename Body>
void RunBounded(Body body, const char* what) {
    std::atomic<bool> done(false);
    std::thread thread([&] {
        body();
        done = true;
    });
    WaitFor([&] { return done.load(); }, what);
    thread.join();
}
