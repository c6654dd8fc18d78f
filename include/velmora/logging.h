// Logging for a library that never prints: named loggers hand their records to one sink, which the
// host sets. Without a sink nothing is written and nothing is formatted.
//
// Every function here may be called from any thread at any time.
#pragma once

#include <atomic>
#include <exception>
#include <memory>
#include <string>
#include <string_view>

#include "velmora/export.h"

namespace velmora::logging {

// Ascending severity.
enum class Level { debug, info, warning, error };

// One log line. The views live until `Sink::write` returns; a sink that keeps them copies.
struct Record {
  std::string_view logger;     // the logger's name, for instance "velmora.workers.retrieval"
  Level level = Level::debug;  // how severe it is
  std::string_view message;    // UTF-8, one line
  std::exception_ptr error;    // the error behind the line, or null
};

// Where log lines go.
//
// `write` is called on the thread that logs, from several threads at once, and possibly while the
// retriever's build lock is held: it must be quick, must not ask a retriever, and must not throw.
class VELMORA_API Sink {
 public:
  virtual ~Sink() = default;
  // Takes a record, whose views it copies if it keeps them.
  virtual void write(const Record& record) noexcept = 0;
};

// Sends records of at least `least` to `sink` from now on; a null sink (the state at start) writes
// nothing. The replaced sink may still be finishing a `write` on another thread and is destroyed
// after it.
VELMORA_API void set_sink(std::shared_ptr<Sink> sink, Level least = Level::info);

// The message, then for an attached error a line "  caused by: " for it and for each exception
// nested in it, outermost first, of which 32 are shown. No final line break.
[[nodiscard]] VELMORA_API std::string message_with_causes(const Record& record);

// The default text of a record: "WARNING velmora.workers.retrieval: " and the message with causes.
[[nodiscard]] VELMORA_API std::string format(const Record& record);

namespace internal {
// The least level that is written; one above every level while there is no sink.
VELMORA_API extern std::atomic<int> threshold;
VELMORA_API void write(const Record& record);
}  // namespace internal

// A named source of records. Cheap to copy; the name must have static storage.
class VELMORA_API Logger {
 public:
  // `name` says where records are from, for instance "velmora.workers.retrieval".
  explicit constexpr Logger(std::string_view name) : name_(name) {}

  // The name given.
  [[nodiscard]] constexpr std::string_view name() const { return name_; }

  // Whether the sink takes records of this level.
  [[nodiscard]] bool enabled(Level level) const {
    return static_cast<int>(level) >= internal::threshold.load(std::memory_order_relaxed);
  }

  // Writes what `make_message` returns; it is called only when the level is enabled.
  template <class MakeMessage>
  void log(Level level, MakeMessage&& make_message, std::exception_ptr error = nullptr) const {
    if (!enabled(level)) return;
    const std::string message(make_message());
    internal::write({name_, level, message, std::move(error)});
  }

 private:
  std::string_view name_;
};

}  // namespace velmora::logging
