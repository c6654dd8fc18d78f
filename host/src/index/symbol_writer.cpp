#include "index/symbol_writer.h"

#include <algorithm>
#include <limits>
#include <stdexcept>

#include "index/stored_vector.h"

namespace velmora::host::index {
namespace {

using storage::DatabaseError;

// The number of `name`, which gets the next one and a row, made by `insert`, when it is new.
template <class Insert>
std::int64_t numbered(std::map<std::string, std::int64_t>& numbers, const std::string& name,
                      Insert&& insert) {
  const auto [entry, is_new] =
      numbers.try_emplace(name, static_cast<std::int64_t>(numbers.size()) + 1);
  if (is_new) insert(entry->second);
  return entry->second;
}

}  // namespace

SymbolWriter::SymbolWriter(storage::Database& database, VectorKind kind)
    : database_(database),
      kind_(kind),
      insert_symbol_(
          database.prepare("INSERT INTO symbols VALUES(?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)")),
      embeddings_(database) {
  database.execute(
      "DELETE FROM embeddings; DELETE FROM waiting; DELETE FROM vectors; DELETE FROM models;"
      " DELETE FROM symbols; DELETE FROM files");
}

SymbolId SymbolWriter::next_id() const {
  if (!largest_id_) return 1;
  if (*largest_id_ == std::numeric_limits<SymbolId>::max()) {
    throw std::invalid_argument("there is no id left after " + std::to_string(*largest_id_));
  }
  return *largest_id_ + 1;
}

std::int64_t SymbolWriter::file_id(const std::string& path) {
  return numbered(files_, path, [&](std::int64_t id) {
    database_.prepare("INSERT INTO files(id, path) VALUES(?, ?)")
        .bind(1, id)
        .bind(2, std::string_view(path))
        .run();
  });
}

std::int64_t SymbolWriter::model_id(const std::string& name) {
  return numbered(models_, name, [&](std::int64_t id) {
    database_.prepare("INSERT INTO models(id, name, kind) VALUES(?, ?, ?)")
        .bind(1, id)
        .bind(2, std::string_view(name))
        .bind(3, kind_name(kind_))
        .run();
  });
}

void SymbolWriter::add(const Symbol& symbol) {
  const SymbolId id = symbol.id ? *symbol.id : next_id();
  try {
    insert_symbol_.bind(1, id)
        .bind(2, file_id(symbol.path))
        .bind(3, std::string_view(symbol.fqn))
        .bind(4, std::string_view(symbol.name))
        .bind(5, std::string_view(symbol.kind))
        .bind(6, std::string_view(symbol.language))
        .bind(7, symbol.start_line)
        .bind(8, symbol.end_line)
        .bind(9, std::optional<std::string_view>(symbol.signature))
        .bind(10, std::optional<std::string_view>(symbol.docstring))
        .bind(11, std::string_view(symbol.words))
        .run();
  } catch (const DatabaseError& error) {
    if (error.code() != SQLITE_CONSTRAINT) throw;
    throw std::invalid_argument("the id " + std::to_string(id) + " is repeated");
  }
  largest_id_ = largest_id_ ? std::max(*largest_id_, id) : id;
  for (const SymbolEmbedding& embedding : symbol.embeddings) add_embedding(id, embedding);
}

void SymbolWriter::add_embedding(SymbolId symbol, const SymbolEmbedding& embedding) {
  require_direction(embedding.values, "the vector of model " + embedding.model);
  try {
    embeddings_.add(model_id(embedding.model), symbol, stored_vector(embedding.values, kind_));
  } catch (const DatabaseError& error) {
    if (error.code() != SQLITE_CONSTRAINT) throw;
    throw std::invalid_argument("the model " + embedding.model + " embeds symbol " +
                                std::to_string(symbol) + " twice");
  }
}

void SymbolWriter::finish() { database_.execute("UPDATE meta SET extraction = ''"); }

}  // namespace velmora::host::index
