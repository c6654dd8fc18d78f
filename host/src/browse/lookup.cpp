#include "browse/lookup.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <system_error>
#include <tuple>
#include <utility>

#include "browse/name_match.h"
#include "index/counterparts.h"

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

// Whether somebody says "from here", as with ./ and ..
bool begins_here(const fs::path& path) {
  return !path.empty() && (*path.begin() == "." || *path.begin() == "..");
}

// What `path` may be, the likelier first.
std::vector<std::string> readings(const fs::path& path, const Viewpoint& from) {
  std::vector<std::string> found;
  const auto add = [&](const fs::path& reading) {
    if (std::optional<std::string> indexed = as_indexed(reading)) {
      found.push_back(*std::move(indexed));
    }
  };
  const auto add_absolute = [&](const fs::path& reading) {
    if (from.root.empty() || !reading.is_absolute()) return;
    add(reading.lexically_normal().lexically_relative(from.root));
  };
  if (path.is_absolute()) {
    add_absolute(path);
    std::error_code unknown;  // then it names nothing that is there
    if (found.empty()) add_absolute(fs::weakly_canonical(path, unknown));
    return found;
  }
  if (!from.folder.empty()) add_absolute(from.folder / path);
  if (found.empty() || !begins_here(path)) add(path);
  return found;
}

// Innermost first: fewest lines, then the longest name. An index may come from anybody: lines are
// any numbers.
void sort_innermost_first(std::vector<Symbol>& symbols) {
  const auto key = [](const Symbol& symbol) {
    const auto lines =
        static_cast<std::uint64_t>(symbol.end_line) - static_cast<std::uint64_t>(symbol.start_line);
    return std::tuple(lines, SIZE_MAX - symbol.fqn.size(), *symbol.id);
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
    std::erase_if(found, [&](const Symbol& symbol) { return symbol.end_line < place.last; });
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

// Whether all that fit best are one function: its body, and declarations of it in headers.
bool is_one_function(const Catalog& catalog, const Chosen& chosen) {
  if (chosen.best > chosen.symbols.size() || index::is_header(chosen.symbols.front().path)) {
    return false;
  }
  const std::vector<Symbol> parts = catalog.counterparts(chosen.symbols.front());
  return std::all_of(chosen.symbols.begin() + 1,
                     chosen.symbols.begin() + static_cast<std::ptrdiff_t>(chosen.best),
                     [&](const Symbol& other) {
                       return index::is_header(other.path) &&
                              std::ranges::find(parts, other.id, &Symbol::id) != parts.end();
                     });
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
  std::optional<FileLine> found;
  if (text.ends_with(':')) text.remove_suffix(1);
  for (int part = 0; part < 2; ++part) {  // the column, if there is one, and the line
    const std::size_t colon = text.rfind(':');
    if (colon == std::string_view::npos || colon == 0) break;
    const std::string_view lines = text.substr(colon + 1);
    const std::size_t dash = lines.find('-');
    const auto first = number(lines.substr(0, dash));
    const auto last = dash == std::string_view::npos ? first : number(lines.substr(dash + 1));
    if (!first || !last) break;
    text = text.substr(0, colon);
    found = {.path = std::string(text), .line = *first, .last = *last};
  }
  return found;
}

Chosen look_up(index::Index& index, std::string_view what, const Viewpoint& from,
               std::size_t limit) {
  Chosen chosen;
  index.read([&](const Catalog& catalog) {
    if (const auto id = number(what.starts_with('@') ? what.substr(1) : what)) {
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
    chosen = catalog.choose({.grade = grade, .definitions_first = true, .limit = limit});
    if (chosen.best > 1 && is_one_function(catalog, chosen)) chosen.best = 1;
  });
  return chosen;
}

}  // namespace velmora::host::browse
