#include "browse/source.h"

#include <fcntl.h>

#include <algorithm>
#include <utility>

#include "index/catalog.h"
#include "indexing/bounded_file.h"
#include "indexing/embedded_source.h"
#include "indexing/source_file.h"
#include "velmora/host/index/index_folder.h"

namespace velmora::host::browse {
namespace {

namespace fs = std::filesystem;
using indexing::BoundedFile;

// The text of the file at `path` below `root`. An index may come from anybody, and what it says of
// paths is believed no further than to a regular file that is reached from the root through
// folders.
std::optional<std::string> read_below(const fs::path& root, std::string_view path) {
  constexpr int FLAGS = O_PATH | O_DIRECTORY | O_CLOEXEC;
  if (path.find('\0') != std::string_view::npos) return std::nullopt;
  std::optional<index::OpenFile> folder(std::in_place, ::open(root.c_str(), FLAGS));
  while (folder->descriptor() >= 0) {
    const std::size_t slash = path.find('/');
    const std::string part(path.substr(0, slash));
    if (part.empty() || part == "." || part == "..") return std::nullopt;
    if (slash == std::string_view::npos) {
      BoundedFile file = indexing::read_bounded(folder->descriptor(), part, MOST_SOURCE_BYTES,
                                                indexing::Links::refuse);
      if (file.state != BoundedFile::State::read) return std::nullopt;
      return std::move(file.text);
    }
    folder.emplace(::openat(folder->descriptor(), part.c_str(), FLAGS | O_NOFOLLOW));
    path.remove_prefix(slash + 1);
  }
  return std::nullopt;
}

// The lines of `text` from `first` on, up to `last`.
std::vector<std::string> lines_of(std::string_view text, std::int64_t first, std::int64_t last) {
  std::vector<std::string> lines;
  for (std::int64_t number = 1; !text.empty() && number <= last; ++number) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    std::string_view line = text.substr(0, end);
    if (line.ends_with('\r')) line.remove_suffix(1);
    if (number >= first) lines.emplace_back(line);
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return lines;
}

}  // namespace

std::optional<SourceLines> read_source(const fs::path& root, index::Index& index,
                                       std::string_view path, std::int64_t first,
                                       std::int64_t last) {
  std::optional<index::FileRecord> known;
  index.read([&](index::Catalog& catalog) { known = catalog.file(path); });
  const std::optional<std::string> text = known ? read_below(root, path) : std::nullopt;
  if (!text) return std::nullopt;
  const std::optional<std::string> legible = indexing::legible_source(path, *text);
  first = std::max<std::int64_t>(first, 1);
  return SourceLines{.first = first,
                     .lines = lines_of(legible.value_or(*text), first, last),
                     .changed = known->hash != 0 && known->hash != indexing::hash_of(*text)};
}

}  // namespace velmora::host::browse
