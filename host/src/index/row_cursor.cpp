#include "index/row_cursor.h"

#include <cstddef>
#include <string>
#include <utility>

namespace velmora::host::index {
namespace {

std::string parameters(std::size_t count) {
  std::string list;
  for (std::size_t i = 0; i < count; ++i) list += i == 0 ? "?" : ",?";
  return list;
}

}  // namespace

RowCursor::RowCursor(ReaderPool::Lease reader, std::span<const std::string_view> languages,
                     std::span<const std::string_view> kinds)
    : reader_(std::move(reader)) {
  // A cross join keeps the symbols as the outer loop, so that their order needs no sort.
  select_ = reader_->database.prepare(
      "SELECT s.id, s.fqn, s.name, s.kind, f.path, s.start_line, s.end_line, s.signature,"
      " s.docstring FROM symbols AS s CROSS JOIN files AS f ON f.id = s.file"
      " WHERE s.language IN (" +
      parameters(languages.size()) +
      ")"
      " AND s.kind IN (" +
      parameters(kinds.size()) + ") ORDER BY s.id");
  int parameter = 0;
  for (const std::string_view language : languages) select_.bind(++parameter, language);
  for (const std::string_view kind : kinds) select_.bind(++parameter, kind);
}

const storage::SymbolRow* RowCursor::next() {
  if (!select_.step()) return nullptr;
  row_ = {.id = select_.column_int64(0),
          .fqn = select_.column_text(1),
          .name = select_.column_text(2),
          .kind = select_.column_text(3),
          .path = select_.column_text(4),
          .start_line = select_.column_int64(5),
          .end_line = select_.column_int64(6),
          .signature = select_.column_optional_text(7),
          .docstring = select_.column_optional_text(8)};
  return &row_;
}

}  // namespace velmora::host::index
