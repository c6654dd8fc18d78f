// How the files of a tree differ from what an index of it knows.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "velmora/host/index/tree_state.h"
#include "velmora/host/indexing/file_list.h"
#include "velmora/host/indexing/source_rules.h"

namespace velmora::host::upkeep {

// Sources, by path, as a refresh would find them. One that is left out, now and before, is no
// change; one that is left out now, or read for the first time, comes or goes.
struct TreeChanges {
  std::vector<std::string> added = {};
  std::vector<std::string> changed = {};
  std::vector<std::string> removed = {};
  // So many more are most likely as they were, but only reading them tells, or there is something
  // for the index to note.
  std::size_t unproven = 0;
  std::uintmax_t bytes = 0;  // of what is to be read of all these

  std::size_t sources = 0;                         // that there are now
  std::uintmax_t source_bytes = 0;                 // of them
  std::vector<indexing::Skipped> left_out = {};    // folders, by path
  std::map<std::string, std::size_t> others = {};  // files of no known language, by extension

  [[nodiscard]] bool any() const { return !added.empty() || !changed.empty() || !removed.empty(); }
};

// By what a file is told to have changed.
enum class Evidence {
  system,   // its size, times or inode, unread: a file that was only touched counts as changed
  content,  // files that have others are read
};

// Compares the files under `root` with what is known of them, under the rules for them. Writes and
// parses nothing; lists the tree and asks the system about each source: a hundred thousand files
// take about a second. Throws as indexing::list_files does.
[[nodiscard]] TreeChanges changes_since(const std::filesystem::path& root,
                                        const index::TreeState& known,
                                        const indexing::SourceRules& rules, Evidence evidence);

}  // namespace velmora::host::upkeep
