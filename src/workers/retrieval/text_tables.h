// The full-text tables of a corpus: two FTS5 tables in memory, one of symbols and one of files,
// each with its BM25 weights as its stored rank expression, and the one query that channels ask of
// them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "velmora/storage/sqlite.h"
#include "velmora/workers/retrieval.h"
#include "workers/retrieval/bm25.h"
#include "workers/retrieval/index_texts.h"
#include "workers/retrieval/sort_memory.h"
#include "workers/retrieval/table_tokenizer.h"
#include "workers/retrieval/text_counts.h"

namespace velmora::workers::retrieval::internal {

inline constexpr std::string_view SYMBOL_TABLE = "lexical";
inline constexpr std::string_view FILE_TABLE = "files";

// Both tables, filled and never changed again, in a database that no other connection sees. Whoever
// uses them holds the corpus's `fts_lock`. A table is named SYMBOL_TABLE or FILE_TABLE.
//
// Where every word is one token, BM25 takes its counts from beside the tables, with the same
// scores; otherwise, as with a tokenizer that cuts words up, SQLite's own function stays.
class TextTables {
 public:
  // Takes a database whose tables hold `text`.
  TextTables(storage::Database database, const RetrievalSettings& settings, const CorpusText& text);
  TextTables(const TextTables&) = delete;
  TextTables& operator=(const TextTables&) = delete;

  // Readies the ranking of a table's rows by the terms, until the next call, and returns the
  // expression that matches any of them; empty when no row can match.
  [[nodiscard]] std::string activate(std::string_view table, std::span<const std::string> terms);

  // Lists the rowids of the table's rows that match ?1, best first.
  [[nodiscard]] storage::Statement& match(std::string_view table);

  [[nodiscard]] const storage::Database& database() const { return database_; }
  // The counts beside the tables; null when SQLite's own function ranks.
  [[nodiscard]] const TextCounts* counts() const { return counts_ ? &*counts_ : nullptr; }

 private:
  struct Table {
    Table(const storage::Database& database, std::string_view name, std::size_t row_count);

    std::size_t rows;
    storage::Statement match;
    TableTokenizer tokenizer;
  };

  [[nodiscard]] Table& table(std::string_view name);

  storage::Database database_;
  SortMemory sort_memory_;
  std::optional<TextCounts> counts_;
  Bm25Query active_;
  std::optional<Table> symbols_;  // made once the functions that they call are there
  std::optional<Table> files_;
};

// Makes and fills the tables; null, with a warning in the log, when SQLite has no FTS5 or does not
// know the tokenizer. Throws what the database throws while the tables are filled, for instance for
// a repeated id or a rank expression that SQLite refuses.
[[nodiscard]] std::unique_ptr<TextTables> text_tables(const RetrievalSettings& settings,
                                                      const CorpusText& text);

// The rowids of a table's rows that match any of the terms, best first, read one at a time:
//
//   for (const std::int64_t rowid : Matching(tables, lock, SYMBOL_TABLE, terms)) ...
//
// Takes the lock, waiting as long as it takes, and holds it until it is destroyed, which closes the
// cursor first. Can be walked once. `terms` (at least one, each of ASCII letters or of digits) is
// read by the constructor alone. The constructor and every step throw the database's error, among
// them that of a term which the tokenizer cuts into several tokens: a phrase, which these tables
// cannot answer.
class Matching {
 public:
  Matching(TextTables& tables, std::mutex& lock, std::string_view table,
           std::span<const std::string> terms);
  Matching(const Matching&) = delete;
  Matching& operator=(const Matching&) = delete;
  ~Matching();

  class Iterator {
   public:
    explicit Iterator(Matching& matching) : matching_(matching) {}
    std::int64_t operator*() const { return matching_.match_.column_int64(0); }
    Iterator& operator++() {
      matching_.advance();
      return *this;
    }
    bool operator==(std::default_sentinel_t) const { return !matching_.on_row_; }

   private:
    Matching& matching_;
  };

  [[nodiscard]] Iterator begin() { return Iterator(*this); }
  [[nodiscard]] std::default_sentinel_t end() const { return {}; }

 private:
  void advance() { on_row_ = match_.step(); }

  std::unique_lock<std::mutex> lock_;
  storage::Statement& match_;
  std::string expression_;
  bool on_row_ = false;
};

}  // namespace velmora::workers::retrieval::internal
