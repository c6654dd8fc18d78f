#include "indexing/source_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <time.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <system_error>
#include <utility>

#include "index/content_hash.h"
#include "indexing/bounded_file.h"
#include "indexing/embedded_source.h"

namespace velmora::host::indexing {
namespace {

using index::FileRecord;

constexpr std::int64_t NANOSECONDS = 1'000'000'000;
// A file system's clock ticks more coarsely than its times are written: a file that was modified
// that shortly before it is read may be modified again without a new time.
constexpr std::int64_t CLOCK_TICK = NANOSECONDS / 50;

constexpr const char* UNREADABLE = "it cannot be read";

// People break lines; generators and minifiers need not.
constexpr std::size_t LONG_LINE = 2000;

std::int64_t nanoseconds(const timespec& time) { return time.tv_sec * NANOSECONDS + time.tv_nsec; }

std::int64_t now() {
  timespec time{};
  clock_gettime(CLOCK_REALTIME, &time);
  return nanoseconds(time);
}

// Whether a file that is written to after `looked` has another time than this one.
bool is_past(const timespec& time, std::int64_t looked) {
  // Some file systems keep whole seconds, and even ones only.
  const std::int64_t tick = time.tv_nsec == 0 ? 2 * NANOSECONDS : CLOCK_TICK;
  return nanoseconds(time) < looked - tick;
}

// Notes by what a later look can tell that the file still is the one that was read.
void note_identity(const struct stat& status, FileRecord& file) {
  file.size = status.st_size;
  file.modified = nanoseconds(status.st_mtim);
  file.changed = nanoseconds(status.st_ctim);
  file.inode = status.st_ino;
}

bool has_same_identity(const FileRecord& left, const FileRecord& right) {
  return left.size == right.size && left.modified == right.modified &&
         left.changed == right.changed && left.inode == right.inode;
}

// Whether most of the content stands in long lines.
bool is_generated(std::string_view content) {
  std::size_t in_long_lines = 0;
  for (std::size_t start = 0; start < content.size();) {
    const std::size_t stop = std::min(content.find('\n', start), content.size());
    if (stop - start > LONG_LINE) in_long_lines += stop - start;
    start = stop + 1;
  }
  return in_long_lines > content.size() / 2;
}

// What is left out without being read; empty: nothing.
std::string reason_in(const struct stat& status, std::uintmax_t largest) {
  if (!S_ISREG(status.st_mode)) return "it is not a file";
  if (static_cast<std::uintmax_t>(status.st_size) > largest) {
    return "it is larger than " + std::to_string(largest) + " bytes";
  }
  return "";
}

}  // namespace

std::uint64_t hash_of(std::string_view content) {
  return std::max<std::uint64_t>(index::content_hash(content), 1);
}

std::string reason_of_link(const std::filesystem::path& root, const std::string& path) {
  std::error_code error;
  const std::filesystem::path tree = std::filesystem::canonical(root, error);
  const std::filesystem::path target = std::filesystem::canonical(root / path, error);
  if (error) return "it is a link to nothing";
  const bool inside = std::ranges::mismatch(tree, target).in1 == tree.end();
  return inside ? "it is a link within the tree" : "it is a link that leaves the tree";
}

std::optional<Glance> glance_at(const std::filesystem::path& root, const std::string& path,
                                const ExpectedLanguage& expected, const ScanOptions& options) {
  Glance seen;
  FileRecord& file = seen.file;
  file.path = path;
  file.expected = expected.name;
  file.is_header = expected.is_header;
  if (options.known != nullptr) {
    const auto found = options.known->find(path);
    if (found != options.known->end()) seen.known = &found->second;
  }
  const std::int64_t looked = now();
  struct stat status {};
  if (::lstat((root / path).c_str(), &status) != 0) {
    if (errno == ENOENT || errno == ENOTDIR) return std::nullopt;
    file.skipped = UNREADABLE;
    return seen;
  }
  file.skipped = S_ISLNK(status.st_mode) ? reason_of_link(root, path)
                                         : reason_in(status, options.rules.largest_file);
  if (!file.skipped.empty()) return seen;
  note_identity(status, file);
  // A record without a hash is of a file that was not read.
  seen.same_if_hash = seen.known != nullptr && !options.parse_known && seen.known->hash != 0 &&
                      seen.known->expected == file.expected &&
                      seen.known->is_header == file.is_header && seen.known->size == file.size;
  seen.is_same = seen.same_if_hash && has_same_identity(*seen.known, file);
  if (!is_past(status.st_mtim, looked) || !is_past(status.st_ctim, looked)) {
    file.modified = file.changed = -1;
  }
  return seen;
}

std::optional<LookedAt> look_at(const std::filesystem::path& root, const std::string& path,
                                const ExpectedLanguage& expected, const ScanOptions& options) {
  using State = ScannedFile::State;
  std::optional<Glance> seen = glance_at(root, path, expected, options);
  if (!seen) return std::nullopt;
  const FileRecord* const known = seen->known;
  LookedAt result;
  FileRecord& file = result.scanned.file;
  file = std::move(seen->file);
  const auto leave_out = [&] {
    if (known != nullptr && *known == file) result.scanned.state = State::unchanged;
    return std::move(result);
  };
  if (!file.skipped.empty()) return leave_out();
  if (seen->is_same) {
    file = *known;
    result.scanned.state = State::unchanged;
    return result;
  }
  // By now something else may stand there.
  BoundedFile read =
      read_bounded(AT_FDCWD, (root / path).string(), options.rules.largest_file, Links::refuse);
  if (read.state != BoundedFile::State::read) {
    file.size = file.modified = file.changed = -1;
    file.inode = 0;
    file.skipped = UNREADABLE;
    return leave_out();
  }
  file.hash = hash_of(read.text);
  if (seen->same_if_hash && known->hash == file.hash) {
    file.language = known->language;
    file.skipped = known->skipped;
    result.scanned.state = *known == file ? State::unchanged : State::noted;
    return result;
  }
  result.content = std::move(read.text);
  result.language = expected.name;
  if (auto embedded = embedded_source(path, expected.name, result.content)) {
    result.content = std::move(embedded->text);
    result.language = embedded->language;
    file.skipped = embedded->fault;
  }
  if (!file.skipped.empty()) return result;
  if (result.content.find('\0') != std::string::npos) {
    file.skipped = "it is binary";
  } else if (is_generated(result.content)) {
    file.skipped = "it is generated or minified";
  }
  return result;
}

void parse(LookedAt& looked, ParseWorker& worker) {
  ScannedFile& scanned = looked.scanned;
  FileRecord& file = scanned.file;
  if (scanned.state != ScannedFile::State::read || !file.skipped.empty()) return;
  Parsed parsed = worker.parse({.language = looked.language,
                                .is_header = file.is_header,
                                .path = file.path,
                                .source = looked.content});
  file.language = std::move(parsed.language);
  file.skipped = std::move(parsed.skipped);
  scanned.symbols = std::move(parsed.symbols);
  // Without a hash it counts as not read yet.
  if (parsed.passing) file.hash = 0;
}

}  // namespace velmora::host::indexing
