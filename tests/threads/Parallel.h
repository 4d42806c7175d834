#pragma once

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

// Runs each body on a thread and waits for all. None begins before all are ready. Does not use std::latch,
// which may miss a wake-up in g++ 12's library on Windows.
inline void InParallel(const std::vector<std::function<void()>>& bodies) {
  std::atomic<std::size_t> ready{0};
  std::vector<std::jthread> threads;
  for (const auto& body : bodies) {
    threads.emplace_back([&ready, &body, all = bodies.size()] {
      ++ready;
      while (ready < all) std::this_thread::yield();
      body();
    });
  }
}
