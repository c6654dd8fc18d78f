// The term counts of both full-text tables, and the tokens that they count.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "workers/retrieval/index_texts.h"
#include "workers/retrieval/table_tokenizer.h"
#include "workers/retrieval/term_counts.h"

namespace velmora::workers::retrieval::internal {

// The BM25 weights of the columns of both tables.
struct TableWeights {
  std::vector<double> symbols;
  std::vector<double> files;
};

// Immutable; any thread may read it.
class TextCounts {
 public:
  // Counts the tokens of `text`, running each distinct word through the tokenizer once. Nothing
  // when the numbers could differ from those of the tables: when a word is not exactly one token,
  // when a space does not part two, when a table has no row, or when a table holds too many
  // different frequencies.
  [[nodiscard]] static std::optional<TextCounts> count(TableTokenizer& tokenizer,
                                                       const TableWeights& weights,
                                                       const CorpusText& text);

  // The token's number, or nothing when no row holds it.
  [[nodiscard]] std::optional<TokenId> find(const std::string& token) const;

  [[nodiscard]] const TermCounts& symbols() const { return symbols_; }
  [[nodiscard]] const TermCounts& files() const { return files_; }

 private:
  // The token of each word, by WordId; false when some word is not exactly one.
  bool number_tokens(TableTokenizer& tokenizer, const Vocabulary& vocabulary,
                     std::vector<TokenId>& token_of_word);

  std::unordered_map<std::string, TokenId> tokens_;
  TermCounts symbols_;
  TermCounts files_;
};

}  // namespace velmora::workers::retrieval::internal
