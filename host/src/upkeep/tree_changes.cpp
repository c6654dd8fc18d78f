#include "upkeep/tree_changes.h"

#include <unistd.h>

#include <algorithm>
#include <optional>

#include "indexing/source_file.h"
#include "indexing/source_list.h"

namespace velmora::host::upkeep {
namespace {

namespace fs = std::filesystem;
using index::FileRecord;
using indexing::Glance;

bool was_read(const FileRecord* file) { return file != nullptr && file->skipped.empty(); }

// Whether a file that was left out unread, or whose parser somebody ended, still is what it was:
// that it is read again is for a refresh, which is not called for its sake alone.
bool is_left_out_still(const fs::path& root, const Glance& seen) {
  if (seen.known == nullptr || seen.known->hash != 0 || seen.known->skipped.empty()) return false;
  const FileRecord& known = *seen.known;
  if (known.size < 0) return ::access((root / known.path).c_str(), R_OK) != 0;
  if (known.expected != seen.file.expected || known.is_header != seen.file.is_header) return false;
  return known.size == seen.file.size && known.inode == seen.file.inode &&
         (known.modified < 0 || known.modified == seen.file.modified);
}

class Comparison {
 public:
  Comparison(const fs::path& root, const index::TreeState& known,
             const indexing::SourceRules& rules, Evidence evidence)
      : root_(root), known_(known.files), evidence_(evidence) {
    options_.rules = rules;
    options_.known = &known.files;
    if (known.largest_file > 0) options_.rules.largest_file = known.largest_file;
  }

  // Both lists are sorted.
  TreeChanges run() {
    const indexing::SourceList sources(root_, indexing::ANY_NUMBER_OF_FILES, options_.rules);
    auto next = known_.begin();
    for (const std::string& path : sources.files()) {
      for (; next != known_.end() && next->first < path; ++next) is_gone(next->second);
      const bool is_known = next != known_.end() && next->first == path;
      const FileRecord* const before = is_known ? &(next++)->second : nullptr;
      if (const auto seen = look(path, sources.expected_language(path))) {
        compare(*seen);
      } else if (before != nullptr) {
        is_gone(*before);
      }
    }
    for (; next != known_.end(); ++next) is_gone(next->second);
    found_.left_out = sources.skipped();
    std::ranges::sort(found_.left_out, {}, &indexing::Skipped::path);
    found_.others = sources.others();
    return std::move(found_);
  }

 private:
  // What is to be told of a file: a glance at it, corrected by its content when that is asked for.
  std::optional<Glance> look(const std::string& path,
                             const indexing::ExpectedLanguage& expected) const {
    std::optional<Glance> seen = indexing::glance_at(root_, path, expected, options_);
    const bool is_plain = !seen || !seen->file.skipped.empty() || seen->is_same;
    if (evidence_ == Evidence::system || is_plain || is_left_out_still(root_, *seen)) return seen;
    auto read = indexing::look_at(root_, path, expected, options_);
    if (!read) return std::nullopt;
    seen->file = std::move(read->scanned.file);
    seen->is_same = read->scanned.state != indexing::ScannedFile::State::read;
    return seen;
  }

  void compare(const Glance& seen) {
    const FileRecord* const known = seen.known;
    if (!seen.file.skipped.empty()) {
      if (was_read(known)) {
        found_.removed.push_back(seen.file.path);
      } else if (known == nullptr || *known != seen.file) {
        ++found_.unproven;
      }
      return;
    }
    const auto size = static_cast<std::uintmax_t>(seen.file.size);
    ++found_.sources;
    found_.source_bytes += size;
    if (seen.is_same || is_left_out_still(root_, seen)) return;
    found_.bytes += size;
    const bool may_be_same = evidence_ == Evidence::system && seen.same_if_hash;
    if (may_be_same && known->modified < 0 && known->inode == seen.file.inode) {
      ++found_.unproven;
    } else {
      (was_read(known) ? found_.changed : found_.added).push_back(seen.file.path);
    }
  }

  void is_gone(const FileRecord& file) {
    if (was_read(&file)) {
      found_.removed.push_back(file.path);
    } else {
      ++found_.unproven;
    }
  }

  const fs::path& root_;
  const std::map<std::string, FileRecord>& known_;
  const Evidence evidence_;
  indexing::ScanOptions options_;
  TreeChanges found_;
};

}  // namespace

TreeChanges changes_since(const fs::path& root, const index::TreeState& known,
                          const indexing::SourceRules& rules, Evidence evidence) {
  return Comparison(root, known, rules, evidence).run();
}

}  // namespace velmora::host::upkeep
