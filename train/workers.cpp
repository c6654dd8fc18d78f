#include "workers.h"

#include <algorithm>
#include <utility>

namespace velmora::train {

Workers::Workers(unsigned threads) {
  if (threads == 0) threads = std::max(1U, std::thread::hardware_concurrency());
  for (unsigned i = 1; i < threads; ++i) threads_.emplace_back([this] { serve(); });
}

Workers::~Workers() {
  {
    const std::lock_guard held(lock_);
    stopping_ = true;
  }
  begun_.notify_all();
}

void Workers::run(std::size_t count, const std::function<void(std::size_t)>& work) {
  std::unique_lock held(lock_);
  work_ = &work;
  next_ = 0;
  count_ = count;
  begun_.notify_all();
  take_numbers(held);
  ended_.wait(held, [&] { return busy_ == 0; });
  work_ = nullptr;
  if (error_) std::rethrow_exception(std::exchange(error_, nullptr));
}

void Workers::serve() {
  std::unique_lock held(lock_);
  while (true) {
    begun_.wait(held, [&] { return stopping_ || next_ < count_; });
    if (stopping_) return;
    take_numbers(held);
  }
}

void Workers::take_numbers(std::unique_lock<std::mutex>& lock) {
  ++busy_;
  while (next_ < count_) {
    const std::size_t number = next_++;
    lock.unlock();
    std::exception_ptr error;
    try {
      (*work_)(number);
    } catch (...) {
      error = std::current_exception();
    }
    lock.lock();
    if (error && !error_) error_ = error;
    if (error) next_ = count_;
  }
  if (--busy_ == 0) ended_.notify_all();
}

}  // namespace velmora::train
