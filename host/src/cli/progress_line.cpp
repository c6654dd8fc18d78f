#include "cli/progress_line.h"

#include <unistd.h>

#include <array>
#include <cstdio>

#include "velmora/logging.h"

namespace velmora::host::cli {
namespace {

constexpr logging::Logger LOGGER("velmora.host.cli");

}  // namespace

ProgressLine::ProgressLine()
    : shown_(isatty(STDERR_FILENO) == 1 && !LOGGER.enabled(logging::Level::debug)) {}

ProgressLine::~ProgressLine() {
  if (shown_) std::fputs("\r\033[K", stderr);
}

void ProgressLine::show(const std::function<std::string(double)>& text) {
  if (!shown_) return;
  const Clock::time_point now = Clock::now();
  if (now < next_) return;
  const std::string line = text(std::chrono::duration<double>(now - start_).count());
  if (line.empty()) return;
  next_ = now + std::chrono::milliseconds(100);
  std::fputs(("\r\033[K" + line).c_str(), stderr);
}

std::string rate_text(double done, double left, const std::string& things, double seconds) {
  const double rate = done / seconds;
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%.0f %s/s, %.0f s left", rate, things.c_str(),
                left / rate);
  return text.data();
}

}  // namespace velmora::host::cli
