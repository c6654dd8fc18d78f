// Reads small files that a stranger may have put where the program looks for one.
#pragma once

#include <cstddef>
#include <string>

namespace velmora::host::indexing {

struct BoundedFile {
  enum class State {
    read,
    absent,
    unfit,  // a folder, a pipe, a device, a link that is not to be followed, or unreadable
    too_large,
  };
  State state = State::absent;
  std::string text = {};
};

enum class Links { refuse, follow };

// The content of `name`, looked up in the folder that is open as `folder` (AT_FDCWD: the current
// one), when it is a regular file of at most `largest` bytes. Never waits for a pipe and never
// reads on while a file grows. `links` is about the last part of the name.
[[nodiscard]] BoundedFile read_bounded(int folder, const std::string& name, std::size_t largest,
                                       Links links);

// The first `count` bytes of `name`, or as many as it has, with the same care: its size does not
// matter.
[[nodiscard]] BoundedFile read_beginning(int folder, const std::string& name, std::size_t count,
                                         Links links);

}  // namespace velmora::host::indexing
