#include "browse/nesting.h"

#include <algorithm>
#include <string_view>
#include <tuple>
#include <utility>

namespace velmora::host::browse {

using index::Symbol;

bool encloses(const Symbol& outer, const Symbol& inner) {
  const auto lines = [](const Symbol& symbol) {
    return std::pair(symbol.start_line, symbol.end_line);
  };
  if (lines(outer) == lines(inner)) {
    return inner.fqn.size() > outer.fqn.size() && inner.fqn.starts_with(outer.fqn);
  }
  return outer.start_line <= inner.start_line && inner.end_line <= outer.end_line;
}

void sort_outer_first(std::vector<Symbol>& symbols) {
  const auto key = [](const Symbol& symbol) {
    return std::tuple(std::string_view(symbol.path), symbol.start_line, ~symbol.end_line,
                      symbol.fqn.size(), *symbol.id);
  };
  std::ranges::sort(symbols, {}, key);
}

}  // namespace velmora::host::browse
