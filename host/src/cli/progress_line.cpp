#include "cli/progress_line.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <utility>

#include "velmora/logging.h"

namespace velmora::host::cli {
namespace {

constexpr logging::Logger LOGGER("velmora.host.cli");

constexpr std::chrono::milliseconds BEFORE_THE_FIRST{500};
constexpr std::chrono::milliseconds BETWEEN{200};

constexpr std::string_view CLEAR = "\r\033[K";

std::atomic<bool> on_screen = false;

void write_to_terminal(std::string_view text) noexcept {
  static_cast<void>(!::write(STDERR_FILENO, text.data(), text.size()));
}

bool has_terminal() {
  const char* const kind = std::getenv("TERM");
  return ::isatty(STDERR_FILENO) == 1 && (kind == nullptr || std::string_view(kind) != "dumb") &&
         !LOGGER.enabled(logging::Level::debug);
}

// A line that wraps cannot be cleared.
std::size_t width() {
  winsize size{};
  const bool known = ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return known ? size.ws_col - 1U : 79U;
}

}  // namespace

void hide_progress_line() noexcept {
  if (on_screen.exchange(false)) write_to_terminal(CLEAR);
}

ProgressLine::ProgressLine(std::string what) : shown_(has_terminal()) {
  if (!shown_) return;
  begin(std::move(what));
  thread_ = std::thread([this] { draw_until_stopped(); });
}

ProgressLine::~ProgressLine() {
  if (!shown_) return;
  {
    const std::lock_guard lock(mutex_);
    stopped_ = true;
  }
  stopped_changed_.notify_all();
  thread_.join();
  hide_progress_line();
}

void ProgressLine::begin(std::string what) {
  const std::lock_guard lock(mutex_);
  what_ = std::move(what);
  text_.clear();
  start_ = Clock::now();
  // The first moments' rate says nothing about the time left.
  next_ = start_ + BEFORE_THE_FIRST;
}

void ProgressLine::show(const std::function<std::string(double)>& text) {
  if (!shown_) return;
  const Clock::time_point now = Clock::now();
  if (now < next_) return;
  next_ = now + BETWEEN;
  std::string line = text(std::chrono::duration<double>(now - start_).count());
  const std::lock_guard lock(mutex_);
  text_ = std::move(line);
}

void ProgressLine::draw_until_stopped() {
  std::unique_lock lock(mutex_);
  std::chrono::milliseconds pause = BEFORE_THE_FIRST;
  while (!stopped_changed_.wait_for(lock, pause, [&] { return stopped_; })) {
    draw();
    pause = BETWEEN;
  }
}

void ProgressLine::draw() {
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - start_);
  std::string line =
      text_.empty() ? what_ + ", " + std::to_string(seconds.count()) + " s" : what_ + ": " + text_;
  line.resize(std::min(line.size(), width()));
  on_screen = true;
  write_to_terminal(std::string(CLEAR) + line);
}

std::string time_left(double done, double total, double seconds) {
  constexpr double MEANS_NOTHING = 2, MINUTE = 60, HOUR = 3600, DAYS = 48 * HOUR;
  if (seconds < MEANS_NOTHING || done <= 0 || done >= total) return {};
  const double left = (total - done) / done * seconds;
  if (left > DAYS) return {};
  const auto rounded = [&](const char* about, double unit, double step, const char* name) {
    const double units = std::ceil(left / unit / step) * step;
    return about + std::to_string(static_cast<int>(units)) + name + " left";
  };
  if (left <= 10) return rounded("", 1, 1, " s");
  if (left <= MINUTE) return rounded("about ", 1, 5, " s");
  return left <= 90 * MINUTE ? rounded("about ", MINUTE, 1, " min")
                             : rounded("about ", HOUR, 1, " h");
}

std::string rate_text(double done, double left, const std::string& things, double seconds) {
  std::array<char, 64> rate{};
  std::snprintf(rate.data(), rate.size(), "%.0f %s/s", done / seconds, things.c_str());
  const std::string time = time_left(done, done + left, seconds);
  return rate.data() + (time.empty() ? "" : ", " + time);
}

}  // namespace velmora::host::cli
