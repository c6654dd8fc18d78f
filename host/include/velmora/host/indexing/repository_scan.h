// The source files of a whole repository, one after the other, parsed by all processors, in
// processes of their own: whatever a file does to the parser costs that file alone.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "velmora/export.h"
#include "velmora/host/index/file_record.h"
#include "velmora/host/index/symbol.h"
#include "velmora/host/indexing/file_list.h"
#include "velmora/host/indexing/parse_limits.h"
#include "velmora/host/indexing/source_rules.h"

namespace velmora::host::indexing {

// What is scanned, and how.
struct ScanOptions {
  // Which files are left out, and which language they are in.
  SourceRules rules = {};
  // A tree with more files, sources or not, is refused with TooManyFilesError.
  std::size_t most_files = ANY_NUMBER_OF_FILES;
  // Threads that read and parse; 0: one for each processor.
  unsigned threads = 0;
  // What an earlier scan found, by path: what has not changed since is not read again. Lives as
  // long as the scan; null: everything is read.
  const std::map<std::string, index::FileRecord>* known = nullptr;
  // Files are parsed though their content is known.
  bool parse_known = false;
  // So are those that parsing took too much for.
  bool retry = false;
  // What parsing a file may take; one that takes more is left out.
  ParseLimits limits = {};
  // The program that parses; empty: the one that came with this one.
  std::filesystem::path parse_worker = {};
};

// A source file, and how it differs from what was known of it.
struct ScannedFile {
  // How it differs.
  enum class State {
    unchanged,  // the record is the known one
    noted,      // the record is another one, the symbols are the same
    read,       // the symbols are here; none when the record tells why the file was left out
  };
  State state = State::read;                // how it differs
  index::FileRecord file = {};              // as it is now
  std::vector<index::Symbol> symbols = {};  // in the order in which they stand in the file
};

// Reads the source files that list_files finds under a folder. Threads of its own work a bounded
// number of files ahead of next(), so the repository is never in memory as a whole. The order of
// the files, by path, does not depend on the threads.
//
// Each thread has one process that parses for it, started when first needed, and again after a file
// ended it: by what ScanOptions::limits say, or by a fault of the parser. Such a file is left out,
// with the reason. The processes end with the scan, and with the program, whatever ends that.
//
// One thread uses a scan at a time. The destructor may be called at any moment; it waits for the
// files being parsed.
class VELMORA_API RepositoryScan {
 public:
  // Lists the files. Throws as list_files does.
  explicit RepositoryScan(const std::filesystem::path& root, const ScanOptions& options = {});
  ~RepositoryScan();

  // The next file, nothing after the last one. Waits for a thread that parses. A file that was
  // listed and is gone by now is passed over, and so are files of languages that are not indexed.
  // Throws std::runtime_error when the program that parses cannot be run.
  [[nodiscard]] std::optional<ScannedFile> next();

  // How many source files were found.
  [[nodiscard]] std::size_t file_count() const;

  // How many of them next() has left behind.
  [[nodiscard]] std::size_t files_done() const;

  // What is left out without next() saying so: folders for the most part.
  [[nodiscard]] const std::vector<Skipped>& skipped() const;

  // What ignore rules left out.
  [[nodiscard]] const Ignored& ignored() const;

  // How many files are of no language that is indexed, by the extension of their names, with its
  // dot; those without one, and with one that is longer than any that people use, are under "".
  [[nodiscard]] const std::map<std::string, std::size_t>& others() const;

 private:
  class Impl;
  const std::unique_ptr<Impl> impl_;
};

}  // namespace velmora::host::indexing
