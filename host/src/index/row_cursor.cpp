#include "index/row_cursor.h"

#include <cstddef>
#include <string>
#include <utility>

#include "index/index_errors.h"

namespace velmora::host::index {
namespace {

std::string parameters(std::size_t count) {
  std::string list;
  for (std::size_t i = 0; i < count; ++i) list += i == 0 ? "?" : ",?";
  return list;
}

}  // namespace

storage::SymbolRow symbol_row(const storage::Statement& select) {
  return {.id = select.column_int64(0),
          .fqn = select.column_text(1),
          .name = select.column_text(2),
          .kind = select.column_text(3),
          .path = select.column_text(4),
          .start_line = select.column_int64(5),
          .end_line = select.column_int64(6),
          .signature = select.column_optional_text(7),
          .docstring = select.column_optional_text(8)};
}

RowCursor::RowCursor(ReaderPool::Lease reader, std::span<const std::string_view> languages,
                     std::span<const std::string_view> kinds)
    : reader_(std::move(reader)) {
  select_ = reader_->database.prepare(std::string(SELECT_SYMBOL_ROWS) + " WHERE s.language IN (" +
                                      parameters(languages.size()) +
                                      ")"
                                      " AND s.kind IN (" +
                                      parameters(kinds.size()) + ") ORDER BY s.id");
  int parameter = 0;
  for (const std::string_view language : languages) select_.bind(++parameter, language);
  for (const std::string_view kind : kinds) select_.bind(++parameter, kind);
}

const storage::SymbolRow* RowCursor::next() {
  return with_index_errors(reader_->file, [&]() -> const storage::SymbolRow* {
    if (!select_.step()) return nullptr;
    row_ = symbol_row(select_);
    return &row_;
  });
}

}  // namespace velmora::host::index
