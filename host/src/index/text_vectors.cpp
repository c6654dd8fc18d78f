#include "velmora/host/index/text_vectors.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include "index/embedding_writer.h"
#include "index/row_reader.h"
#include "index/stored_vector.h"
#include "velmora/storage/sqlite.h"

namespace velmora::host::index {
namespace {

using storage::Statement;

// Selects what a RowReader reads; then the vector of the symbol, NULL when it has none; then the
// key of that vector's text, NULL when an import gave the vector. The first parameter is the model.
std::string select_linked() {
  return select_symbol_rows_with("e.vector, v.text") +
         " LEFT JOIN embeddings AS e ON e.model = ?1 AND e.symbol = s.id"
         " LEFT JOIN vectors AS v ON v.id = e.vector";
}

// Its columns behind those of a row.
constexpr int VECTOR = ROW_COLUMNS;
constexpr int TEXT = ROW_COLUMNS + 1;

bool is_null(const Statement& statement, int column) {
  return !statement.column_optional_text(column);
}

}  // namespace

TextVectors::TextVectors(storage::Database& database)
    : database_(database),
      select_vector_(database.prepare("SELECT id FROM vectors WHERE model = ? AND text = ?")),
      give_(database.prepare("INSERT OR REPLACE INTO embeddings VALUES(?, ?, ?)")),
      take_away_(database.prepare("DELETE FROM embeddings WHERE model = ? AND symbol = ?")) {}

std::vector<TextModel> TextVectors::models() const {
  std::vector<TextModel> models;
  Statement select = database_.prepare(
      "SELECT name, prefix, text_length FROM models WHERE text_length IS NOT NULL ORDER BY name");
  while (select.step()) {
    models.push_back({.name = std::string(select.column_text(0)),
                      .prefix = std::string(select.column_text(1)),
                      .text_length = select.column_int64(2)});
  }
  return models;
}

void TextVectors::set_model(const TextModel& model, bool half_precision) {
  std::optional<VectorKind> kind = kind_of_model(model.name);
  if (kind == VectorKind::int8) {
    throw std::invalid_argument(model.name + " is the program's own model");
  }
  database_
      .prepare(
          "INSERT INTO models(name, kind, prefix, text_length) VALUES(?, ?, ?, ?)"
          " ON CONFLICT(name) DO UPDATE SET prefix = excluded.prefix,"
          " text_length = excluded.text_length")
      .bind(1, model.name)
      .bind(2, kind_name(half_precision ? VectorKind::float16 : VectorKind::float32))
      .bind(3, model.prefix)
      .bind(4, model.text_length)
      .run();
  if (half_precision && kind == VectorKind::float32) halve(model_id(model.name));
}

std::optional<VectorKind> TextVectors::kind_of_model(std::string_view name) const {
  Statement select = database_.prepare("SELECT kind FROM models WHERE name = ?");
  select.bind(1, name);
  if (!select.step()) return std::nullopt;
  return kind_of(select.column_text(0));
}

void TextVectors::halve(std::int64_t model) {
  changed_ = true;
  std::vector<std::int64_t> ids;
  Statement list = database_.prepare("SELECT id FROM vectors WHERE model = ?");
  list.bind(1, model);
  while (list.step()) ids.push_back(list.column_int64(0));
  Statement select = database_.prepare("SELECT numbers FROM vectors WHERE id = ?");
  Statement update = database_.prepare("UPDATE vectors SET numbers = ? WHERE id = ?");
  for (const std::int64_t id : ids) {
    select.bind(1, id);
    select.step();
    const std::span<const std::byte> bytes = select.column_blob(0);
    std::vector<float> values(bytes.size() / sizeof(float));
    std::memcpy(values.data(), bytes.data(), values.size() * sizeof(float));
    select.reset();
    update.bind_blob(1, stored_vector(values, VectorKind::float16)).bind(2, id).run();
  }
  database_.prepare("UPDATE models SET kind = ? WHERE id = ?")
      .bind(1, kind_name(VectorKind::float16))
      .bind(2, model)
      .run();
}

void TextVectors::forget(std::string_view model) {
  Statement select = database_.prepare("SELECT id FROM models WHERE name = ?");
  select.bind(1, model);
  if (!select.step()) return;
  const std::int64_t id = select.column_int64(0);
  select.reset();
  remove_vectors(database_, id);
  changed_ = true;
}

std::int64_t TextVectors::model_id(std::string_view model) const {
  Statement select =
      database_.prepare("SELECT id FROM models WHERE name = ? AND text_length IS NOT NULL");
  select.bind(1, model);
  if (!select.step()) throw std::logic_error("the index has no model " + std::string(model));
  return select.column_int64(0);
}

std::optional<std::int64_t> TextVectors::vector_of(std::int64_t model, const TextKey& key) {
  std::optional<std::int64_t> vector;
  select_vector_.bind(1, model).bind_blob(2, key);
  if (select_vector_.step()) vector = select_vector_.column_int64(0);
  select_vector_.reset();
  return vector;
}

void TextVectors::give(std::int64_t model, SymbolId symbol, std::int64_t vector) {
  changed_ = true;
  give_.bind(1, model).bind(2, symbol).bind(3, vector).run();
}

void TextVectors::take_away(std::int64_t model, SymbolId symbol) {
  changed_ = true;
  take_away_.bind(1, model).bind(2, symbol).run();
}

TextVectors::Links TextVectors::link_symbols(std::int64_t model, Statement& select,
                                             const KeyOf& key_of) {
  Links links;
  RowReader rows(database_, RowReader::Use::many);
  while (select.step()) {
    const storage::SymbolRow symbol = rows.read(select);
    const std::optional<TextKey> key = key_of(symbol);
    if (!key) continue;
    ++links.symbols;
    const bool has_vector = !is_null(select, VECTOR);
    const std::span<const std::byte> text = select.column_blob(TEXT);
    if (has_vector && (text.empty() || std::ranges::equal(text, *key))) continue;
    if (const std::optional<std::int64_t> vector = vector_of(model, *key)) {
      give(model, symbol.id, *vector);
      ++links.linked;
      continue;
    }
    if (has_vector) take_away(model, symbol.id);
    links.missing.push_back({.symbol = symbol.id, .key = *key});
  }
  database_.prepare("DELETE FROM waiting WHERE model = ?").bind(1, model).run();
  return links;
}

TextVectors::Links TextVectors::link(std::string_view model, const KeyOf& key_of) {
  const std::int64_t id = model_id(model);
  Statement select = database_.prepare(select_linked() + " ORDER BY s.id");
  select.bind(1, id);
  return link_symbols(id, select, key_of);
}

void TextVectors::link_new(std::string_view model, const KeyOf& key_of) {
  const std::int64_t id = model_id(model);
  Statement select = database_.prepare(
      select_linked() +
      " WHERE s.id IN (SELECT symbol FROM waiting WHERE model = ?1) ORDER BY s.id");
  select.bind(1, id);
  static_cast<void>(link_symbols(id, select, key_of));
}

void TextVectors::add(std::string_view model, const TextKey& key, std::span<const float> values,
                      std::span<const SymbolId> symbols, const KeyOf& key_of) {
  require_direction(values, "a vector");
  const std::int64_t id = model_id(model);
  const VectorKind kind = kind_of_model(model).value();
  const std::vector<std::byte> numbers = stored_vector(values, kind);
  Statement earlier = database_.prepare(
      "SELECT length(numbers) FROM vectors WHERE id = coalesce("
      "(SELECT vector FROM embeddings WHERE model = ?1 LIMIT 1),"
      " (SELECT id FROM vectors WHERE model = ?1 AND text IS NOT NULL LIMIT 1))");
  earlier.bind(1, id);
  if (earlier.step() && earlier.column_int64(0) != static_cast<std::int64_t>(numbers.size())) {
    const auto length = static_cast<std::size_t>(earlier.column_int64(0)) / number_size(kind);
    throw std::invalid_argument("a vector of " + std::to_string(values.size()) +
                                " numbers, where the earlier ones have " + std::to_string(length));
  }
  earlier.reset();
  database_
      .prepare("INSERT INTO vectors(model, text, numbers) VALUES(?, ?, ?) ON CONFLICT DO NOTHING")
      .bind(1, id)
      .bind_blob(2, key)
      .bind_blob(3, numbers)
      .run();
  const std::int64_t vector = vector_of(id, key).value();
  Statement select = database_.prepare(std::string(SELECT_SYMBOL_ROWS) + " WHERE s.id = ?");
  RowReader rows(database_);
  for (const SymbolId symbol : symbols) {
    select.bind(1, symbol);
    const bool is_same = select.step() && key_of(rows.read(select)) == key;
    select.reset();
    if (is_same) give(id, symbol, vector);
  }
}

void TextVectors::drop_unused(std::string_view model, std::int64_t most) {
  const std::string unused =
      " FROM vectors WHERE model = ?1 AND text IS NOT NULL"
      " AND id NOT IN (SELECT vector FROM embeddings WHERE model = ?1)";
  const std::int64_t id = model_id(model);
  Statement count = database_.prepare("SELECT count(*)" + unused);
  count.bind(1, id);
  count.step();
  const std::int64_t excess = count.column_int64(0) - most;
  count.reset();
  if (excess <= 0) return;
  database_
      .prepare("DELETE FROM vectors WHERE id IN (SELECT id" + unused + " ORDER BY id LIMIT ?2)")
      .bind(1, id)
      .bind(2, excess)
      .run();
}

}  // namespace velmora::host::index
