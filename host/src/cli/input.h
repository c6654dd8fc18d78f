// The lines of a command's input: a file, or standard input for "-".
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace velmora::host::cli {

class Input {
 public:
  // The longest line that is taken, in bytes.
  static constexpr std::size_t LONGEST_LINE = std::size_t{4} << 20;

  // Throws std::runtime_error when the file cannot be opened.
  explicit Input(const std::string& name);
  Input(const Input&) = delete;
  Input& operator=(const Input&) = delete;
  ~Input();

  // The next line that holds more than white space, or nothing at the end of the input. Throws
  // std::runtime_error for a line that is too long, and when the input cannot be read on: what came
  // so far is not all of it then.
  [[nodiscard]] std::optional<std::string> next_line();

  // The bytes of the lines so far, and of the whole input if that is known: it is a file.
  [[nodiscard]] std::uintmax_t bytes_read() const { return bytes_read_; }
  [[nodiscard]] std::optional<std::uintmax_t> size() const;

  // The number of the line that was read last; every line counts, from 1.
  [[nodiscard]] std::int64_t line_number() const { return line_number_; }

 private:
  bool fill();
  bool read_line(std::string& line);

  const std::string name_;  // as messages call it
  const int file_;
  std::int64_t line_number_ = 0;
  std::uintmax_t bytes_read_ = 0;
  std::string buffer_;
  std::size_t at_ = 0;  // in the buffer
};

}  // namespace velmora::host::cli
