#include "indexing/source_list.h"

#include <system_error>
#include <utility>

#include "indexing/language_names.h"
#include "indexing/path_rules.h"
#include "indexing/source_file.h"

namespace velmora::host::indexing {
namespace {

namespace fs = std::filesystem;

bool is_link_to_folder(const fs::path& file) {
  std::error_code gone;
  return fs::is_symlink(fs::symlink_status(file, gone)) && fs::is_directory(file, gone);
}

std::string extension_of(const std::string& file) {
  constexpr std::size_t LONGEST = 16;
  std::string extension = fs::path(file).extension().string();
  return extension.size() > LONGEST ? std::string() : extension;
}

}  // namespace

SourceList::SourceList(const fs::path& root, std::size_t most_files, const SourceRules& rules) {
  FileList list = list_files(root, most_files, rules.leave_out);
  files_ = std::move(list.files);
  skipped_ = std::move(list.skipped);
  ToldLanguages told(rules.languages);
  std::erase_if(files_, [&](const std::string& file) {
    const std::string_view language = told.of(file);
    if (!language.empty()) told_.emplace(file, language);
    if (!language.empty() || !language_of(file).empty()) return false;
    if (is_link_to_folder(root / file)) {
      skipped_.push_back({file, reason_of_link(root, file), true});
    } else {
      ++others_[extension_of(file)];
    }
    return true;
  });
  headers_.emplace(files_, told_);
}

ExpectedLanguage SourceList::expected_language(const std::string& file) const {
  const auto told = told_.find(file);
  if (told != told_.end()) return {told->second};
  const bool is_header = is_built_in("cpp") && file.ends_with(".h");
  return {is_header && headers_->among_cpp(file) ? "cpp" : language_of(file), is_header};
}

}  // namespace velmora::host::indexing
