// How the contract tests call a host from several threads at once.
#pragma once

#include <gtest/gtest.h>

#include <exception>
#include <functional>
#include <latch>
#include <thread>
#include <vector>

namespace velmora::contract {

inline constexpr unsigned THREADS = 4;

// Runs `work` on THREADS threads, which begin together and are numbered from 0, and waits for their
// end. What one of them throws fails the test.
inline void on_threads(const std::function<void(unsigned thread)>& work) {
  std::latch start(THREADS);
  std::vector<std::jthread> threads;
  for (unsigned thread = 0; thread < THREADS; ++thread) {
    threads.emplace_back([&start, &work, thread] {
      start.arrive_and_wait();
      try {
        work(thread);
      } catch (const std::exception& error) {
        ADD_FAILURE() << "A call from one of several threads threw: " << error.what();
      }
    });
  }
}

}  // namespace velmora::contract
