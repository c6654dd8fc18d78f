// One source file on the disk: whether it still is what is known of it, and its content.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "velmora/host/indexing/repository_scan.h"

namespace velmora::host::indexing {

// A scanned file without its symbols. In the state `read` the content is to be parsed, unless the
// record tells why the file is left out.
struct LookedAt {
  ScannedFile scanned;
  std::string content;
};

// Looks at the file `path` under `root`, whose name and neighbours tell the language `expected`.
// Nothing when it is gone. Content is read when
// size, times or inode are not the known ones.
[[nodiscard]] std::optional<LookedAt> look_at(const std::filesystem::path& root,
                                              const std::string& path, std::string_view expected,
                                              const ScanOptions& options);

// The hash that a record keeps of a file's content. Never 0, which stands for no hash.
[[nodiscard]] std::uint64_t hash_of(std::string_view content);

// Why the link `path` under `root` is not followed, in a few words: it leads out of the tree, or to
// a place in it where the scan comes anyway (two names would make every symbol a double), or to
// nothing.
[[nodiscard]] std::string reason_of_link(const std::filesystem::path& root,
                                         const std::string& path);

}  // namespace velmora::host::indexing
