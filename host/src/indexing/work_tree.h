// Where git keeps what it knows of a folder. Reads a few small files; never runs git, and never
// reads a repository's configuration.
#pragma once

#include <filesystem>
#include <optional>

namespace velmora::host::indexing {

struct WorkTree {
  std::filesystem::path top;            // absolute, without links
  std::filesystem::path git_folder;     // what git keeps of this work tree, its index for one
  std::filesystem::path common_folder;  // what it keeps of all work trees of the repository
};

// Where git keeps what it knows of the repository whose top is `folder`: .git in it, or where a
// file of this name points to. Nothing when there is no such, or what is there is no repository.
[[nodiscard]] std::optional<WorkTree> repository_at(const std::filesystem::path& folder);

// The work tree that `folder` is in: the nearest folder from it upwards, on the same file system,
// that has a repository. The environment does not count, nor who owns what. `folder` is absolute
// and without links.
[[nodiscard]] std::optional<WorkTree> work_tree_around(const std::filesystem::path& folder);

}  // namespace velmora::host::indexing
