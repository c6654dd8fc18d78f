#include "index/catalog.h"

#include <algorithm>
#include <array>
#include <tuple>
#include <unordered_map>
#include <utility>

#include "index/counterparts.h"
#include "index/read_tree_state.h"
#include "index/row_reader.h"
#include "index/symbol_ids.h"
#include "velmora/host/index/update.h"
#include "velmora/storage/sqlite.h"

namespace velmora::host::index {
namespace {

using storage::Database;
using storage::Statement;

// The condition that a path is ?1 or in the folder ?1.
constexpr std::string_view IN_PLACE =
    " WHERE ?1 = '' OR path = ?1 OR substr(path, 1, length(?1) + 1) = ?1 || '/'";

std::string text(const Statement& row, int column) { return std::string(row.column_text(column)); }

std::optional<std::string> owned(std::optional<std::string_view> text) {
  return text ? std::optional<std::string>(*text) : std::nullopt;
}

// Reads whole symbols by their ids.
class SymbolReader {
 public:
  explicit SymbolReader(const Database& database)
      : select_(database.prepare(std::string(SELECT_SYMBOL_ROWS) + " WHERE s.id = ?")),
        rows_(database) {}

  std::optional<Symbol> read(SymbolId id) {
    std::optional<Symbol> symbol;
    select_.bind(1, id);
    if (select_.step()) {
      const storage::SymbolRow row = rows_.read(select_);
      symbol = Symbol{.id = id,
                      .fqn = std::string(row.fqn),
                      .name = std::string(row.name),
                      .kind = std::string(row.kind),
                      .language = text(select_, ROW_LANGUAGE),
                      .path = std::string(row.path),
                      .start_line = row.start_line,
                      .end_line = row.end_line,
                      .signature = owned(row.signature),
                      .docstring = owned(row.docstring)};
    }
    select_.reset();
    return symbol;
  }

 private:
  Statement select_;
  RowReader rows_;
};

Part part_of(const Symbol& symbol) {
  return {symbol.language, symbol.kind, symbol.path,
          symbol.signature ? std::string_view(*symbol.signature) : std::string_view()};
}

// Where a symbol that fits stands among the others.
struct Place {
  int grade = 0;
  bool is_declared = false;  // where the choice wants definitions first
  std::size_t file = 0;      // its place in the order of paths
  std::int64_t line = 0;
  SymbolId id = 0;

