#include "browse/definition.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "browse/nesting.h"
#include "index/catalog.h"
#include "text/printable.h"

namespace velmora::host::browse {
namespace {

using index::Symbol;

constexpr std::size_t MOST_AROUND = 100;
constexpr std::size_t LONGEST_TITLE = 160;
constexpr std::size_t LONGEST_NAME = 240;

std::string place_of(const Symbol& symbol) {
  return text::printable_line(symbol.path) + ":" + line_range(symbol);
}

std::string name_of(const Symbol& symbol) {
  return one_line(symbol.kind, LONGEST_NAME) + " " + one_line(symbol.fqn, LONGEST_NAME);
}

// Whether the lines show the docstring anyway: its first line is among them.
bool shows(const std::optional<SourceLines>& source, std::string_view docstring) {
  const std::string_view first = docstring.substr(0, docstring.find('\n'));
  return source && !first.empty() &&
         std::ranges::any_of(source->lines, [&](const std::string& line) {
           return line.find(first) != std::string::npos;
         });
}

void add_docstring(std::string_view docstring, LineWriter& writer) {
  while (!docstring.empty()) {
    const std::size_t end = std::min(docstring.find('\n'), docstring.size());
    writer.add("    " + text::printable(docstring.substr(0, end)));
    docstring.remove_prefix(std::min(end + 1, docstring.size()));
  }
}

void add_source(const SourceLines& source, LineWriter& writer) {
  const std::size_t last = static_cast<std::size_t>(source.first) + source.lines.size();
  const std::size_t width = std::to_string(last).size();
  std::int64_t number = source.first;
  for (const std::string& line : source.lines) {
    const std::string shown = std::to_string(number++);
    writer.add(std::string(width - shown.size(), ' ') + shown + "  " + text::printable(line));
  }
}

}  // namespace

std::string line_range(std::int64_t first, std::int64_t last) {
  std::string text = std::to_string(first);
  if (last != first) text += "-" + std::to_string(last);
  return text;
}

std::string line_range(const Symbol& symbol) {
  return line_range(symbol.start_line, symbol.end_line);
}

std::string title(const Symbol& symbol) {
  return one_line(symbol.signature.value_or(symbol.name), LONGEST_TITLE);
}

std::string symbol_line(const Symbol& symbol) {
  std::string line = place_of(symbol) + "  " + name_of(symbol);
  if (symbol.signature) line += "  " + title(symbol);
  return line + "  @" + std::to_string(*symbol.id);
}

LimitedText symbols_text(std::span<const Symbol> symbols, std::size_t most_characters) {
  LineWriter writer(most_characters);
  for (const Symbol& symbol : symbols) writer.add(symbol_line(symbol));
  return writer.take();
}

Definition definition_of(index::Index& index, const std::filesystem::path& root, Symbol symbol) {
  Definition definition{.symbol = std::move(symbol)};
  const Symbol& shown = definition.symbol;
  index.read([&](const index::Catalog& catalog) {
    definition.around =
        catalog.choose({.place = shown.path, .line = shown.start_line, .limit = MOST_AROUND})
            .symbols;
    definition.parts = catalog.counterparts(shown);
  });
  std::erase_if(definition.around, [&](const Symbol& other) { return !encloses(other, shown); });
  sort_outer_first(definition.around);
  if (!root.empty()) {
    definition.source = read_source(root, index, shown.path, shown.start_line, shown.end_line);
  }
  return definition;
}

LimitedText definition_text(const Definition& definition, std::size_t most_characters) {
  const Symbol& symbol = definition.symbol;
  LineWriter writer(most_characters);
  writer.add(symbol_line(symbol));
  for (const Symbol& outer : definition.around) {
    writer.add("    in " + name_of(outer) + ", lines " + line_range(outer));
  }
  for (const Symbol& part : definition.parts) {
    writer.add("    see also " + place_of(part));
  }
  if (symbol.docstring && !shows(definition.source, *symbol.docstring)) {
    add_docstring(*symbol.docstring, writer);
  }
  if (!definition.source) {
    writer.add("The source cannot be read.");
    return writer.take();
  }
  if (definition.source->changed) {
    writer.add("The file changed since it was indexed: these lines may be others.");
  }
  add_source(*definition.source, writer);
  return writer.take();
}

}  // namespace velmora::host::browse
