// Brings an index up to date with the files of its repository.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "velmora/export.h"
#include "velmora/host/embedding/word_model.h"
#include "velmora/host/index/index.h"
#include "velmora/host/indexing/file_list.h"
#include "velmora/host/indexing/repository_scan.h"

namespace velmora::host::indexing {

// What a refresh did, in files: those that are indexed, skipped or ignored and the others are all
// that there are, but for what is in a folder that is skipped or ignored. A file that is left out
// counts as skipped and nothing else.
struct RefreshReport {
  std::size_t added = 0;                           // new, or left out before
  std::size_t changed = 0;                         // read again, and not the same
  std::size_t removed = 0;                         // gone, or left out now
  std::size_t unchanged = 0;                       // as the index has them
  std::vector<Skipped> skipped;                    // by path
  Ignored ignored = {};                            // by the rules that ignore files
  std::map<std::string, std::size_t> others = {};  // as RepositoryScan counts them
  std::int64_t symbols = 0;                        // in the whole index
  std::int64_t embedded = 0;                       // symbols that got a vector now

  // The files that the index holds.
  [[nodiscard]] std::size_t indexed() const { return added + changed + unchanged; }
};

// How far a refresh is.
struct RefreshProgress {
  std::size_t files_done = 0;  // of source, read or known
  std::size_t file_count = 0;  // of so many
  std::size_t symbols = 0;     // read so far
  std::int64_t embedded = 0;   // symbols, after the last file
  std::int64_t to_embed = 0;   // of so many
};

// How an index is brought up to date.
struct RefreshOptions {
  SourceRules rules = {};  // as ScanOptions has them
  // Stands in place of the rules', and is remembered for the next time; in bytes.
  std::optional<std::uintmax_t> largest_file = {};
  std::size_t most_files = ANY_NUMBER_OF_FILES;  // as ScanOptions has it
  // Files that parsing took too much for are read again.
  bool retry = false;
  // Embeds the symbols that it did not embed yet. Null: new symbols get no vector for now.
  std::shared_ptr<const embedding::WordModel> model = {};
  // Called before each file and each symbol to embed; what it throws ends the refresh and leaves
  // the index as it was.
  std::function<void(const RefreshProgress&)> progress = {};
};

// Makes `index` what an index of `root` made now would be, row for row, in one transaction. Files
// whose size, times and inode are the known ones are not read, those whose content is the known one
// are not parsed, and what the rules say of a file alone makes it another. New symbols get those
// vectors of a server's models that are known for their texts. Logs each file that is not
// unchanged. Throws what Index::update and RepositoryScan throw.
[[nodiscard]] VELMORA_API RefreshReport refresh(const std::filesystem::path& root,
                                                index::Index& index,
                                                const RefreshOptions& options = {});

}  // namespace velmora::host::indexing