  auto operator<=>(const Place&) const = default;
};

// The files of a place, by number.
struct File {
  std::size_t place = 0;  // in the order of paths
  bool is_header = false;
};
using Files = std::unordered_map<std::int64_t, File>;

Files files_in(const Database& database, const std::string& place) {
  Files files;
  Statement select =
      database.prepare("SELECT id, path FROM files" + std::string(IN_PLACE) + " ORDER BY path");
  select.bind(1, place);
  while (select.step()) {
    files.emplace(select.column_int64(0), File{files.size(), is_header(select.column_text(1))});
  }
  return files;
}

bool is_import(const Database& database) {
  Statement select = database.prepare("SELECT extraction = '' FROM meta");
  return !select.step() || select.column_int64(0) != 0;
}

// The ids that the symbols of the files can have. Those of one file are neighbours, unless an
// import gave them.
std::pair<SymbolId, SymbolId> ids_in(const Database& database, const Files& files) {
  if (files.size() != 1 || is_import(database)) {
    return {std::numeric_limits<SymbolId>::min(), std::numeric_limits<SymbolId>::max()};
  }
  const std::int64_t file = files.begin()->first;
  return {symbol_id(file, 0), symbol_id(file, static_cast<std::int64_t>(MOST_SYMBOLS))};
}

// All that fit, in no order.
std::vector<Place> places(const Database& database, const Choice& choice) {
  std::vector<Place> found;
  const Files files = files_in(database, choice.place);
  const auto [first, last] = ids_in(database, files);
  Statement select = database.prepare(
      "SELECT id, file, kind, start_line, end_line, name, fqn FROM symbols"
      " WHERE id BETWEEN ? AND ?");
  select.bind(1, first).bind(2, last);
  while (select.step()) {
    const auto file = files.find(select.column_int64(1));
    if (file == files.end()) continue;
    const std::string_view kind = select.column_text(2);
    if (!choice.kinds.empty() && std::ranges::find(choice.kinds, kind) == choice.kinds.end()) {
      continue;
    }
    const std::int64_t start = select.column_int64(3);
    if (choice.line && (*choice.line < start || *choice.line > select.column_int64(4))) continue;
    const SymbolId id = select.column_int64(0);
    std::optional<int> grade = 0;
    if (choice.grade) grade = choice.grade(select.column_text(5), select.column_text(6));
    if (!grade) continue;
    const bool is_declared = choice.definitions_first && file->second.is_header &&
                             models::CALLABLE_KINDS.contains(kind) && kind != "macro";
    found.push_back({.grade = *grade,
                     .is_declared = is_declared,
                     .file = file->second.place,
                     .line = start,
                     .id = id});
  }
  return found;
}

std::size_t files_of(const std::vector<Place>& places, std::size_t most) {
  std::vector<bool> seen(most);
  for (const Place& place : places) seen[place.file] = true;
  return static_cast<std::size_t>(std::ranges::count(seen, true));
}

std::vector<Count> counts(const Database& database, const std::string& column,
                          const std::string& from) {
  std::vector<Count> list;
  Statement select =
      database.prepare("SELECT " + column + ", count(*) FROM " + from + " GROUP BY " + column +
                       " ORDER BY 2 DESC, 1 LIMIT " + std::to_string(MOST_COUNTS));
  while (select.step()) list.push_back({text(select, 0), select.column_int64(1)});
  return list;
}

std::int64_t count(const Database& database, const std::string& from) {
  Statement select = database.prepare("SELECT count(*) FROM " + from);
  return select.step() ? select.column_int64(0) : 0;
}

std::vector<ModelCount> models(const Database& database) {
  std::vector<ModelCount> list;
  Statement select = database.prepare(
      "SELECT name, kind, (SELECT count(*) FROM embeddings WHERE model = models.id),"
      " (SELECT count(*) FROM waiting WHERE model = models.id) FROM models ORDER BY 3 DESC, 1"
      " LIMIT " +
      std::to_string(MOST_COUNTS));
  while (select.step()) {
    list.push_back(
        {text(select, 0), text(select, 1), select.column_int64(2), select.column_int64(3)});
  }
  return list;
}

}  // namespace

std::optional<FileRecord> Catalog::file(std::string_view path) const {
  return read_file_record(database_, path);
}

TreeState Catalog::tree_state() const { return read_tree_state(database_); }

bool Catalog::has_place(std::string_view path) const {
  Statement select = database_.prepare("SELECT 1 FROM files" + std::string(IN_PLACE) + " LIMIT 1");
  select.bind(1, path);
  return select.step() || path.empty();
}

std::vector<std::string> Catalog::files_ending(std::string_view parts, std::int64_t limit) const {
  std::vector<std::string> paths;
  Statement select = database_.prepare(
      "SELECT path FROM files WHERE path = ?1 OR substr(path, -length(?1) - 1) = '/' || ?1"
      " ORDER BY path LIMIT ?2");
  select.bind(1, parts).bind(2, limit);
  while (select.step()) paths.push_back(text(select, 0));
  return paths;
}

std::optional<Symbol> Catalog::symbol(SymbolId id) const {
  return SymbolReader(database_).read(id);
}

std::vector<Symbol> Catalog::counterparts(const Symbol& symbol) const {
  std::vector<Symbol> found;
  if (!may_have_parts(symbol.language, symbol.kind)) return found;
  Statement select = database_.prepare(
      "SELECT id FROM symbols INDEXED BY documented_by_fqn WHERE fqn = ?1 AND id <> ?2 AND " +
      documented_sql() +
      " UNION ALL SELECT id FROM symbols INDEXED BY undocumented_by_fqn"
      " WHERE fqn = ?1 AND id <> ?2 AND " +
      undocumented_sql() + " LIMIT " + std::to_string(RowReader::MOST_COUNTERPARTS + 1));
  select.bind(1, symbol.fqn).bind(2, *symbol.id);
  SymbolReader reader(database_);
  std::size_t count = 0;
  while (select.step()) {
    ++count;
    std::optional<Symbol> other = reader.read(select.column_int64(0));
    if (other && are_parts(part_of(symbol), part_of(*other))) found.push_back(*std::move(other));
  }
  if (count > RowReader::MOST_COUNTERPARTS) found.clear();
  std::ranges::sort(found, {}, [](const Symbol& one) { return std::tie(one.path, *one.id); });
  return found;
}

bool Catalog::has_thing(std::string_view name) const {
  Statement select = database_.prepare(
      "SELECT 1 FROM symbols INDEXED BY things_by_name WHERE name = ?"
      " AND name GLOB '[A-Z]*' AND name NOT GLOB '?*[^a-z]*'"
      " AND kind NOT IN ('function', 'method', 'constructor', 'macro') LIMIT 1");
  select.bind(1, name);
  return select.step();
}

std::vector<Count> Catalog::symbols_by_file(const std::string& place) const {
  std::unordered_map<std::int64_t, std::int64_t> counts;  // by file
  const auto [first, last] = ids_in(database_, files_in(database_, place));
  Statement symbols = database_.prepare("SELECT file FROM symbols WHERE id BETWEEN ? AND ?");
  symbols.bind(1, first).bind(2, last);
  while (symbols.step()) ++counts[symbols.column_int64(0)];
  std::vector<Count> list;
  Statement files =
      database_.prepare("SELECT id, path FROM files" + std::string(IN_PLACE) + " ORDER BY path");
  files.bind(1, place);
  while (files.step()) {
    const auto count = counts.find(files.column_int64(0));
    if (count != counts.end()) list.push_back({text(files, 1), count->second});
  }
  return list;
}

Chosen Catalog::choose(const Choice& choice) const {
  std::vector<Place> found = places(database_, choice);
  Chosen chosen{.total = found.size()};
  if (found.empty()) return chosen;
  const int best = std::ranges::min_element(found)->grade;
  chosen.best = static_cast<std::size_t>(std::ranges::count(found, best, &Place::grade));
  chosen.files = files_of(found, std::ranges::max(found, {}, &Place::file).file + 1);
  const std::size_t first = std::min(choice.offset, found.size());
  const std::size_t end = first + std::min(choice.limit, found.size() - first);
  std::ranges::partial_sort(found, found.begin() + static_cast<std::ptrdiff_t>(end));
  SymbolReader reader(database_);
  for (std::size_t i = first; i < end; ++i) {
    if (std::optional<Symbol> symbol = reader.read(found[i].id)) {
      chosen.symbols.push_back(std::move(*symbol));
    }
  }
  return chosen;
}

Summary Catalog::summary() const {
  const std::string read_files = "files WHERE skipped = ''";
  Summary summary{.files = count(database_, read_files),
                  .symbols = count(database_, "symbols"),
                  .file_languages = counts(database_, "language", read_files),
                  .symbol_languages = counts(database_, "language", "symbols"),
                  .symbol_kinds = counts(database_, "kind", "symbols"),
                  .models = models(database_)};
  Statement meta = database_.prepare("SELECT written, version, extraction FROM meta");
  if (meta.step()) {
    summary.written = meta.column_int64(0);
    summary.version = text(meta, 1);
    summary.extraction = text(meta, 2);
  }
  return summary;
}

}  // namespace velmora::host::index
