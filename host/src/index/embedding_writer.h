// Writes vectors that belong to one symbol each, within the transaction of its caller.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "velmora/models/symbol.h"
#include "velmora/storage/sqlite.h"

namespace velmora::host::index {

class EmbeddingWriter {
 public:
  // The database outlives the writer.
  explicit EmbeddingWriter(storage::Database& database);

  // Stores `numbers` as the vector of a symbol. A DatabaseError with SQLITE_CONSTRAINT says that
  // the model has one of it already; the transaction is of no use then.
  void add(std::int64_t model, models::SymbolId symbol, std::span<const std::byte> numbers);

 private:
  storage::Statement insert_vector_;
  storage::Statement insert_embedding_;
};

// Removes all vectors of a model; no symbol waits for it any more.
void remove_vectors(storage::Database& database, std::int64_t model);

}  // namespace velmora::host::index
