#include "index/row_cursor.h"

#include <algorithm>
#include <string>
#include <utility>

#include "index/index_errors.h"

namespace velmora::host::index {
namespace {

// A column of symbol_row.
constexpr int PATH = 4;

// In its place, and behind those of symbol_row.
constexpr int FILE = PATH;
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
  return symbol_row(select, select.column_text(PATH));
}

storage::SymbolRow symbol_row(const storage::Statement& select, std::string_view path) {
  return {.id = select.column_int64(0),
          .fqn = select.column_text(1),
          .name = select.column_text(2),
          .kind = select.column_text(3),
          .path = path,
          .start_line = select.column_int64(5),
          .end_line = select.column_int64(6),
          .signature = select.column_optional_text(7),
          .docstring = select.column_optional_text(8)};
}

RowCursor::RowCursor(ReaderPool::Lease reader, std::span<const std::string_view> languages,
                     std::span<const std::string_view> kinds)
    : reader_(std::move(reader)), language_wanted_(languages), kind_wanted_(kinds) {
  select_ = reader_->database.prepare(
      "SELECT id, fqn, name, kind, file, start_line, end_line, signature, docstring, language, "
      "words"
      " FROM symbols ORDER BY id");
  select_path_ = reader_->database.prepare("SELECT path FROM files WHERE id = ?");
}

const storage::SymbolRow* RowCursor::next() {
  return with_index_errors(reader_->file, [&]() -> const storage::SymbolRow* {
    while (select_.step()) {
      find_path(select_.column_int64(FILE));
      if (!path_) continue;
      row_ = symbol_row(select_, *path_);
      if (!language_wanted_(select_.column_text(LANGUAGE)) || !kind_wanted_(row_.kind)) continue;
      add_words(select_.column_text(WORDS));
      return &row_;
    }
    return nullptr;
  });
}

// The rows of a file mostly follow one another: a join looks for its path again at each.
void RowCursor::find_path(std::int64_t file) {
  if (file_ == file) return;
  file_ = file;
  path_.reset();
  select_path_.bind(1, file);
  if (select_path_.step()) path_ = select_path_.column_text(0);
  select_path_.reset();
}

void RowCursor::add_words(std::string_view words) {
  if (words.empty()) return;
  text_ = row_.docstring.value_or("");
  if (!text_.empty()) text_ += '\n';
  text_ += words;
  row_.docstring = text_;
}

}  // namespace velmora::host::index
