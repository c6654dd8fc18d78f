// What changed in a tree since it was indexed.
#pragma once

#include <cstddef>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "velmora/host/index/tree_state.h"
#include "velmora/host/indexing/file_list.h"

namespace velmora::host::browse {

struct TreeChanges {
  // Sources, by path, as a refresh would find them.
  std::vector<std::string> added = {};
  std::vector<std::string> changed = {};
  std::vector<std::string> removed = {};
  std::vector<indexing::Skipped> left_out = {};    // folders, by path
  std::map<std::string, std::size_t> others = {};  // files of no known language, by extension

  [[nodiscard]] bool any() const { return !added.empty() || !changed.empty() || !removed.empty(); }
};

// Compares the files under `root` with what the index knows of them. Nothing is written and nothing
// is parsed; files whose size, times or inode are others than the known ones are read. Throws as
// indexing::list_files does.
[[nodiscard]] TreeChanges changes_since(const std::filesystem::path& root,
                                        const index::TreeState& known);

}  // namespace velmora::host::browse
