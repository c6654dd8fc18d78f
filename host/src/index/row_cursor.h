// The rows that a corpus is built from.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "index/reader_pool.h"
#include "velmora/storage/repository_retrieval.h"

namespace velmora::host::index {

// Selects what `symbol_row` reads, from symbols s and files f. A cross join keeps the symbols as
// the outer loop, so that their order by id needs no sort.
inline constexpr std::string_view SELECT_SYMBOL_ROWS =
    "SELECT s.id, s.fqn, s.name, s.kind, f.path, s.start_line, s.end_line, s.signature,"
    " s.docstring FROM symbols AS s CROSS JOIN files AS f ON f.id = s.file";

// The same with more columns, the first of which is column 9.
[[nodiscard]] std::string select_symbol_rows_with(std::string_view columns);

// The row at which `select` stands; its texts live until the statement's next step.
[[nodiscard]] storage::SymbolRow symbol_row(const storage::Statement& select);
// The same of a statement that selects something else in place of the path.
[[nodiscard]] storage::SymbolRow symbol_row(const storage::Statement& select,
                                            std::string_view path);

// Tells whether a word is one of a list, which outlives it. Most are the one that the last was:
// that takes a part of the time that SQLite's IN takes.
class OneOf {
 public:
  explicit OneOf(std::span<const std::string_view> words) : words_(words), last_(words.end()) {}
  bool operator()(std::string_view word);

 private:
  std::span<const std::string_view> words_;
  std::span<const std::string_view>::iterator last_;  // or the end
};

// Streams the symbols of some languages and kinds by ascending id, with the words of their bodies
// behind their docstrings, for text search to read. Its open statement is the read transaction that
// keeps all rows of one state.
class RowCursor final : public storage::SymbolCursor {
 public:
  // The languages and kinds live as long as the cursor.
  RowCursor(ReaderPool::Lease reader, std::span<const std::string_view> languages,
            std::span<const std::string_view> kinds);

  const storage::SymbolRow* next() override;

 private:
  void find_path(std::int64_t file);
  void add_words(std::string_view words);

  ReaderPool::Lease reader_;
  storage::Statement select_;  // gone before its connection is lent again
  storage::Statement select_path_;
  std::optional<std::int64_t> file_;
  std::optional<std::string> path_;  // of the file, if it is there
  OneOf language_wanted_;
  OneOf kind_wanted_;
  storage::SymbolRow row_;
  std::string text_;  // of the row, when its docstring is not all of it
};

}  // namespace velmora::host::index
