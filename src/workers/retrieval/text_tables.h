// The full-text tables of a corpus: two FTS5 tables in memory, one of symbols and one of files,
// each with its BM25 weights as its stored rank expression, and the one query that channels ask of
// them.
#pragma once

#include <cstdint>
#include <functional>
#include <iterator>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "velmora/storage/sqlite.h"
#include "velmora/workers/retrieval.h"

namespace velmora::workers::retrieval::internal {

inline constexpr std::string_view SYMBOL_TABLE = "lexical";
inline constexpr std::string_view FILE_TABLE = "files";

// A row of the symbol table; every field is in the form of `index_text`.
struct SymbolText {
  SymbolId id = 0;
  std::string_view name;
  std::string_view signature;
  std::string_view path;
  std::string_view docstring;
};

// A row of the file table; every field is in the form of `index_text`.
struct FileText {
  std::int64_t row = 0;
  std::string_view names;
  std::string_view path;
  std::string_view docstrings;
};

// Yields the rows of the file table in order, then nothing. A row's texts live until the next call.
using FileTexts = std::function<std::optional<FileText>()>;

// One of the two tables, with the statements that questions run on it.
class TextTable {
 public:
  TextTable(const storage::Database& database, std::string_view name);

 private:
  friend class Matching;

  // The expression that matches any of the terms; empty when no term has a token.
  std::string match_expression(std::span<const std::string> terms);

  storage::Statement match_;         // the rowids that match ?1, best first
  storage::Statement count_tokens_;  // how many tokens ?1 has; no row while the table is empty
};

// Both tables, filled and never changed again, in a database that no other connection sees. Whoever
// uses them holds the corpus's `fts_lock`.
class TextTables {
 public:
  explicit TextTables(storage::Database database);

  // SYMBOL_TABLE or FILE_TABLE.
  [[nodiscard]] TextTable& table(std::string_view name);

 private:
  storage::Database database_;
  TextTable symbols_;
  TextTable files_;
};

// Makes and fills the tables; null, with a warning in the log, when SQLite has no FTS5 or does not
// know the tokenizer. Throws what the database throws while the tables are filled, for instance for
// a repeated id or a rank expression that SQLite refuses.
[[nodiscard]] std::unique_ptr<TextTables> text_tables(const RetrievalSettings& settings,
                                                      std::span<const SymbolText> symbols,
                                                      const FileTexts& files);

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
    std::int64_t operator*() const { return matching_.table_.match_.column_int64(0); }
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
  void advance() { on_row_ = table_.match_.step(); }

  std::unique_lock<std::mutex> lock_;
  TextTable& table_;
  std::string expression_;
  bool on_row_ = false;
};

}  // namespace velmora::workers::retrieval::internal
