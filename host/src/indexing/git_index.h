// The list of tracked files that git keeps in its index.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace velmora::host::indexing {

// Paths relative to the top of the work tree, sorted. Each is one that can stand below the top: no
// part of it is empty, ".", ".." or ".git".
struct TrackedPaths {
  std::vector<std::string> files = {};         // one with conflicts is there once a side
  std::vector<std::string> repositories = {};  // the folders of submodules
};

// Reads `index` in `git_folder`, without running git: versions 2 to 4, of either size of object
// names, split in two files or not. Folders that a sparse checkout leaves out are passed over.
// Empty when there is no index yet; nothing when it cannot be used: it is damaged, not a regular
// file, larger than 128 MiB, or expands to more than that in paths. The checksum is not looked at:
// damage that leaves the form whole changes names and no more.
[[nodiscard]] std::optional<TrackedPaths> read_git_index(const std::filesystem::path& git_folder);

}  // namespace velmora::host::indexing
