#include "index/embedding_writer.h"

namespace velmora::host::index {

EmbeddingWriter::EmbeddingWriter(storage::Database& database)
    : insert_vector_(database.prepare("INSERT INTO vectors(model, numbers) VALUES(?, ?)")),
      insert_embedding_(
          database.prepare("INSERT INTO embeddings VALUES(?, ?, last_insert_rowid())")) {}

void EmbeddingWriter::add(std::int64_t model, models::SymbolId symbol,
                          std::span<const std::byte> numbers) {
  insert_vector_.bind(1, model).bind_blob(2, numbers).run();
  insert_embedding_.bind(1, model).bind(2, symbol).run();
}

void remove_vectors(storage::Database& database, std::int64_t model) {
  for (const char* sql :
       {"DELETE FROM embeddings WHERE model = ?", "DELETE FROM waiting WHERE model = ?",
        "DELETE FROM vectors WHERE model = ?"}) {
    database.prepare(sql).bind(1, model).run();
  }
}

}  // namespace velmora::host::index
