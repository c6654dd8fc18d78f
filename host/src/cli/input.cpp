#include "cli/input.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <stdexcept>
#include <system_error>

namespace velmora::host::cli {
namespace {

constexpr std::size_t BUFFER = std::size_t{64} << 10;

int open_file(const std::string& name) {
  if (name == "-") return STDIN_FILENO;
  const int file = ::open(name.c_str(), O_RDONLY | O_CLOEXEC);
  if (file >= 0) return file;
  throw std::runtime_error(name + " cannot be opened: " + std::generic_category().message(errno));
}

}  // namespace

Input::Input(const std::string& name)
    : name_(name == "-" ? "Standard input" : name), file_(open_file(name)) {}

Input::~Input() {
  if (file_ != STDIN_FILENO) ::close(file_);
}

std::optional<std::string> Input::next_line() {
  std::string line;
  while (read_line(line)) {
    ++line_number_;
    if (line.find_first_not_of(" \t\r\f\v") != std::string::npos) return line;
  }
  return std::nullopt;
}

std::optional<std::uintmax_t> Input::size() const {
  struct stat status {};
  if (::fstat(file_, &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
  return static_cast<std::uintmax_t>(status.st_size);
}

// Reads on; false at the end of the input. A stream of the standard library would take an error for
// the end.
bool Input::fill() {
  buffer_.resize(BUFFER);
  at_ = 0;
  ssize_t count = 0;
  do {
    count = ::read(file_, buffer_.data(), buffer_.size());
  } while (count < 0 && errno == EINTR);
  if (count < 0) {
    throw std::runtime_error(name_ + " cannot be read: " + std::generic_category().message(errno));
  }
  buffer_.resize(static_cast<std::size_t>(count));
  return count > 0;
}

// The last line needs no line break.
bool Input::read_line(std::string& line) {
  line.clear();
  bool any = false;
  while (at_ < buffer_.size() || fill()) {
    any = true;
    const std::size_t stop = std::min(buffer_.find('\n', at_), buffer_.size());
    line.append(buffer_, at_, stop - at_);
    bytes_read_ += stop - at_;
    at_ = stop;
    if (line.size() > LONGEST_LINE) {
      throw std::runtime_error("line " + std::to_string(line_number_ + 1) + " is longer than " +
                               std::to_string(LONGEST_LINE) + " bytes");
    }
    if (at_ == buffer_.size()) continue;
    ++at_;
    ++bytes_read_;
    return true;
  }
  return any;
}

}  // namespace velmora::host::cli
