// Source lines of what the index holds, as they stand in the work tree now.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "velmora/host/index/index.h"

namespace velmora::host::browse {

// Larger files are not read.
inline constexpr std::size_t MOST_SOURCE_BYTES = std::size_t{16} << 20;

// Lines of a file of the work tree as it is now; of a notebook, the code on them.
struct SourceLines {
  std::int64_t first = 1;          // the number of the first line
  std::vector<std::string> lines;  // without line breaks; any bytes but these
  bool changed = false;            // the file is not what was indexed: the lines may be others
};

// Lines `first` to `last` (from 1, both included, cut to the file) of the indexed file at `path`
// (as the index writes it) below `root`; nothing when it cannot be read. Never follows a link,
// never leaves `root`, reads no more than MOST_SOURCE_BYTES.
//
// What was indexed is told by the hash that the index keeps: the content is at hand, and no clock
// can lie about it. A file of which the index knows no content, as an import's, counts as
// unchanged.
//
// Throws IndexError when the index cannot be asked.
std::optional<SourceLines> read_source(const std::filesystem::path& root, index::Index& index,
                                       std::string_view path, std::int64_t first,
                                       std::int64_t last);

}  // namespace velmora::host::browse
