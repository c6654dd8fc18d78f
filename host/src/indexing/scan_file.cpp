#include "indexing/scan_file.h"

#include <algorithm>
#include <optional>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "indexing/parse_worker.h"
#include "indexing/source_file.h"
#include "indexing/source_list.h"
#include "indexing/work_tree.h"

namespace velmora::host::indexing {
namespace {

namespace fs = std::filesystem;

// The files that a file's language may depend on, with itself.
FileList neighbours(const fs::path& root, const std::string& path) {
  FileList list;
  if (repository_at(root)) {
    list.files = list_files(root).files;
  } else {
    const fs::path folder = fs::path(path).parent_path();
    std::error_code unreadable;
    for (const fs::directory_entry& entry : fs::directory_iterator(root / folder, unreadable)) {
      if (!entry.is_directory(unreadable)) list.files.push_back(folder / entry.path().filename());
    }
    std::ranges::sort(list.files);
  }
  const auto place = std::ranges::lower_bound(list.files, path);
  if (place == list.files.end() || *place != path) list.files.insert(place, path);
  return list;
}

}  // namespace

ScannedFile scan_file(const fs::path& root, const std::string& path, const SourceRules& rules) {
  const SourceList sources(root, neighbours(root, path), rules);
  const bool is_source = std::ranges::binary_search(sources.files(), path);
  std::optional<LookedAt> looked =
      look_at(root, path, is_source ? sources.expected_language(path) : ExpectedLanguage(),
              {.rules = rules});
  if (!looked) throw std::runtime_error((root / path).string() + " is not there");
  ScannedFile& scanned = looked->scanned;
  if (scanned.file.skipped.empty() && !is_source) {
    scanned.file.skipped = "its language is none that is indexed";
  }
  ParseWorker worker({}, {});
  parse(*looked, worker);
  return std::move(scanned);
}

}  // namespace velmora::host::indexing
