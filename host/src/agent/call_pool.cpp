#include "agent/call_pool.h"

#include <utility>

namespace velmora::host::agent {

CallPool::~CallPool() {
  {
    const std::lock_guard lock(mutex_);
    stopped_ = true;
    waiting_.clear();
  }
  has_work_.notify_all();
  for (std::thread& thread : threads_) thread.join();
}

void CallPool::add(std::function<void()> work) {
  {
    const std::lock_guard lock(mutex_);
    waiting_.push_back(std::move(work));
    if (busy_ + waiting_.size() > threads_.size() && threads_.size() < most_threads_) {
      threads_.emplace_back([this] { run(); });
    }
  }
  has_work_.notify_one();
}

void CallPool::wait(std::chrono::milliseconds longest) {
  std::unique_lock lock(mutex_);
  is_idle_.wait_for(lock, longest, [&] { return busy_ == 0 && waiting_.empty(); });
}

void CallPool::run() {
  std::unique_lock lock(mutex_);
  while (true) {
    has_work_.wait(lock, [&] { return stopped_ || !waiting_.empty(); });
    if (stopped_) return;
    std::function<void()> work = std::move(waiting_.front());
    waiting_.pop_front();
    ++busy_;
    lock.unlock();
    work();
    work = nullptr;  // what it holds goes before it counts as done
    lock.lock();
    --busy_;
    if (busy_ == 0 && waiting_.empty()) is_idle_.notify_all();
  }
}

}  // namespace velmora::host::agent
