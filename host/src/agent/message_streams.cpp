#include "agent/message_streams.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace velmora::host::agent {
namespace {

constexpr std::size_t READ_AT_ONCE = 64 << 10;
// What a long line took is given back with the next one.
constexpr std::size_t KEPT = 1 << 20;

// Whoever holds the other end may have made it one that never waits.
void wait_for(int descriptor, short event) {
  pollfd ready{descriptor, event, 0};
  static_cast<void>(::poll(&ready, 1, -1));
}

}  // namespace

MessageReader::State MessageReader::next() {
  while (true) {
    const State state = begin_line();
    if (state != State::line) return state;
    if (line_.find_first_not_of(" \t\r") != std::string::npos) return state;
  }
}

MessageReader::State MessageReader::begin_line() {
  line_.clear();
  if (line_.capacity() > KEPT) line_.shrink_to_fit();
  bool is_too_long = false;
  while (true) {
    const std::size_t end = ahead_.find('\n', taken_);
    const bool is_whole = end != std::string::npos;
    const std::size_t size = (is_whole ? end : ahead_.size()) - taken_;
    is_too_long = is_too_long || line_.size() + size > longest_;
    if (is_too_long) {
      line_.clear();
    } else {
      line_.append(ahead_, taken_, size);
    }
    taken_ += size + (is_whole ? 1 : 0);
    if (is_whole) return is_too_long ? State::too_long : State::line;
    if (!fill()) {
      if (is_too_long) return State::too_long;
      return line_.empty() ? State::end : State::line;
    }
  }
}

// Reads on, once all was taken. False at the end.
bool MessageReader::fill() {
  ahead_.resize(READ_AT_ONCE);
  taken_ = 0;
  while (true) {
    const ssize_t count = ::read(input_, ahead_.data(), ahead_.size());
    if (count >= 0) {
      ahead_.resize(static_cast<std::size_t>(count));
      return count > 0;
    }
    if (errno == EAGAIN) {
      wait_for(input_, POLLIN);
    } else if (errno != EINTR) {
      ahead_.clear();
      throw std::system_error(errno, std::generic_category(), "The messages cannot be read");
    }
  }
}

void MessageWriter::write(std::string_view line) {
  const std::lock_guard lock(mutex_);
  while (!line.empty() && !is_broken_) {
    const ssize_t count = ::write(output_, line.data(), line.size());
    if (count >= 0) {
      line.remove_prefix(static_cast<std::size_t>(count));
    } else if (errno == EAGAIN) {
      wait_for(output_, POLLOUT);
    } else if (errno != EINTR) {
      is_broken_ = true;
    }
  }
  if (is_broken_) throw NobodyListens();
}

}  // namespace velmora::host::agent
