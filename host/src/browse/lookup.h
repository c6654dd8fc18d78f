// Finds the symbols that somebody means: by name, by place or by id.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "index/catalog.h"
#include "velmora/host/index/index.h"

namespace velmora::host::browse {

// From where somebody names paths.
struct Viewpoint {
  std::filesystem::path root = {};    // of the tree; empty: not known
  std::filesystem::path folder = {};  // where they stand; empty: at the root
  // Both are absolute and without links.
};

// What the index has at `path`, which is absolute, or relative to the viewpoint's folder or else to
// the root: that one file or folder ("" is the root). Else the files whose paths end with it, by
// path, a few of them. Asks the disk for nothing but the links that an absolute path may go
// through.
[[nodiscard]] std::vector<std::string> places(const index::Catalog& catalog, std::string_view path,
                                              const Viewpoint& from);

// PATH:LINE or PATH:FIRST-LAST, perhaps with :COLUMN behind it, and a last colon as compilers and
// searches write it.
struct FileLine {
  std::string path;
  std::int64_t line = 0;
  std::int64_t last = 0;  // the same, but for a range
};
[[nodiscard]] std::optional<FileLine> file_line(std::string_view text);

// The symbols that `what` may mean, best first. Chosen::best of them fit equally well: when that is
// 1, it is the one. In this order, the first that is something decides:
//
// - the number of a symbol, perhaps with the @ that symbol_line writes: the one with this id;
// - PATH:LINE: those whose lines include this one, or all of the range, the innermost first, which
//   fits best; of several files that the path may mean, the innermost of each;
// - a name: whose fqn it is, whose name it is, the same in another case, those whose fqn ends with
//   its parts, and that in another case (NameMatch); functions in headers of C and C++ behind
//   others, then by path, line and id. A function with its declarations in headers is one.
[[nodiscard]] index::Chosen look_up(index::Index& index, std::string_view what,
                                    const Viewpoint& from, std::size_t limit);

}  // namespace velmora::host::browse
