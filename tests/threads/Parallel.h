#pragma once

#include <functional>
#include <latch>
#include <thread>
#include <vector>

// Runs the bodies side by side, one thread each, and waits for them all. None begins before all are ready.
inline void InParallel(const std::vector<std::function<void()>>& bodies) {
  std::latch ready(static_cast<std::ptrdiff_t>(bodies.size()));
  std::vector<std::jthread> threads;
  for (const auto& body : bodies) {
    threads.emplace_back([&ready, &body] {
      ready.arrive_and_wait();
      body();
    });
  }
}
