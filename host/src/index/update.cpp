#include "velmora/host/index/update.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <map>
#include <optional>
#include <stdexcept>
#include <tuple>
#include <utility>

#include "index/embedding_writer.h"
#include "index/row_cursor.h"
#include "index/stored_vector.h"
#include "velmora/storage/sqlite.h"

namespace velmora::host::index {
namespace {

using storage::Statement;

using Files = std::unordered_map<std::string, FileRecord>;

// What tells one symbol of a file from the others.
using Key = std::tuple<std::string, std::string, std::string, std::optional<std::string>,
                       std::optional<std::string>>;

// A stored symbol, and the parts of it that may change under its id.
struct Stored {
  SymbolId id = 0;
  std::tuple<std::string, std::int64_t, std::int64_t> rest;

  static auto rest_of(const Symbol& symbol) {
    return std::tuple(symbol.language, symbol.start_line, symbol.end_line);
  }
};

std::optional<std::string> owned(std::optional<std::string_view> text) {
  return text ? std::optional<std::string>(*text) : std::nullopt;
}

std::string column(const Statement& statement, int number) {
  return std::string(statement.column_text(number));
}

Files read_files(storage::Database& database) {
  Files files;
  Statement select =
      database.prepare("SELECT path, language, expected, size, modified, hash, skipped FROM files");
  while (select.step()) {
    FileRecord file{.path = column(select, 0),
                    .language = column(select, 1),
                    .expected = column(select, 2),
                    .size = select.column_int64(3),
                    .modified = select.column_int64(4),
                    .hash = std::bit_cast<std::uint64_t>(select.column_int64(5)),
                    .skipped = column(select, 6)};
    std::string path = file.path;
    files.emplace(std::move(path), std::move(file));
  }
  return files;
}

}  // namespace

class Update::Impl {
 public:
  explicit Impl(storage::Database& database)
      : database_(database),
        files_(read_files(database)),
        upsert_file_(database.prepare(
            "INSERT INTO files(path, language, expected, size, modified, hash, skipped)"
            " VALUES(?, ?, ?, ?, ?, ?, ?) ON CONFLICT(path) DO UPDATE SET"
            " language = excluded.language, expected = excluded.expected, size = excluded.size,"
            " modified = excluded.modified, hash = excluded.hash, skipped = excluded.skipped")),
        select_file_(database.prepare("SELECT id FROM files WHERE path = ?")),
        delete_file_(database.prepare("DELETE FROM files WHERE id = ?")),
        select_symbols_(database.prepare(
            "SELECT id, fqn, name, kind, language, start_line, end_line, signature, docstring"
            " FROM symbols WHERE file = ? ORDER BY start_line, id")),
        insert_symbol_(
            database.prepare("INSERT INTO symbols VALUES(?, ?, ?, ?, ?, ?, ?, ?, ?, ?)")),
        update_symbol_(database.prepare(
            "UPDATE symbols SET language = ?, start_line = ?, end_line = ? WHERE id = ?")),
        delete_symbol_(database.prepare("DELETE FROM symbols WHERE id = ?")),
        delete_vectors_(database.prepare(
            "DELETE FROM vectors WHERE text IS NULL AND id IN (SELECT vector FROM embeddings"
            " WHERE model IN (SELECT id FROM models) AND symbol = ?)")),
        delete_embeddings_(database.prepare(
            "DELETE FROM embeddings WHERE model IN (SELECT id FROM models) AND symbol = ?")),
        text_vectors_(database) {
    largest_id_ = number("SELECT largest_id FROM meta");
  }

  const Files& files() const { return files_; }

  std::string extraction() const {
    Statement select = database_.prepare("SELECT extraction FROM meta");
    return select.step() ? column(select, 0) : std::string();
  }

  void set_extraction(std::string_view version) {
    database_.prepare("UPDATE meta SET extraction = ?").bind(1, version).run();
  }

  void note(const FileRecord& file) {
    upsert_file_.bind(1, file.path)
        .bind(2, file.language)
        .bind(3, file.expected)
        .bind(4, file.size)
        .bind(5, file.modified)
        .bind(6, std::bit_cast<std::int64_t>(file.hash))
        .bind(7, file.skipped)
        .run();
  }

  void put(const FileRecord& file, const std::vector<Symbol>& symbols) {
    note(file);
    const std::int64_t file_number = file_id(file.path);
    std::map<Key, std::vector<Stored>> before;
    if (files_.contains(file.path)) before = stored_symbols(file_number);
    std::map<Key, std::size_t> taken;
    for (const Symbol& symbol : symbols) {
      Key key(symbol.kind, symbol.fqn, symbol.name, symbol.signature, symbol.docstring);
      const auto equals = before.find(key);
      std::size_t& place = taken[std::move(key)];
      if (equals == before.end() || place == equals->second.size()) {
        insert(file_number, symbol);
        continue;
      }
      const Stored& stored = equals->second[place++];
      if (stored.rest != Stored::rest_of(symbol)) change(stored.id, symbol);
    }
    for (const auto& [key, equals] : before) {
      const auto found = taken.find(key);
      for (std::size_t i = found == taken.end() ? 0 : found->second; i < equals.size(); ++i) {
        erase(equals[i].id);
      }
    }
  }

  void remove(const std::string& path) {
    const std::int64_t file_number = file_id(path);
    for (const auto& [key, equals] : stored_symbols(file_number)) {
      for (const Stored& stored : equals) erase(stored.id);
    }
    delete_file_.bind(1, file_number).run();
  }

