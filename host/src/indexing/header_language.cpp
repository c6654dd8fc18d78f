#include "indexing/header_language.h"

#include "indexing/language.h"
#include "velmora/host/indexing/extract.h"

namespace velmora::host::indexing {
namespace {

// The folder of a path, "" for the root. Called with "" only by mistake.
std::string_view parent(std::string_view path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string_view::npos ? std::string_view() : path.substr(0, slash);
}

}  // namespace

HeaderLanguage::HeaderLanguage(std::span<const std::string> files) {
  for (const std::string& file : files) {
    const Language* const language = language_of(file);
    if (language == nullptr || file.ends_with(".h")) continue;
    const bool c = language->name == "c";
    if (!c && language->name != "cpp") continue;
    std::string_view folder = file;
    do {
      folder = parent(folder);
      Sources& sources = folders_[std::string(folder)];
      ++(c ? sources.c : sources.cpp);
    } while (!folder.empty());
  }
}

std::string_view HeaderLanguage::decide(std::string_view path, std::string_view source) const {
  std::string_view folder = path;
  do {
    folder = parent(folder);
    const auto sources = folders_.find(std::string(folder));
    if (sources == folders_.end()) continue;
    if (sources->second.cpp > sources->second.c) return "cpp";
    break;
  } while (!folder.empty());
  const std::size_t errors = count_errors("c", source);
  return errors > 0 && count_errors("cpp", source) < errors ? "cpp" : "c";
}

}  // namespace velmora::host::indexing
