// The rows that a corpus is built from.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "index/reader_pool.h"
#include "index/row_reader.h"
#include "velmora/storage/repository_retrieval.h"

namespace velmora::host::index {

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
  void add_words(std::string_view words);

  ReaderPool::Lease reader_;
  storage::Statement select_;  // gone before its connection is lent again
  RowReader rows_;             // likewise; of the state that is read
  OneOf language_wanted_;
  OneOf kind_wanted_;
  storage::SymbolRow row_;
  std::string text_;  // of the row, when its docstring is not all of it
};

}  // namespace velmora::host::index
