// The terms of a corpus: what its tokenizer makes of its words.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "workers/retrieval/table_tokenizer.h"
#include "workers/retrieval/vocabulary.h"

namespace velmora::workers::retrieval::internal {

// A term's number; several words, those of one stem, may share one.
using TermId = std::uint32_t;

// Immutable; any thread may read it.
class Dictionary {
 public:
  // Numbers the terms, running each word through the tokenizer once, and puts the term of each
  // WordId into `term_of_word`. Nothing when some word is not exactly one token, when a space does
  // not part two, or when there is no tokenizer to ask.
  [[nodiscard]] static std::optional<Dictionary> make(TableTokenizer& tokenizer,
                                                      const Vocabulary& vocabulary,
                                                      std::vector<TermId>& term_of_word);

  // The term of a word of the corpus, or the term that is this token; nothing when no row holds it.
  [[nodiscard]] std::optional<TermId> find_word(const std::string& word) const;
  [[nodiscard]] std::optional<TermId> find_token(const std::string& token) const;

  // How many terms there are.
  [[nodiscard]] std::size_t size() const { return tokens_.size(); }

 private:
  using Terms = std::unordered_map<std::string, TermId>;

  Terms words_;
  Terms tokens_;
};

}  // namespace velmora::workers::retrieval::internal