  std::int64_t embed(std::string_view name, std::size_t dimensions, const VectorOf& vector_of) {
    const auto [model, embedded_to] = own_model(name);
    Statement select = database_.prepare(std::string(SELECT_SYMBOL_ROWS) +
                                         " WHERE s.id >= ?2 AND NOT EXISTS (SELECT 1 FROM "
                                         "embeddings AS e WHERE e.model = ?1 AND e.symbol = s.id)"
                                         " ORDER BY s.id");
    EmbeddingWriter embeddings(database_);
    select.bind(1, model).bind(2, embedded_to);
    std::vector<float> vector(dimensions);
    std::int64_t stored = 0;
    while (select.step()) {
      const storage::SymbolRow symbol = symbol_row(select);
      if (!vector_of(symbol, vector)) continue;
      embeddings.add(model, symbol.id, stored_vector(vector, VectorKind::int8));
      ++stored;
    }
    if (stored > 0) changed_ = true;
    if (embedded_to != largest_id_) {
      database_.prepare("UPDATE models SET embedded_to = ? WHERE id = ?")
          .bind(1, largest_id_)
          .bind(2, model)
          .run();
    }
    return stored;
  }

  std::int64_t symbol_count() const { return number("SELECT count(*) FROM symbols"); }
  TextVectors& text_vectors() { return text_vectors_; }
  bool changed() const { return changed_ || text_vectors_.changed(); }

  void finish() {
    if (gave_ids_) database_.prepare("UPDATE meta SET largest_id = ?").bind(1, largest_id_).run();
  }

 private:
  std::int64_t number(std::string_view sql) const {
    Statement select = database_.prepare(sql);
    return select.step() ? select.column_int64(0) : 0;
  }

  std::int64_t file_id(const std::string& path) {
    select_file_.bind(1, path);
    if (!select_file_.step()) throw std::logic_error("the index has no file " + path);
    const std::int64_t id = select_file_.column_int64(0);
    select_file_.reset();
    return id;
  }

  // The row of the program's own model, and where it is. It takes the place of any other, and of
  // vectors that came under its name.
  std::pair<std::int64_t, SymbolId> own_model(std::string_view name) {
    Statement others =
        database_.prepare("SELECT id FROM models WHERE (kind = 'int8') <> (name = ?)");
    others.bind(1, name);
    while (others.step()) {
      const std::int64_t other = others.column_int64(0);
      changed_ = true;
      remove_vectors(database_, other);
      database_.prepare("DELETE FROM models WHERE id = ?").bind(1, other).run();
    }
    database_
        .prepare("INSERT INTO models(name, kind) VALUES(?, 'int8') ON CONFLICT(name) DO NOTHING")
        .bind(1, name)
        .run();
    Statement select = database_.prepare("SELECT id, embedded_to FROM models WHERE name = ?");
    select.bind(1, name);
    select.step();
    return {select.column_int64(0), select.column_int64(1)};
  }

  // The symbols of a file, equal ones in the order in which they stand in it.
  std::map<Key, std::vector<Stored>> stored_symbols(std::int64_t file) {
    std::map<Key, std::vector<Stored>> stored;
    select_symbols_.bind(1, file);
    while (select_symbols_.step()) {
      const Statement& row = select_symbols_;
      Key key(column(row, 3), column(row, 1), column(row, 2), owned(row.column_optional_text(7)),
              owned(row.column_optional_text(8)));
      stored[std::move(key)].push_back(
          Stored{row.column_int64(0), {column(row, 4), row.column_int64(5), row.column_int64(6)}});
    }
    select_symbols_.reset();
    return stored;
  }

  void insert(std::int64_t file, const Symbol& symbol) {
    if (largest_id_ == std::numeric_limits<SymbolId>::max()) {
      throw std::runtime_error("The index has no ids left. Remove it and make it anew");
    }
    changed_ = gave_ids_ = true;
    insert_symbol_.bind(1, ++largest_id_)
        .bind(2, file)
        .bind(3, symbol.fqn)
        .bind(4, symbol.name)
        .bind(5, symbol.kind)
        .bind(6, symbol.language)
        .bind(7, symbol.start_line)
        .bind(8, symbol.end_line)
        .bind(9, std::optional<std::string_view>(symbol.signature))
        .bind(10, std::optional<std::string_view>(symbol.docstring))
        .run();
  }

  void change(SymbolId id, const Symbol& symbol) {
    changed_ = true;
    update_symbol_.bind(1, symbol.language)
        .bind(2, symbol.start_line)
        .bind(3, symbol.end_line)
        .bind(4, id)
        .run();
  }

  void erase(SymbolId id) {
    changed_ = true;
    delete_symbol_.bind(1, id).run();
    delete_vectors_.bind(1, id).run();
    delete_embeddings_.bind(1, id).run();
  }

  storage::Database& database_;
  const Files files_;
  Statement upsert_file_;
  Statement select_file_;
  Statement delete_file_;
  Statement select_symbols_;
  Statement insert_symbol_;
  Statement update_symbol_;
  Statement delete_symbol_;
  Statement delete_vectors_;  // but those of texts, which another symbol may have or get
  Statement delete_embeddings_;
  TextVectors text_vectors_;
  SymbolId largest_id_ = 0;
  bool gave_ids_ = false;
  bool changed_ = false;
};

Update::Update(storage::Database& database) : impl_(std::make_unique<Impl>(database)) {}
Update::~Update() = default;

const Files& Update::files() const { return impl_->files(); }
std::string Update::extraction() const { return impl_->extraction(); }
void Update::set_extraction(std::string_view version) { impl_->set_extraction(version); }
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
TextVectors& Update::text_vectors() { return impl_->text_vectors(); }
bool Update::changed() const { return impl_->changed(); }
void Update::finish() { impl_->finish(); }

}  // namespace velmora::host::index
