#include "indexing/language.h"

#include <algorithm>

#include "indexing/languages.h"
#include "velmora/host/indexing/extract.h"

namespace velmora::host::indexing {

const Language* find_language(std::string_view name) {
  const auto found = std::ranges::find(languages::ALL, name, &Language::name);
  return found == std::end(languages::ALL) ? nullptr : *found;
}

const Language* language_of(std::string_view path) {
  const std::string_view file = path.substr(path.rfind('/') + 1);
  const std::size_t dot = file.rfind('.');
  if (dot == std::string_view::npos) return nullptr;
  const auto found = std::ranges::find_if(languages::ALL, [&](const Language* language) {
    return std::ranges::find(language->extensions, file.substr(dot)) != language->extensions.end();
  });
  return found == std::end(languages::ALL) ? nullptr : *found;
}

std::vector<std::string_view> language_titles() {
  std::vector<std::string_view> titles;
  for (const Language* language : languages::ALL) titles.push_back(language->title);
  std::ranges::sort(titles);
  // Dialects share a title.
  titles.erase(std::unique(titles.begin(), titles.end()), titles.end());
  return titles;
}

}  // namespace velmora::host::indexing
