#pragma once

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

// Runs each body on a thread and waits for all. None begins before all are ready.
// Not by std::latch, which on Windows may miss a wake-up in the library of g++ 12.
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
