// Reads rows of symbols, as the retriever gets them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "velmora/storage/repository_retrieval.h"
#include "velmora/storage/sqlite.h"

namespace velmora::host::index {

// Selects what a RowReader reads, from symbols s.
inline constexpr std::string_view SELECT_SYMBOL_ROWS =
    "SELECT s.id, s.fqn, s.name, s.kind, s.file, s.start_line, s.end_line, s.signature,"
    " s.docstring, s.language FROM symbols AS s";

// The same with more columns, the first of which is column ROW_COLUMNS.
[[nodiscard]] std::string select_symbol_rows_with(std::string_view columns);

// Columns of it that are asked for alone, and the first behind them.
inline constexpr int ROW_KIND = 3;
inline constexpr int ROW_LANGUAGE = 9;
inline constexpr int ROW_COLUMNS = 10;

// Gives a symbol without a docstring that of its counterpart (counterparts.h): of several, the one
// that comes first by path and id; of more than MOST_COUNTERPARTS, none, since the name says
// nothing then.
class RowReader {
 public:
  static constexpr int MOST_COUNTERPARTS = 8;

  // A reader of many rows reads those of one state of the index. It learns with the first one which
  // names have a docstring, and keeps the last path, which spares most look-ups.
  enum class Use { few, many };

  explicit RowReader(const storage::Database& database, Use use = Use::few);

  // The row at which `select` stands. Its texts live until the statement's next step, its path and
  // docstring until the reader's next row too. Throws DatabaseError when the index lacks its file.
  [[nodiscard]] storage::SymbolRow read(const storage::Statement& select);

 private:
  [[nodiscard]] std::string_view path_of(std::int64_t file);
  [[nodiscard]] bool may_be_documented(std::string_view fqn);
  void learn_names();
  [[nodiscard]] bool find_docstring(const storage::SymbolRow& row, std::string_view language);

  const storage::Database& database_;
  const Use use_;
  storage::Statement select_path_;
  storage::Statement counterparts_;
  std::int64_t file_ = 0;              // of the last row
  std::string path_;                   // its path
  std::vector<bool> documented_ = {};  // by the hash of a name; empty: not known
  std::string docstring_;              // of a counterpart
};

}  // namespace velmora::host::index
