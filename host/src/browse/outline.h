// The symbols of a file or folder in order, those that stand in others beneath them.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "browse/limited_text.h"
#include "velmora/host/index/index.h"
#include "velmora/host/index/symbol.h"

namespace velmora::host::browse {

struct OutlineEntry {
  index::Symbol symbol;
  std::size_t depth = 0;  // in how many others of the outline it stands
};

struct Outline {
  std::vector<OutlineEntry> entries = {};  // by path, first line, outer before inner
  std::size_t total = 0;                   // symbols in all
  std::size_t files = 0;                   // with symbols
};

// The first `limit` symbols of what the index has at `place`, a path as the index writes it.
[[nodiscard]] Outline outline_of(index::Index& index, const std::string& place, std::size_t limit);

// A line with the path of each file, and beneath it one for each of its symbols, indented by depth:
// "  48-55  method Store.size() -> int".
[[nodiscard]] LimitedText outline_text(const Outline& outline,
                                       std::size_t most_characters = EVERY_CHARACTER);

}  // namespace velmora::host::browse
