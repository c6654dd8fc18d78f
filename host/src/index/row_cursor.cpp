#include "index/row_cursor.h"

#include <algorithm>
#include <string>
#include <utility>

#include "index/index_errors.h"

namespace velmora::host::index {
namespace {

constexpr int WORDS = ROW_COLUMNS;

}  // namespace

bool OneOf::operator()(std::string_view word) {
  if (last_ == words_.end() || *last_ != word) last_ = std::ranges::find(words_, word);
  return last_ != words_.end();
}

RowCursor::RowCursor(ReaderPool::Lease reader, std::span<const std::string_view> languages,
                     std::span<const std::string_view> kinds)
    : reader_(std::move(reader)),
      rows_(reader_->database, RowReader::Use::many),
      language_wanted_(languages),
      kind_wanted_(kinds) {
  select_ = reader_->database.prepare(select_symbol_rows_with("s.words") + " ORDER BY s.id");
}

const storage::SymbolRow* RowCursor::next() {
  return with_index_errors(reader_->file, [&]() -> const storage::SymbolRow* {
    while (select_.step()) {
      if (!language_wanted_(select_.column_text(ROW_LANGUAGE)) ||
          !kind_wanted_(select_.column_text(ROW_KIND))) {
        continue;
      }
      row_ = rows_.read(select_);
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
