#include "velmora/logging.h"

#include <mutex>
#include <utility>

namespace velmora::logging {
namespace {

constexpr int NOTHING = static_cast<int>(Level::error) + 1;

// The sink and its lock, made at first use so that logging works during static initialisation.
struct Holder {
  std::mutex lock;
  std::shared_ptr<Sink> sink;
};

Holder& holder() {
  static Holder instance;
  return instance;
}

std::string_view level_name(Level level) {
  switch (level) {
    case Level::debug:
      return "DEBUG";
    case Level::info:
      return "INFO";
    case Level::warning:
      return "WARNING";
    case Level::error:
      return "ERROR";
  }
  return "UNKNOWN";
}

void append_causes(std::string& text, const std::exception_ptr& error) {
  text += "\n  caused by: ";
  try {
    std::rethrow_exception(error);
  } catch (const std::exception& exception) {
    text += exception.what();
    try {
      std::rethrow_if_nested(exception);
    } catch (...) {
      append_causes(text, std::current_exception());
    }
  } catch (...) {
    text += "an error that is no std::exception";
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

std::string format(const Record& record) {
  std::string text(level_name(record.level));
  text.append(" ").append(record.logger).append(": ").append(record.message);
  if (record.error) append_causes(text, record.error);
  return text;
}

}  // namespace velmora::logging
