#include "indexing/header_language.h"

#include "indexing/language_names.h"

namespace velmora::host::indexing {
namespace {

// The folder of a path, "" for the root.
std::string_view parent(std::string_view path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string_view::npos ? std::string_view() : path.substr(0, slash);
}

}  // namespace

HeaderLanguage::HeaderLanguage(std::span<const std::string> files,
                               const std::map<std::string, std::string_view>& told) {
  for (const std::string& file : files) {
    const auto rule = told.find(file);
    const bool is_told = rule != told.end();
    const std::string_view language = is_told ? rule->second : language_of(file);
    if ((language != "c" && language != "cpp") || (!is_told && file.ends_with(".h"))) continue;
    std::string_view folder = file;
    do {
      folder = parent(folder);
      Sources& sources = folders_[std::string(folder)];
      ++(language == "c" ? sources.c : sources.cpp);
    } while (!folder.empty());
  }
}

bool HeaderLanguage::among_cpp(std::string_view path) const {
  std::string_view folder = path;
  do {
    folder = parent(folder);
    const auto sources = folders_.find(folder);
    if (sources == folders_.end()) continue;
    return sources->second.cpp > sources->second.c;
  } while (!folder.empty());
  return false;
}

}  // namespace velmora::host::indexing
