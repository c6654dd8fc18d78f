// A full-text table's own tokenizer, so that the setting `tokenizer` means the same everywhere.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "velmora/storage/sqlite.h"

namespace velmora::workers::retrieval::internal {

// What a text becomes. Synonyms, which stand in the place of another token, do not count.
struct Tokens {
  int count = 0;
  std::string first;  // cut where FTS5 cuts a token
};

// Runs texts through the tokenizer of a table. Used by one thread at a time, as the connection is:
// a tokenizer works in buffers of its own.
class TableTokenizer {
 public:
  // Tokenizes one text; lives within `run` alone.
  using Tokenize = std::function<Tokens(std::string_view text)>;

  // The tokenizer of an FTS5 table; makes the function of the connection that tokenizers run in.
  TableTokenizer(const storage::Database& database, const std::string& table);

  // Calls `use` with the table's tokenizer; false when the table has no row, and so none to use.
  bool run(const std::function<void(const Tokenize&)>& use);

 private:
  storage::Statement statement_;
};

}  // namespace velmora::workers::retrieval::internal
