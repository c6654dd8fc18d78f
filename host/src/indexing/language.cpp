#include "indexing/language.h"

#include "indexing/languages.h"

namespace velmora::host::indexing {

const Language* find_language(std::string_view name, std::string_view path) {
  const Language* found = nullptr;
  for (const Language* language : languages::ALL) {
    if (language->name != name) continue;
    const bool is_dialect = !language->extension.empty();
    if (is_dialect && path.ends_with(language->extension)) return language;
    if (!is_dialect) found = language;
  }
  return found;
}

}  // namespace velmora::host::indexing
