#include "velmora/host/index/update.h"

#include <bit>
#include <map>
#include <optional>
#include <tuple>
#include <unordered_set>
#include <utility>

#include "index/counterparts.h"
#include "index/embedding_writer.h"
#include "index/read_tree_state.h"
#include "index/renumber.h"
#include "index/row_reader.h"
#include "index/stored_vector.h"
#include "index/symbol_ids.h"
#include "velmora/storage/sqlite.h"

namespace velmora::host::index {
namespace {

using storage::Statement;

// What the index holds under the id of a symbol.
struct Stored {
  // What any model may read of a symbol; its path stays.
  std::tuple<std::string, std::string, std::string, std::optional<std::string>,
             std::optional<std::string>>
      text;
  std::string words;  // only the program's own model reads them
  std::tuple<std::string, std::int64_t, std::int64_t> rest;

  static auto text_of(const Symbol& symbol) {
    return std::tie(symbol.kind, symbol.fqn, symbol.name, symbol.signature, symbol.docstring);
  }
  static auto rest_of(const Symbol& symbol) {
    return std::tie(symbol.language, symbol.start_line, symbol.end_line);
  }
};

std::optional<std::string> owned(std::optional<std::string_view> text) {
  return text ? std::optional<std::string>(*text) : std::nullopt;
}

std::string column(const Statement& statement, int number) {
  return std::string(statement.column_text(number));
}

}  // namespace

class Update::Impl {
 public:
  explicit Impl(storage::Database& database)
      : database_(database),
        tree_(read_tree_state(database)),
        store_file_(database.prepare(
            "INSERT OR REPLACE INTO files(id, path, language, expected, size, modified, changed,"
            " inode, hash, skipped, is_header) VALUES(?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)")),
        select_file_(database.prepare("SELECT id FROM files WHERE path = ?")),
        select_number_(database.prepare("SELECT 1 FROM files WHERE id = ?")),
        delete_file_(database.prepare("DELETE FROM files WHERE id = ?")),
        select_symbols_(database.prepare(
            "SELECT id, fqn, name, kind, language, start_line, end_line, signature, docstring,"
            " words FROM symbols WHERE id >= ? AND id < ?")),
        store_symbol_(database.prepare(
            "INSERT OR REPLACE INTO symbols VALUES(?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)")),
        delete_symbol_(database.prepare("DELETE FROM symbols WHERE id = ?")),
        delete_vectors_(database.prepare(
            "DELETE FROM vectors WHERE text IS NULL AND id IN (SELECT vector FROM embeddings"
            " WHERE model IN (SELECT id FROM models) AND symbol = ?)")),
        delete_embeddings_(database.prepare(
            "DELETE FROM embeddings WHERE model IN (SELECT id FROM models) AND symbol = ?")),
        // The vectors of an import are made by nobody here.
        wait_(database.prepare("INSERT OR IGNORE INTO waiting SELECT id, ? FROM models"
                               " WHERE kind = 'int8' OR text_length IS NOT NULL")),
        // Those without a docstring, which they may have from another one.
        select_counterparts_(database.prepare(
            "SELECT id FROM symbols INDEXED BY undocumented_by_fqn WHERE fqn = ? AND " +
            undocumented_sql())),
        delete_own_vector_(database.prepare(
            "DELETE FROM vectors WHERE text IS NULL AND id IN (SELECT vector FROM embeddings"
            " WHERE model IN (SELECT id FROM models WHERE kind = 'int8') AND symbol = ?)")),
        delete_own_embedding_(
            database.prepare("DELETE FROM embeddings WHERE model IN (SELECT id FROM models"
                             " WHERE kind = 'int8') AND symbol = ?")),
        wait_for_own_(database.prepare("INSERT OR IGNORE INTO waiting SELECT id, ? FROM models"
                                       " WHERE kind = 'int8'")),
        wait_no_more_(database.prepare(
            "DELETE FROM waiting WHERE model IN (SELECT id FROM models) AND symbol = ?")),
        text_vectors_(database),
        has_models_(number("SELECT count(*) FROM models") > 0) {
    if (tree_.extraction.empty()) changed_ = renumber_import(database);
  }

  const TreeState& tree() const { return tree_; }

  void set_made_by(std::string_view extraction, std::uintmax_t largest_file) {
    database_.prepare("UPDATE meta SET extraction = ?, largest_file = ?")
        .bind(1, extraction)
        .bind(2, static_cast<std::int64_t>(largest_file))
        .run();
  }

  void note(const FileRecord& file) { store(file_number(file.path), file); }

