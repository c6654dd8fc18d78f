#include "indexing/bounded_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>

namespace velmora::host::indexing {
namespace {

using State = BoundedFile::State;

BoundedFile read_open(int descriptor, std::size_t largest) {
  struct stat status {};
  if (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) return {State::unfit};
  if (static_cast<std::uintmax_t>(status.st_size) > largest) return {State::too_large};
  // One byte more, so that the end of the file is seen.
  std::string text(static_cast<std::size_t>(status.st_size) + 1, '\0');
  std::size_t filled = 0;
  while (filled < text.size()) {
    const ssize_t count = ::read(descriptor, text.data() + filled, text.size() - filled);
    if (count == 0) break;
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return {State::unfit};
    filled += static_cast<std::size_t>(count);
  }
  text.resize(filled);
  return {State::read, std::move(text)};
}

}  // namespace

BoundedFile read_bounded(int folder, const std::string& name, std::size_t largest, Links links) {
  const int flags = O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
  const int descriptor =
      ::openat(folder, name.c_str(), links == Links::refuse ? flags | O_NOFOLLOW : flags);
  if (descriptor < 0) {
    return {errno == ENOENT || errno == ENOTDIR ? State::absent : State::unfit};
  }
  BoundedFile file = read_open(descriptor, largest);
  ::close(descriptor);
  return file;
}

}  // namespace velmora::host::indexing
