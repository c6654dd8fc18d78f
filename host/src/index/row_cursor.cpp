#include "index/row_cursor.h"

#include <algorithm>
#include <string>
#include <utility>

#include "index/index_errors.h"

namespace velmora::host::index {
namespace {

// Columns behind those of symbol_row.
constexpr int LANGUAGE = 9;
constexpr int WORDS = 10;

}  // namespace

bool OneOf::operator()(std::string_view word) {
  if (last_ == words_.end() || *last_ != word) last_ = std::ranges::find(words_, word);
  return last_ != words_.end();
}

std::string select_symbol_rows_with(std::string_view columns) {
  std::string sql(SELECT_SYMBOL_ROWS);
  return sql.insert(sql.find(" FROM "), ", " + std::string(columns));
}

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
    : reader_(std::move(reader)), language_wanted_(languages), kind_wanted_(kinds) {
  select_ =
      reader_->database.prepare(select_symbol_rows_with("s.language, s.words") + " ORDER BY s.id");
}

const storage::SymbolRow* RowCursor::next() {
  return with_index_errors(reader_->file, [&]() -> const storage::SymbolRow* {
    while (select_.step()) {
      row_ = symbol_row(select_);
      if (!language_wanted_(select_.column_text(LANGUAGE)) || !kind_wanted_(row_.kind)) continue;
      add_words(select_.column_text(WORDS));
      return &row_;
    }
    return nullptr;
  });
}

void RowCursor::add_words(std::string_view words) {
  if (words.empty()) return;
  text_ = row_.docstring.value_or("");
  if (!text_.empty()) text_ += '\n';
  text_ += words;
  row_.docstring = text_;
}

}  // namespace velmora::host::index
