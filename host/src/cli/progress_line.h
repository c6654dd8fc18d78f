// One line on the terminal that tells how far work is that takes a while.
#pragma once

#include <chrono>
#include <functional>
#include <string>

namespace velmora::host::cli {

// Shows nothing when standard error is no terminal, nor among the lines of a verbose log.
class ProgressLine {
 public:
  ProgressLine();
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;
  ~ProgressLine();

  // Shows what `text` makes of the seconds since the start, unless it is empty or was shown a
  // moment ago.
  void show(const std::function<std::string(double seconds)>& text);

 private:
  using Clock = std::chrono::steady_clock;

  const bool shown_;
  const Clock::time_point start_ = Clock::now();
  // The first moments' rate says nothing about the time left.
  Clock::time_point next_ = start_ + std::chrono::milliseconds(500);
};

// "120 files/s, 7 s left"
[[nodiscard]] std::string rate_text(double done, double left, const std::string& things,
                                    double seconds);

}  // namespace velmora::host::cli
