#include "velmora/logging.h"

#include <array>
#include <mutex>
#include <utility>

namespace velmora::logging {
namespace {

constexpr int NOTHING = static_cast<int>(Level::error) + 1;

// The sink and its lock, made at first use and never destroyed, so that logging works during static
// initialisation and until the very end of the process.
struct Holder {
  std::mutex lock;
  std::shared_ptr<Sink> sink;
};

Holder& holder() {
  static Holder& instance = *new Holder;
  return instance;
}

constexpr std::array<std::string_view, NOTHING> LEVEL_NAMES = {"DEBUG", "INFO", "WARNING", "ERROR"};

// A chain is as deep as the calls that failed; a longer one is one that goes in a circle.
constexpr int MOST_CAUSES = 32;

void append_causes(std::string& text, std::exception_ptr error) {
  for (int causes = 0; error; ++causes) {
    text += "\n  caused by: ";
    if (causes == MOST_CAUSES) {
      text += "...";
      return;
    }
    std::exception_ptr cause;
    try {
      std::rethrow_exception(error);
    } catch (const std::exception& exception) {
      text += exception.what();
      // std::rethrow_if_nested would end the program for one made where no error was handled.
      const auto* const nested = dynamic_cast<const std::nested_exception*>(&exception);
      if (nested != nullptr) cause = nested->nested_ptr();
    } catch (...) {
      text += "an error that is no std::exception";
    }
    error = std::move(cause);
  }
}

}  // namespace

namespace internal {

std::atomic<int> threshold = NOTHING;

void write(const Record& record) {
  std::shared_ptr<Sink> sink;
  {
    const std::lock_guard guard(holder().lock);
    sink = holder().sink;
  }
  if (sink) sink->write(record);
}

}  // namespace internal

void set_sink(std::shared_ptr<Sink> sink, Level least) {
  const std::lock_guard guard(holder().lock);
  internal::threshold.store(sink ? static_cast<int>(least) : NOTHING, std::memory_order_relaxed);
  std::swap(holder().sink, sink);
}

std::string message_with_causes(const Record& record) {
  std::string text(record.message);
  if (record.error) append_causes(text, record.error);
  return text;
}

std::string format(const Record& record) {
  std::string text(LEVEL_NAMES.at(static_cast<std::size_t>(record.level)));
  text.append(" ").append(record.logger).append(": ").append(message_with_causes(record));
  return text;
}

}  // namespace velmora::logging
