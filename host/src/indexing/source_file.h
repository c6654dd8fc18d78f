// One source file on the disk: whether it still is what is known of it, and its content.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "indexing/parse_worker.h"
#include "indexing/source_list.h"
#include "velmora/host/indexing/repository_scan.h"

namespace velmora::host::indexing {

// What the system says of a file, unread.
struct Glance {
  // With the path, the language expected, and what a later look can tell it by: size, times (both
  // -1 when they are no proof) and inode. `skipped` when it is left out unread.
  index::FileRecord file = {};
  const index::FileRecord* known = nullptr;  // of ScanOptions::known
  bool is_same = false;                      // it need not be read: it is the known one
  bool same_if_hash = false;                 // it is, if its content has the known hash
};

// Glances at the file `path` under `root`, of which SourceList tells the language `expected`.
// Nothing when it is gone.
[[nodiscard]] std::optional<Glance> glance_at(const std::filesystem::path& root,
                                              const std::string& path,
                                              const ExpectedLanguage& expected,
                                              const ScanOptions& options);

// A scanned file without its symbols. In the state `read` the content is to be parsed, unless the
// record tells why the file is left out.
struct LookedAt {
  ScannedFile scanned = {};
  std::string content = {};
  std::string_view language = {};  // of the content: the one expected, but for embedded source
};

// The same, and reads the content of a file that is not the known one.
[[nodiscard]] std::optional<LookedAt> look_at(const std::filesystem::path& root,
                                              const std::string& path,
                                              const ExpectedLanguage& expected,
                                              const ScanOptions& options);

// Has the worker parse what was read, unless that is not to be: its symbols, or why it has none.
// Throws as ParseWorker does.
void parse(LookedAt& looked, ParseWorker& worker);

// The hash that a record keeps of a file's content. Never 0, which stands for no hash.
[[nodiscard]] std::uint64_t hash_of(std::string_view content);

// Why the link `path` under `root` is not followed, in a few words: it leads out of the tree, or to
// a place in it where the scan comes anyway (two names would make every symbol a double), or to
// nothing.
[[nodiscard]] std::string reason_of_link(const std::filesystem::path& root,
                                         const std::string& path);

}  // namespace velmora::host::indexing
