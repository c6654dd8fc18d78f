#include "indexing/source_list.h"

#include <fcntl.h>

#include <algorithm>
#include <span>
#include <system_error>
#include <utility>

#include "indexing/bounded_file.h"
#include "indexing/file_beginning.h"
#include "indexing/language_names.h"
#include "indexing/path_rules.h"
#include "indexing/source_file.h"

namespace velmora::host::indexing {
namespace {

namespace fs = std::filesystem;

std::string extension_of(const std::string& file) {
  constexpr std::size_t LONGEST = 16;
  std::string extension = fs::path(file).extension().string();
  return extension.size() > LONGEST ? std::string() : extension;
}

}  // namespace

SourceList::SourceList(const fs::path& root, std::size_t most_files, const SourceRules& rules)
    : SourceList(root, list_files(root, most_files, rules.leave_out), rules) {}

SourceList::SourceList(const fs::path& root, FileList list, const SourceRules& rules)
    : files_(std::move(list.files)), skipped_(std::move(list.skipped)), ignored_(list.ignored) {
  ToldLanguages told(rules.languages);
  for (const std::string& file : files_) {
    const std::string_view language = told.of(file);
    if (!language.empty()) told_.emplace(file, language);
  }
  headers_.emplace(files_, told_);
  const std::size_t listed = skipped_.size();
  std::erase_if(files_, [&](const std::string& file) {
    if (told_.contains(file) || !language_of(file).empty()) return false;
    // Rules that are too large to be followed stand in a file of the tree.
    const bool is_skipped =
        std::ranges::binary_search(std::span(skipped_).first(listed), file, {}, &Skipped::path);
    return is_skipped || !look_into(root, file);
  });
}

// Looks at a file whose name tells no language: whether it is a source all the same. What it is
// otherwise is noted.
bool SourceList::look_into(const fs::path& root, const std::string& file) {
  std::error_code error;
  const fs::path place = root / file;
  const fs::file_type type = fs::symlink_status(place, error).type();
  if (type == fs::file_type::not_found) return false;
  if (type == fs::file_type::symlink && fs::is_directory(place, error)) {
    skipped_.push_back({file, reason_of_link(root, file), true});
    return false;
  }
  if (type == fs::file_type::regular && is_told_by_beginning(file)) {
    const BoundedFile read =
        read_beginning(AT_FDCWD, place.string(), BEGINNING_SIZE, Links::refuse);
    std::string_view language = language_of_beginning(file, read.text);
    // Other languages than C have such comments, too.
    if (language == "c" && !headers_->any()) language = {};
    if (!language.empty()) {
      seen_.emplace(file, language);
      return true;
    }
  }
  ++others_[extension_of(file)];
  return false;
}

ExpectedLanguage SourceList::expected_language(const std::string& file) const {
  const auto told = told_.find(file);
  if (told != told_.end()) return {told->second};
  const auto seen = seen_.find(file);
  const std::string_view language = seen == seen_.end() ? language_of(file) : seen->second;
  const bool is_header = is_built_in("cpp") && language == "c" && !file.ends_with(".c");
  return {is_header && headers_->among_cpp(file) ? "cpp" : language, is_header};
}

}  // namespace velmora::host::indexing
