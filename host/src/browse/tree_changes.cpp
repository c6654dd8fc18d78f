#include "browse/tree_changes.h"

#include <algorithm>
#include <optional>
#include <set>

#include "indexing/source_file.h"
#include "indexing/source_list.h"

namespace velmora::host::browse {
namespace {

using index::FileRecord;
using State = indexing::ScannedFile::State;

bool was_read(const FileRecord* file) { return file != nullptr && file->skipped.empty(); }

// A file whose parsing failed in passing is read again by every refresh. That is no change of it.
bool failed_in_passing(const FileRecord* known, const FileRecord& now) {
  return known != nullptr && known->hash == 0 && known->size == now.size &&
         known->changed == now.changed && known->inode == now.inode;
}

}  // namespace

TreeChanges changes_since(const std::filesystem::path& root, const index::TreeState& known) {
  const indexing::SourceList sources(root, indexing::ANY_NUMBER_OF_FILES);
  indexing::ScanOptions options{.known = &known.files};
  if (known.largest_file > 0) options.largest_file = known.largest_file;
  TreeChanges changes{.left_out = sources.skipped(), .others = sources.others()};
  std::set<std::string_view> gone;
  for (const auto& [path, file] : known.files) {
    if (file.skipped.empty()) gone.insert(path);
  }
  for (const std::string& path : sources.files()) {
    const std::optional<indexing::LookedAt> seen =
        indexing::look_at(root, path, sources.expected_language(path), options);
    if (!seen) continue;
    const FileRecord& now = seen->scanned.file;
    const auto entry = known.files.find(path);
    const FileRecord* const before = entry == known.files.end() ? nullptr : &entry->second;
    if (!now.skipped.empty()) continue;  // one that was read is gone from the index's view
    gone.erase(path);
    if (seen->scanned.state != State::read || failed_in_passing(before, now)) continue;
    (was_read(before) ? changes.changed : changes.added).push_back(path);
  }
  changes.removed.assign(gone.begin(), gone.end());
  std::ranges::sort(changes.left_out, {}, &indexing::Skipped::path);
  return changes;
}

}  // namespace velmora::host::browse
