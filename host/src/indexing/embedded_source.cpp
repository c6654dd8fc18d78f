#include "indexing/embedded_source.h"

#include "indexing/component.h"
#include "indexing/notebook.h"

namespace velmora::host::indexing {
namespace {

bool is_component(std::string_view path) {
  return path.ends_with(".vue") || path.ends_with(".svelte");
}

bool is_notebook(std::string_view path) { return path.ends_with(".ipynb"); }

}  // namespace

std::optional<EmbeddedSource> embedded_source(std::string_view path, std::string_view language,
                                              std::string_view content) {
  if (is_component(path)) return source_of_component(language, content);
  if (is_notebook(path)) return source_of_notebook(language, content);
  return std::nullopt;
}

std::optional<std::string> legible_source(std::string_view path, std::string_view content) {
  if (!is_notebook(path)) return std::nullopt;
  EmbeddedSource found = source_of_notebook("", content);
  if (!found.fault.empty()) return std::nullopt;
  return std::move(found.text);
}

}  // namespace velmora::host::indexing
