#include "upkeep/staleness.h"

#include <unistd.h>

#include <algorithm>
#include <optional>
#include <thread>

#include "indexing/source_file.h"
#include "indexing/source_list.h"
#include "velmora/host/indexing/languages.h"

namespace velmora::host::upkeep {
namespace {

namespace fs = std::filesystem;
using Seconds = std::chrono::duration<double>;
using index::FileRecord;

// What one processor does in a second, and what one file takes besides, on a machine of the slower
// kind: an estimate that is too long costs an answer its freshness, one that is too short the
// user's time.
constexpr double BYTES_PER_SECOND = 1.5e6;
constexpr Seconds PER_FILE{0.0015};
// What is done once: processes that parse, the model, the transaction.
constexpr Seconds ONCE{0.05};

Seconds estimate(const Staleness& found, std::size_t files, Seconds listing) {
  if (found.is_fresh()) return Seconds(0);
  const unsigned processors = std::max(1U, std::thread::hardware_concurrency());
  return ONCE + listing + PER_FILE * static_cast<double>(files) +
         Seconds(static_cast<double>(found.bytes) / BYTES_PER_SECOND / processors);
}

// Whether a file that was left out unread, or whose parser somebody ended, still is what it was:
// that it is read again is for a refresh, which is not called for its sake alone.
bool is_left_out_still(const fs::path& root, const indexing::Glance& seen) {
  const FileRecord& known = *seen.known;
  if (known.hash != 0 || known.skipped.empty()) return false;
  if (known.size < 0) return ::access((root / known.path).c_str(), R_OK) != 0;
  return known.size == seen.file.size && known.inode == seen.file.inode &&
         (known.modified < 0 || known.modified == seen.file.modified);
}

class Comparison {
 public:
  Comparison(const fs::path& root, const index::TreeState& tree)
      : root_(root),
        tree_(tree),
        options_{.largest_file = tree.largest_file, .known = &tree.files} {
    found_.other_extraction = tree.extraction != indexing::EXTRACTION_VERSION;
  }

  Staleness run() {
    const auto start = std::chrono::steady_clock::now();
    const indexing::SourceList sources(root_, indexing::ANY_NUMBER_OF_FILES);
    std::size_t known = 0;
    for (const std::string& path : sources.files()) {
      const auto seen = indexing::glance_at(root_, path, sources.expected_language(path), options_);
      if (!seen) continue;
      if (seen->known != nullptr) ++known;
      count(*seen);
    }
    if (known < tree_.files.size()) count_removed(sources.files());
    const std::size_t files =
        found_.changes() + found_.unproven + (found_.other_extraction ? sources.files().size() : 0);
    found_.time = estimate(found_, files, std::chrono::steady_clock::now() - start);
    return found_;
  }

 private:
  void count(const indexing::Glance& seen) {
    const FileRecord* const known = seen.known;
    if (!seen.file.skipped.empty()) {
      if (known != nullptr && known->skipped.empty()) {
        ++found_.changed;
      } else if (known == nullptr || *known != seen.file) {
        ++found_.unproven;
      }
      return;
    }
    if (found_.other_extraction) found_.bytes += static_cast<std::uintmax_t>(seen.file.size);
    if (seen.is_same || (known != nullptr && is_left_out_still(root_, seen))) return;
    if (!found_.other_extraction) found_.bytes += static_cast<std::uintmax_t>(seen.file.size);
    if (known == nullptr) {
      ++found_.added;
    } else if (seen.same_if_hash && known->modified < 0 && known->inode == seen.file.inode) {
      ++found_.unproven;
    } else {
      ++found_.changed;
    }
  }

  // Both are sorted.
  void count_removed(const std::vector<std::string>& files) {
    auto listed = files.begin();
    for (const auto& [path, file] : tree_.files) {
      while (listed != files.end() && *listed < path) ++listed;
      std::error_code gone;
      const bool is_there = listed != files.end() && *listed == path &&
                            fs::exists(fs::symlink_status(root_ / path, gone));
      if (!is_there) ++(file.skipped.empty() ? found_.removed : found_.unproven);
    }
  }

  const fs::path& root_;
  const index::TreeState& tree_;
  const indexing::ScanOptions options_;
  Staleness found_;
};

}  // namespace

Staleness staleness(const fs::path& root, const index::TreeState& tree) {
  return Comparison(root, tree).run();
}

std::string to_text(const Staleness& staleness) {
  if (staleness.other_extraction) return "Another version of velmora made the index";
  const std::size_t changes = staleness.changes();
  if (changes == 0) return "";
  return std::to_string(changes) + (changes == 1 ? " file" : " files") + " changed since";
}

}  // namespace velmora::host::upkeep
