#include "indexing/bounded_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <utility>

namespace velmora::host::indexing {
namespace {

using State = BoundedFile::State;

// Reads until `text` is full or the file ends. Whether nothing went wrong.
bool fill(int descriptor, std::string& text) {
  std::size_t filled = 0;
  while (filled < text.size()) {
    const ssize_t count = ::read(descriptor, text.data() + filled, text.size() - filled);
    if (count == 0) break;
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return false;
    filled += static_cast<std::size_t>(count);
  }
  text.resize(filled);
  return true;
}

// Opens `name` and has `read` read it, given its size, when it is a regular file.
template <class Read>
BoundedFile open_and(int folder, const std::string& name, Links links, Read&& read) {
  const int flags = O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
  const int descriptor =
      ::openat(folder, name.c_str(), links == Links::refuse ? flags | O_NOFOLLOW : flags);
  if (descriptor < 0) {
    return {errno == ENOENT || errno == ENOTDIR ? State::absent : State::unfit};
  }
  struct stat status {};
  const bool is_regular = ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
  BoundedFile file = is_regular ? read(descriptor, static_cast<std::uintmax_t>(status.st_size))
                                : BoundedFile{State::unfit};
  ::close(descriptor);
  return file;
}

}  // namespace

BoundedFile read_bounded(int folder, const std::string& name, std::size_t largest, Links links) {
  return open_and(folder, name, links, [&](int descriptor, std::uintmax_t size) -> BoundedFile {
    if (size > largest) return {State::too_large};
    // One byte more, so that the end of the file is seen.
    std::string text(static_cast<std::size_t>(size) + 1, '\0');
    if (!fill(descriptor, text)) return {State::unfit};
    return {State::read, std::move(text)};
  });
}

BoundedFile read_beginning(int folder, const std::string& name, std::size_t count, Links links) {
  return open_and(folder, name, links, [&](int descriptor, std::uintmax_t) -> BoundedFile {
    std::string text(count, '\0');
    if (!fill(descriptor, text)) return {State::unfit};
    return {State::read, std::move(text)};
  });
}

}  // namespace velmora::host::indexing
