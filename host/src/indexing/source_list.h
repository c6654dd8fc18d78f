// Which files of a tree are sources: by their names, the rules for them, and what the files begin
// with whose names leave it to that.
#pragma once

#include <cstddef>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "indexing/header_language.h"
#include "velmora/host/indexing/file_list.h"
#include "velmora/host/indexing/source_rules.h"

namespace velmora::host::indexing {

// What is known of a file's language before it is read.
struct ExpectedLanguage {
  std::string_view name = {};
  bool is_header = false;  // the name is a guess, and the content has the last word on it
};

// Any number of threads may ask one.
class SourceList {
 public:
  // Lists the files under `root`, and reads the beginning of those without an extension. Throws as
  // list_files does.
  SourceList(const std::filesystem::path& root, std::size_t most_files, const SourceRules& rules);

  // The same of files that were listed, whatever the rules leave out.
  SourceList(const std::filesystem::path& root, FileList list, const SourceRules& rules);

  // Those of languages that are indexed: relative to the root, forward slashes, sorted.
  [[nodiscard]] const std::vector<std::string>& files() const { return files_; }

  // What list_files left out, and links to folders. A file is here or counted below, never both.
  [[nodiscard]] const std::vector<Skipped>& skipped() const { return skipped_; }

  [[nodiscard]] const Ignored& ignored() const { return ignored_; }

  // How many files are of no such language, as RepositoryScan counts them.
  [[nodiscard]] const std::map<std::string, std::size_t>& others() const { return others_; }

  // The language of one of the files, as the rules, its name or beginning, and the names of its
  // neighbours tell.
  [[nodiscard]] ExpectedLanguage expected_language(const std::string& file) const;

 private:
  [[nodiscard]] bool look_into(const std::filesystem::path& root, const std::string& file);

  std::vector<std::string> files_;
  std::map<std::string, std::string_view> told_;  // languages, by file, where a rule tells them
  std::map<std::string, std::string_view> seen_;  // where the file's beginning does
  std::vector<Skipped> skipped_;
  Ignored ignored_;
  std::map<std::string, std::size_t> others_;
  std::optional<HeaderLanguage> headers_;
};

}  // namespace velmora::host::indexing
