// How far an index is behind the files that it was made of.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>

#include "velmora/host/index/tree_state.h"
#include "velmora/host/indexing/source_rules.h"

namespace velmora::host::upkeep {

// In source files, as TreeChanges has them by the evidence of the system.
struct Staleness {
  std::size_t added = 0;
  std::size_t changed = 0;
  std::size_t removed = 0;
  std::size_t unproven = 0;
  // Another build of the program made the symbols: every file is parsed anew.
  bool other_extraction = false;
  std::uintmax_t bytes = 0;              // to read
  std::chrono::duration<double> time{};  // that bringing the index up to date takes, estimated

  [[nodiscard]] std::size_t changes() const { return added + changed + removed; }
  [[nodiscard]] bool is_fresh() const { return changes() + unproven == 0 && !other_extraction; }
};

// Compares the files under `root` with what an index of it knows, as changes_since does, and
// estimates. Reads no content.
[[nodiscard]] Staleness staleness(const std::filesystem::path& root, const index::TreeState& tree,
                                  const indexing::SourceRules& rules);

// "1 file changed since", "12 files changed since", or that another version made the index; empty
// when it has nothing for a user.
[[nodiscard]] std::string to_text(const Staleness& staleness);

}  // namespace velmora::host::upkeep