  void put(const FileRecord& file, const std::vector<Symbol>& symbols) {
    const std::int64_t number = file_number(file.path);
    std::vector<SymbolName> names;
    names.reserve(symbols.size());
    for (const Symbol& symbol : symbols) names.push_back({symbol.kind, symbol.fqn});
    const std::vector<std::int64_t> numbers = symbol_numbers(names);
    // By id, the order in which the rows stand.
    std::map<SymbolId, const Symbol*> after;
    for (std::size_t i = 0; i < symbols.size(); ++i) {
      after.emplace(symbol_id(number, numbers[i]), &symbols[i]);
    }
    store(number, file);
    std::map<SymbolId, Stored> before = stored_symbols(number);
    for (const auto& [id, symbol] : after) {
      const auto same = before.extract(id);
      const bool keeps_text = !same.empty() && same.mapped().text == Stored::text_of(*symbol);
      const bool keeps_words = keeps_text && same.mapped().words == symbol->words;
      if (keeps_words && same.mapped().rest == Stored::rest_of(*symbol)) continue;
      store(id, number, *symbol);
      if (!keeps_text) {
        if (!same.empty()) drop_vectors(id);
        wait_.bind(1, id).run();
        if (symbol->docstring) documented_changed(symbol->fqn);
        if (!same.empty()) documented_changed(same.mapped());
      } else if (!keeps_words) {
        delete_own_vector_.bind(1, id).run();
        delete_own_embedding_.bind(1, id).run();
        wait_for_own_.bind(1, id).run();
      }
    }
    erase_all(before);
  }

  void remove(const std::string& path) {
    const std::int64_t number = file_number(path);
    erase_all(stored_symbols(number));
    delete_file_.bind(1, number).run();
    paths_changed_ = true;
  }

  std::int64_t embed(std::string_view name, std::size_t dimensions, const VectorOf& vector_of) {
    const auto [model, is_new] = own_model(name);
    const char* const which =
        is_new ? "" : " WHERE s.id IN (SELECT symbol FROM waiting WHERE model = ?1)";
    Statement select =
        database_.prepare(select_symbol_rows_with("s.words") + which + " ORDER BY s.id");
    if (!is_new) select.bind(1, model);
    RowReader rows(database_, RowReader::Use::many);
    EmbeddingWriter embeddings(database_);
    std::vector<float> vector(dimensions);
    std::int64_t stored = 0;
    while (select.step()) {
      const storage::SymbolRow symbol = rows.read(select);
      if (!vector_of(symbol, select.column_text(ROW_COLUMNS), vector)) continue;
      embeddings.add(model, symbol.id, stored_vector(vector, VectorKind::int8));
      ++stored;
    }
    if (stored > 0) changed_ = true;
    database_.prepare("DELETE FROM waiting WHERE model = ?").bind(1, model).run();
    return stored;
  }

  std::int64_t waiting_for(std::string_view name) const {
    Statement select = database_.prepare("SELECT id FROM models WHERE name = ? AND kind = 'int8'");
    if (!select.bind(1, name).step()) return symbol_count();
    return number("SELECT count(*) FROM waiting WHERE model = " +
                  std::to_string(select.column_int64(0)));
  }

  std::int64_t symbol_count() const { return number("SELECT count(*) FROM symbols"); }
  TextVectors& text_vectors() { return text_vectors_; }
  bool changed() const { return changed_ || text_vectors_.changed(); }

  void finish() {
    if (paths_changed_ && renumber_files(database_)) changed_ = true;
  }

 private:
  std::int64_t number(const std::string& sql) const {
    Statement select = database_.prepare(sql);
    return select.step() ? select.column_int64(0) : 0;
  }

  std::optional<std::int64_t> known_number(const std::string& path) {
    std::optional<std::int64_t> number;
    select_file_.bind(1, path);
    if (select_file_.step()) number = select_file_.column_int64(0);
    select_file_.reset();
    return number;
  }

  bool is_taken(std::int64_t number) {
    select_number_.bind(1, number);
    const bool taken = select_number_.step();
    select_number_.reset();
    return taken;
  }

  // A new file gets a number that is free; finish() sees to it that it is the right one.
  std::int64_t file_number(const std::string& path) {
    if (const std::optional<std::int64_t> known = known_number(path)) return *known;
    paths_changed_ = true;
    std::int64_t number = wanted_file_number(path);
    while (is_taken(number)) ++number;
    return number;
  }

  // The row of the program's own model, and whether it is new. It takes the place of any other, and
  // of vectors that came under its name.
  std::pair<std::int64_t, bool> own_model(std::string_view name) {
    Statement others =
        database_.prepare("SELECT id FROM models WHERE (kind = 'int8') <> (name = ?)");
    others.bind(1, name);
    while (others.step()) {
      const std::int64_t other = others.column_int64(0);
      changed_ = true;
      remove_vectors(database_, other);
      database_.prepare("DELETE FROM models WHERE id = ?").bind(1, other).run();
    }
    Statement select = database_.prepare("SELECT id FROM models WHERE name = ?");
    select.bind(1, name);
    const bool is_new = !select.step();
    if (is_new) {
      database_.prepare("INSERT INTO models(name, kind) VALUES(?, 'int8')").bind(1, name).run();
      select.reset();
      select.step();
    }
    return {select.column_int64(0), is_new};
  }

