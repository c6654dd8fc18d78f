// Input of a command: a file, or standard input for "-".
#pragma once

#include <fstream>
#include <istream>
#include <string>

namespace velmora::host::cli {

class Input {
 public:
  // Throws std::runtime_error when the file cannot be opened.
  explicit Input(const std::string& name);

  [[nodiscard]] std::istream& stream() { return stream_; }

 private:
  std::ifstream file_;
  std::istream& stream_;
};

}  // namespace velmora::host::cli
