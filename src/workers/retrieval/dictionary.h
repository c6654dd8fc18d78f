// The terms of a corpus: what its tokenizer makes of its words.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "utils/arena.h"
#include "utils/interner.h"
#include "workers/retrieval/table_tokenizer.h"
#include "workers/retrieval/vocabulary.h"

namespace velmora::workers::retrieval::internal {

// A term's number; several words, those of one stem, may share one.
using TermId = std::uint32_t;

// Immutable; any thread may read it.
class Dictionary {
 public:
  static constexpr TermId UNKNOWN = utils::Interner::NONE;

  // Numbers the terms, running each word through the tokenizer once. Nothing when some word is not
  // exactly one token, when a space does not part two, or when there is no tokenizer to ask.
  [[nodiscard]] static std::optional<Dictionary> make(
      TableTokenizer& tokenizer, const std::shared_ptr<const Vocabulary>& vocabulary);

  // How many terms there are.
  [[nodiscard]] std::size_t size() const { return tokens_.size(); }

  // The term of a word of the vocabulary; UNKNOWN for a stop word.
  [[nodiscard]] TermId term(WordId word) const { return terms_[word]; }

  // The term of a word, or the term that is this token; UNKNOWN when no row holds it.
  [[nodiscard]] TermId find_word(std::string_view word) const {
    const WordId found = words_->find(word);
    return found == utils::Interner::NONE ? UNKNOWN : term(found);
  }
  [[nodiscard]] TermId find_token(std::string_view token) const { return tokens_.find(token); }

 private:
  utils::TextArena texts_;  // of the tokens
  std::shared_ptr<const Vocabulary> words_;
  utils::Interner tokens_;     // by TermId
  std::vector<TermId> terms_;  // by WordId
};

}  // namespace velmora::workers::retrieval::internal
