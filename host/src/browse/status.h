// What an index holds, and how it stands to its tree.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "browse/limited_text.h"
#include "index/catalog.h"
#include "upkeep/tree_changes.h"
#include "velmora/host/index/index.h"
#include "velmora/host/indexing/file_list.h"

namespace velmora::host::browse {

struct Status {
  std::filesystem::path file = {};  // the index
  std::filesystem::path root = {};  // what it is of; empty: not a repository's
  std::int64_t bytes = 0;           // of the index on the disk, its log included
  bool made_here = false;           // Index::made_here
  bool same_reader = false;         // this velmora reads sources as the one that made it did
  index::Summary summary = {};
  std::vector<indexing::Skipped> left_out = {};  // files, and folders if `tree` is known; by path
  std::optional<upkeep::TreeChanges> tree = {};  // nothing: an import, or not a repository's
};

// The state of the index that was opened from `file`, an absolute path. Nothing is written; files
// of the tree that seem to have changed are read. Throws IndexError, SettingsError, and
// std::filesystem::filesystem_error when the tree cannot be read.
[[nodiscard]] Status status_of(index::Index& index, const std::filesystem::path& file);

// A line for each part. Long lists are cut and counted; `every` leaves nothing out.
[[nodiscard]] LimitedText status_text(const Status& status, bool every = false,
                                      std::size_t most_characters = EVERY_CHARACTER);

// A moment as people and programs read it: "2026-08-01T12:00:05Z".
[[nodiscard]] std::string utc_time(std::int64_t seconds_since_1970);

}  // namespace velmora::host::browse