  std::map<SymbolId, Stored> stored_symbols(std::int64_t file) {
    std::map<SymbolId, Stored> stored;
    select_symbols_.bind(1, symbol_id(file, 0)).bind(2, symbol_id(file + 1, 0));
    while (select_symbols_.step()) {
      const Statement& row = select_symbols_;
      stored.emplace(
          row.column_int64(0),
          Stored{{column(row, 3), column(row, 1), column(row, 2),
                  owned(row.column_optional_text(7)), owned(row.column_optional_text(8))},
                 column(row, 9),
                 {column(row, 4), row.column_int64(5), row.column_int64(6)}});
    }
    select_symbols_.reset();
    return stored;
  }

  void store(std::int64_t number, const FileRecord& file) {
    store_file_.bind(1, number)
        .bind(2, file.path)
        .bind(3, file.language)
        .bind(4, file.expected)
        .bind(5, file.size)
        .bind(6, file.modified)
        .bind(7, file.changed)
        .bind(8, std::bit_cast<std::int64_t>(file.inode))
        .bind(9, std::bit_cast<std::int64_t>(file.hash))
        .bind(10, file.skipped)
        .bind(11, std::int64_t{file.is_header ? 1 : 0})
        .run();
  }

  void store(SymbolId id, std::int64_t file, const Symbol& symbol) {
    changed_ = true;
    store_symbol_.bind(1, id)
        .bind(2, file)
        .bind(3, symbol.fqn)
        .bind(4, symbol.name)
        .bind(5, symbol.kind)
        .bind(6, symbol.language)
        .bind(7, symbol.start_line)
        .bind(8, symbol.end_line)
        .bind(9, std::optional<std::string_view>(symbol.signature))
        .bind(10, std::optional<std::string_view>(symbol.docstring))
        .bind(11, symbol.words)
        .run();
  }

  void drop_vectors(SymbolId id) {
    delete_vectors_.bind(1, id).run();
    delete_embeddings_.bind(1, id).run();
  }

  void erase_all(const std::map<SymbolId, Stored>& symbols) {
    for (const auto& [id, symbol] : symbols) {
      erase(id);
      documented_changed(symbol);
    }
  }

  void documented_changed(const Stored& symbol) {
    if (std::get<4>(symbol.text)) documented_changed(std::get<1>(symbol.text));
  }

  // What a documented symbol of this name said, its counterparts may have said to a model. Those
  // that were not looked at yet in this update are as they were before.
  void documented_changed(const std::string& fqn) {
    if (!has_models_ || !changed_names_.insert(fqn).second) return;
    std::vector<SymbolId> ids;
    select_counterparts_.bind(1, fqn);
    while (select_counterparts_.step()) ids.push_back(select_counterparts_.column_int64(0));
    select_counterparts_.reset();
    for (const SymbolId id : ids) {
      drop_vectors(id);
      wait_.bind(1, id).run();
    }
  }

  void erase(SymbolId id) {
    changed_ = true;
    delete_symbol_.bind(1, id).run();
    drop_vectors(id);
    wait_no_more_.bind(1, id).run();
  }

  storage::Database& database_;
  const TreeState tree_;
  Statement store_file_;
  Statement select_file_;
  Statement select_number_;
  Statement delete_file_;
  Statement select_symbols_;
  Statement store_symbol_;
  Statement delete_symbol_;
  Statement delete_vectors_;  // but those of texts, which another symbol may have or get
  Statement delete_embeddings_;
  Statement wait_;
  Statement select_counterparts_;
  Statement delete_own_vector_;
  Statement delete_own_embedding_;
  Statement wait_for_own_;
  Statement wait_no_more_;
  TextVectors text_vectors_;
  const bool has_models_;
  std::unordered_set<std::string> changed_names_;  // of documented symbols
  bool paths_changed_ = false;
  bool changed_ = false;
};

Update::Update(storage::Database& database) : impl_(std::make_unique<Impl>(database)) {}
Update::~Update() = default;

const TreeState& Update::tree() const { return impl_->tree(); }
void Update::set_made_by(std::string_view extraction, std::uintmax_t largest_file) {
  impl_->set_made_by(extraction, largest_file);
}
void Update::put(const FileRecord& file, const std::vector<Symbol>& symbols) {
  impl_->put(file, symbols);
}
void Update::note(const FileRecord& file) { impl_->note(file); }
void Update::remove(const std::string& path) { impl_->remove(path); }
std::int64_t Update::embed(std::string_view model, std::size_t dimensions,
                           const VectorOf& vector_of) {
  return impl_->embed(model, dimensions, vector_of);
}
std::int64_t Update::symbol_count() const { return impl_->symbol_count(); }
std::int64_t Update::waiting_for(std::string_view model) const { return impl_->waiting_for(model); }
TextVectors& Update::text_vectors() { return impl_->text_vectors(); }
bool Update::changed() const { return impl_->changed(); }
void Update::finish() { impl_->finish(); }

}  // namespace velmora::host::index
