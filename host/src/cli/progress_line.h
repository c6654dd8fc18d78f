// One line on the terminal about work that takes a while: what it is, how far, and how long still.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

namespace velmora::host::cli {

// Shows nothing when standard error is no terminal, nor one that cannot clear a line, nor among the
// lines of a verbose log. Otherwise the line comes after half a second, and while nothing is known
// of how far the work is, it tells the seconds since it began. There is one at a time.
class ProgressLine {
 public:
  // `what` is a few words in ASCII: "Reading the index".
  explicit ProgressLine(std::string what);
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;
  ~ProgressLine();

  // Something else begins, and is timed anew.
  void begin(std::string what);

  // How far it is: what `text` makes of the seconds since it began. Cheap enough to be called at
  // every step. One thread calls this and begin().
  void show(const std::function<std::string(double seconds)>& text);

 private:
  using Clock = std::chrono::steady_clock;

  void draw_until_stopped();
  void draw();

  const bool shown_;
  Clock::time_point next_;  // of show()

  std::mutex mutex_;
  std::condition_variable stopped_changed_;
  bool stopped_ = false;
  std::string what_;
  std::string text_;
  Clock::time_point start_;

  std::thread thread_;
};

// Clears the line that is on the screen, if one is; it comes back with the next step of its work.
// May be called by the handler of a signal.
void hide_progress_line() noexcept;

// How long work goes on of which the part `done` of `total` took `seconds`, if it goes on like
// this: "7 s left", "about 45 s left", "about 3 min left", "about 2 h left", rounded up. Empty when
// that means nothing: in the first two seconds, before anything is done, and where it is days.
[[nodiscard]] std::string time_left(double done, double total, double seconds);

// "120 files/s, 7 s left": a number done in so many seconds, and what time_left says of it.
[[nodiscard]] std::string rate_text(double done, double left, const std::string& things,
                                    double seconds);

}  // namespace velmora::host::cli
