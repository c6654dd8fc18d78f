// Threads that make calls, a bounded number of them, so that one that hangs keeps no other waiting.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace velmora::host::agent {

class CallPool {
 public:
  // Starts none: each is started when there is something to do and no other is free.
  explicit CallPool(std::size_t most_threads) : most_threads_(most_threads) {}
  CallPool(const CallPool&) = delete;
  CallPool& operator=(const CallPool&) = delete;

  // Waits for what has begun; what has not never does.
  ~CallPool();

  // `work` is done by one of the threads, in order of arrival, and throws nothing.
  void add(std::function<void()> work);

  // Waits until all is done, at most so long.
  void wait(std::chrono::milliseconds longest);

 private:
  void run();

  const std::size_t most_threads_;
  std::mutex mutex_;
  std::condition_variable has_work_, is_idle_;
  std::deque<std::function<void()>> waiting_;
  std::size_t busy_ = 0;
  bool stopped_ = false;
  std::vector<std::thread> threads_;
};

}  // namespace velmora::host::agent
