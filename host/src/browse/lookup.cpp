#include "browse/lookup.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <tuple>
#include <utility>

#include "browse/name_match.h"

namespace velmora::host::browse {
namespace {

namespace fs = std::filesystem;
using index::Catalog;
using index::Chosen;
using index::Symbol;

constexpr std::int64_t MOST_FILES = 20;
constexpr std::size_t MOST_AROUND_A_LINE = 1000;

std::optional<std::int64_t> number(std::string_view text) {
  std::int64_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

// A path as the index writes it; nothing for one outside the tree.
std::optional<std::string> as_indexed(const fs::path& path) {
  std::string text = path.lexically_normal().generic_string();
  if (text.ends_with('/')) text.pop_back();
  if (text == ".") text.clear();
  const bool outside = text == ".." || text.starts_with("../") || text.starts_with('/');
  return outside ? std::nullopt : std::optional(std::move(text));
}

// What `path` may be, the likelier first.
std::vector<std::string> readings(const fs::path& path, const Viewpoint& from) {
  std::vector<std::string> found;
  const auto add = [&](const fs::path& reading) {
    if (std::optional<std::string> indexed = as_indexed(reading)) {
      found.push_back(*std::move(indexed));
    }
  };
  if (path.is_absolute()) {
    if (!from.root.empty()) add(path.lexically_normal().lexically_relative(from.root));
    return found;
  }
  if (!from.folder.empty()) add(fs::path(from.folder) / path);
  add(path);
  return found;
}

// Innermost first: fewest lines, then the longest name.
void sort_innermost_first(std::vector<Symbol>& symbols) {
  const auto key = [](const Symbol& symbol) {
    return std::tuple(symbol.end_line - symbol.start_line,
                      -static_cast<std::int64_t>(symbol.fqn.size()), *symbol.id);
  };
  std::ranges::sort(symbols, {}, key);
}

Chosen at_line(const Catalog& catalog, const FileLine& place, const Viewpoint& from,
               std::size_t limit) {
  Chosen chosen;
  std::vector<Symbol> outer;
  for (const std::string& file : places(catalog, place.path, from)) {
    if (!catalog.file(file)) continue;  // a folder
    std::vector<Symbol> found =
        catalog.choose({.place = file, .line = place.line, .limit = MOST_AROUND_A_LINE}).symbols;
    if (found.empty()) continue;
    sort_innermost_first(found);
    chosen.total += found.size();
    ++chosen.files;
    std::move(found.begin() + 1, found.end(), std::back_inserter(outer));
    chosen.symbols.push_back(std::move(found.front()));
  }
  chosen.best = chosen.files;
  std::ranges::move(outer, std::back_inserter(chosen.symbols));
  if (chosen.symbols.size() > limit) chosen.symbols.resize(limit);
  return chosen;
}

}  // namespace

std::vector<std::string> places(const Catalog& catalog, std::string_view path,
                                const Viewpoint& from) {
  const std::vector<std::string> read = readings(fs::path(path), from);
  for (const std::string& reading : read) {
    if (catalog.has_place(reading)) return {reading};
  }
  if (read.empty() || fs::path(path).is_absolute()) return {};
  return catalog.files_ending(read.back(), MOST_FILES);
}

std::optional<FileLine> file_line(std::string_view text) {
  std::vector<std::int64_t> numbers;  // the last first
  while (numbers.size() < 2) {
    const std::size_t colon = text.rfind(':');
    if (colon == std::string_view::npos || colon == 0) break;
    const std::optional<std::int64_t> value = number(text.substr(colon + 1));
    if (!value || *value < 0) break;
    numbers.push_back(*value);
    text = text.substr(0, colon);
  }
  if (numbers.empty()) return std::nullopt;
  return FileLine{.path = std::string(text), .line = numbers.back()};
}

Chosen look_up(index::Index& index, std::string_view what, const Viewpoint& from,
               std::size_t limit) {
  Chosen chosen;
  index.read([&](const Catalog& catalog) {
    if (const std::optional<std::int64_t> id = number(what)) {
      if (std::optional<Symbol> symbol = catalog.symbol(*id)) {
        chosen = {.total = 1, .best = 1, .files = 1};
        chosen.symbols.push_back(*std::move(symbol));
        return;
      }
    }
    if (const std::optional<FileLine> place = file_line(what)) {
      chosen = at_line(catalog, *place, from, limit);
      if (chosen.total > 0) return;
    }
    const NameMatch match(what);
    const auto grade = [&](std::string_view name, std::string_view fqn) {
      return match.grade(name, fqn);
    };
    chosen = catalog.choose({.grade = grade, .limit = limit});
  });
  return chosen;
}

}  // namespace velmora::host::browse
