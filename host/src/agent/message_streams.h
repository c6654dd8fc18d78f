// The two streams of a conversation: messages come on one, a line each, and go out on the other.
#pragma once

#include <cstddef>
#include <mutex>
#include <stdexcept>
#include <string>
#include <string_view>

namespace velmora::host::agent {

// Reads lines. One thread uses it. Holds one line at most, and what came with its end.
class MessageReader {
 public:
  // `input` stays the caller's.
  explicit MessageReader(int input, std::size_t longest) : input_(input), longest_(longest) {}

  enum class State { line, too_long, end };

  // Waits for the next line that is not blank, or for the end of the input, whose last line needs
  // no break. A longer line than `longest` bytes is passed over. Throws std::system_error when the
  // input cannot be read.
  [[nodiscard]] State next();

  // The line that next() has read, without its break. Until the next call.
  [[nodiscard]] std::string_view line() const { return line_; }

 private:
  [[nodiscard]] State begin_line();
  [[nodiscard]] bool fill();

  const int input_;
  const std::size_t longest_;
  std::string line_;
  std::string ahead_;      // read, and not taken yet
  std::size_t taken_ = 0;  // bytes of it
};

// Nobody reads the messages any more.
class NobodyListens : public std::runtime_error {
 public:
  NobodyListens() : std::runtime_error("nobody reads the messages") {}
};

// Writes messages. Any thread may call; a message is written whole before another begins.
class MessageWriter {
 public:
  // `output` stays the caller's.
  explicit MessageWriter(int output) : output_(output) {}

  // Waits until the whole line is written. Throws NobodyListens, now and ever after.
  void write(std::string_view line);

 private:
  const int output_;
  std::mutex mutex_;
  bool is_broken_ = false;
};

}  // namespace velmora::host::agent
