// The two FTS5 tables in memory, one of symbols and one of files, each with its BM25 weights as its
// stored rank expression.
#pragma once

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "velmora/storage/sqlite.h"
#include "workers/retrieval/documents.h"
#include "workers/retrieval/table_tokenizer.h"
#include "workers/retrieval/text_index.h"

namespace velmora::workers::retrieval::internal {

// In a database that no other connection sees. Used by one thread at a time.
class TextTables {
 public:
  // Empty tables; null, with a warning in the log, when SQLite cannot make them.
  [[nodiscard]] static std::unique_ptr<TextTables> make(const std::string& tokenizer);

  // Stores the rank expressions.
  void set_ranks(const RetrievalSettings& settings);
  void add(const SymbolDocument& symbol, const Vocabulary& vocabulary);
  void add_files(const Documents& documents);

  // The expression that matches any of the terms; empty when none has a token.
  [[nodiscard]] std::string any_of(std::span<const std::string> terms);

  // What TextIndex::Search promises, of the rows that match the expression.
  [[nodiscard]] std::vector<RowId> best(TextTable table, const std::string& expression,
                                        std::size_t count, const TextIndex::Accept& accept);

  // The weights of a rank expression as SQLite reads them, which may differ in the last bit from
  // what was written.
  [[nodiscard]] std::vector<double> weights_of(const std::string& rank_expression) const;

  [[nodiscard]] storage::Database& database() { return database_; }
  // Runs while the symbol table has a row.
  [[nodiscard]] TableTokenizer& tokenizer() { return tokenizer_; }

 private:
  explicit TextTables(storage::Database database);

  storage::Database database_;
  TableTokenizer tokenizer_;
  storage::Statement insert_symbol_;
};

}  // namespace velmora::workers::retrieval::internal
