// The symbols of a whole repository, one after the other, parsed by all processors.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <vector>

#include "velmora/host/index/symbol.h"
#include "velmora/host/indexing/extract.h"
#include "velmora/host/indexing/file_list.h"

namespace velmora::host::indexing {

struct ScanOptions {
  // Larger files are generated or data; in bytes.
  std::uintmax_t largest_file = 2 * 1024 * 1024;
  // Threads that read and parse; 0: one for each processor.
  unsigned threads = 0;
  ExtractOptions extract = {};
};

// Reads the source files that list_files finds under a folder. Threads of its own work a bounded
// number of files ahead of next(), so the repository is never in memory as a whole. The order of
// the symbols, by path and then by place, does not depend on the threads.
//
// One thread uses a scan at a time. The destructor may be called at any moment; it waits for the
// files being parsed.
class RepositoryScan {
 public:
  // Lists the files. Throws std::filesystem::filesystem_error when `root` cannot be read.
  explicit RepositoryScan(const std::filesystem::path& root, const ScanOptions& options = {});
  ~RepositoryScan();

  // The next symbol, nothing after the last one. Waits for a thread that parses.
  [[nodiscard]] std::optional<index::Symbol> next();

  // The source files found, and how many of them next() has left behind, skipped ones included.
  [[nodiscard]] std::size_t file_count() const;
  [[nodiscard]] std::size_t files_done() const;

  // What was left out so far, in path order once next() has returned nothing. Files of languages
  // that are not indexed are not mentioned.
  [[nodiscard]] const std::vector<Skipped>& skipped() const;

 private:
  class Impl;
  const std::unique_ptr<Impl> impl_;
};

}  // namespace velmora::host::indexing
