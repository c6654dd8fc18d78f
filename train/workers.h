// Threads that share out work.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace velmora::train {

class Workers {
 public:
  // 0 threads: one for each processor.
  explicit Workers(unsigned threads = 0);
  ~Workers();

  // Calls `work` once for each number below `count`, on several threads, and waits until all have
  // returned. Which thread takes which number is chance: a result that must not depend on it is
  // kept by number. The first error is thrown, after the rest has been left undone.
  // One thread uses a Workers at a time.
  void run(std::size_t count, const std::function<void(std::size_t)>& work);

 private:
  void serve();
  void take_numbers(std::unique_lock<std::mutex>& lock);

  std::mutex lock_;  // guards everything below
  std::condition_variable begun_;
  std::condition_variable ended_;
  const std::function<void(std::size_t)>* work_ = nullptr;
  std::size_t next_ = 0;
  std::size_t count_ = 0;
  std::size_t busy_ = 0;
  std::exception_ptr error_;
  bool stopping_ = false;
  std::vector<std::jthread> threads_;  // the last member: its threads use the others
};

}  // namespace velmora::train
