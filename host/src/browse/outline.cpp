#include "browse/outline.h"

#include <utility>

#include "browse/definition.h"
#include "browse/nesting.h"
#include "index/catalog.h"
#include "text/printable.h"

namespace velmora::host::browse {
namespace {

using index::Symbol;

// No source nests deeper; a symbol that does is shown as deep as this.
constexpr std::size_t DEEPEST = 64;

}  // namespace

Outline outline_of(index::Index& index, const std::string& place, std::size_t limit) {
  index::Chosen chosen;
  index.read([&](const index::Catalog& catalog) {
    chosen = catalog.choose({.place = place, .limit = limit});
  });
  sort_outer_first(chosen.symbols);
  Outline outline{.total = chosen.total, .files = chosen.files};
  outline.entries.reserve(chosen.symbols.size());
  std::vector<std::size_t> around;  // the entries that the next one may stand in
  for (Symbol& symbol : chosen.symbols) {
    const auto holds = [&](std::size_t entry) {
      const Symbol& outer = outline.entries[entry].symbol;
      return outer.path == symbol.path && encloses(outer, symbol);
    };
    while (!around.empty() && (around.size() > DEEPEST || !holds(around.back()))) {
      around.pop_back();
    }
    const std::size_t depth = around.size();
    around.push_back(outline.entries.size());
    outline.entries.push_back({.symbol = std::move(symbol), .depth = depth});
  }
  return outline;
}

LimitedText outline_text(const Outline& outline, std::size_t most_characters) {
  LineWriter writer(most_characters);
  const std::string* path = nullptr;
  for (const OutlineEntry& entry : outline.entries) {
    const Symbol& symbol = entry.symbol;
    if (path == nullptr || *path != symbol.path) writer.add(text::printable_line(symbol.path));
    path = &symbol.path;
    writer.add(std::string(2 * (entry.depth + 1), ' ') + line_range(symbol) + "  " +
               text::printable_line(symbol.kind) + " " + title(symbol));
  }
  return writer.take();
}

}  // namespace velmora::host::browse
