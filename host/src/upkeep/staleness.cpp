#include "upkeep/staleness.h"

#include <algorithm>
#include <thread>

#include "text/printable.h"
#include "upkeep/tree_changes.h"
#include "velmora/host/indexing/languages.h"

namespace velmora::host::upkeep {
namespace {

using Seconds = std::chrono::duration<double>;

// What one processor does in a second, and what one file takes besides, on a machine of the slower
// kind: an estimate that is too long costs an answer its freshness, one that is too short the
// user's time.
constexpr double BYTES_PER_SECOND = 1.5e6;
constexpr Seconds PER_FILE{0.0015};
// What is done once: processes that parse, the model, the transaction.
constexpr Seconds ONCE{0.05};

Seconds estimate(std::size_t files, std::uintmax_t bytes, Seconds listing) {
  const unsigned processors = std::max(1U, std::thread::hardware_concurrency());
  return ONCE + listing + PER_FILE * static_cast<double>(files) +
         Seconds(static_cast<double>(bytes) / BYTES_PER_SECOND / processors);
}

}  // namespace

Staleness staleness(const std::filesystem::path& root, const index::TreeState& tree,
                    const indexing::SourceRules& rules) {
  const auto start = std::chrono::steady_clock::now();
  const TreeChanges changes = changes_since(root, tree, rules, Evidence::system);
  Staleness found{.added = changes.added.size(),
                  .changed = changes.changed.size(),
                  .removed = changes.removed.size(),
                  .unproven = changes.unproven,
                  .other_extraction = tree.extraction != indexing::EXTRACTION_VERSION};
  found.bytes = found.other_extraction ? changes.source_bytes : changes.bytes;
  if (found.is_fresh()) return found;
  const std::size_t files =
      found.other_extraction ? changes.sources : found.changes() + found.unproven;
  found.time = estimate(files, found.bytes, std::chrono::steady_clock::now() - start);
  return found;
}

std::string to_text(const Staleness& staleness) {
  if (staleness.other_extraction) return "Another version of velmora made the index";
  const std::size_t changes = staleness.changes();
  return changes == 0 ? "" : text::counted(changes, "file") + " changed since";
}

}  // namespace velmora::host::upkeep
