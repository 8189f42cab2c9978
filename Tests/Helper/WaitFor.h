// Bounded waiting for the threaded tests: a condition that does not come true
// in time is a hang, so the program stops instead of leaving blocked threads.
#pragma once

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
