// Writes symbols into the tables of an index, within the transaction of its caller.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "index/embedding_writer.h"
#include "velmora/host/index/symbol.h"
#include "velmora/host/index/vector_kind.h"
#include "velmora/storage/sqlite.h"

namespace velmora::host::index {

class SymbolWriter {
 public:
  // Empties the tables. Vectors will be kept as `kind`. The database outlives the writer.
  SymbolWriter(storage::Database& database, VectorKind kind);

  // Stores a symbol. Throws std::invalid_argument for one that cannot be stored, and is of no use
  // afterwards.
  void add(const Symbol& symbol);

  // Writes down what the index knows of its symbols as a whole. The last call.
  void finish();

 private:
  SymbolId next_id() const;
  std::int64_t file_id(const std::string& path);
  std::int64_t model_id(const std::string& name);
  void add_embedding(SymbolId symbol, const SymbolEmbedding& embedding);

  storage::Database& database_;
  const VectorKind kind_;
  storage::Statement insert_symbol_;
  EmbeddingWriter embeddings_;
  std::map<std::string, std::int64_t> files_;
  std::map<std::string, std::int64_t> models_;
  std::optional<SymbolId> largest_id_;
};

}  // namespace velmora::host::index
