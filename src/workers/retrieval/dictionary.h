// The terms of a corpus: what its tokenizer makes of its words.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "utils/text_hash.h"
#include "workers/retrieval/table_tokenizer.h"
#include "workers/retrieval/vocabulary.h"

namespace velmora::workers::retrieval::internal {

// A term's number; several words, those of one stem, may share one.
using TermId = std::uint32_t;

// Immutable; any thread may read it.
class Dictionary {
 public:
  static constexpr TermId UNKNOWN = std::numeric_limits<TermId>::max();

  // Numbers the terms, running each word through the tokenizer once. Nothing when some word is not
  // exactly one token, when a space does not part two, or when there is no tokenizer to ask.
  [[nodiscard]] static std::optional<Dictionary> make(TableTokenizer& tokenizer,
                                                      const Vocabulary& vocabulary);

  // How many terms there are.
  [[nodiscard]] std::size_t size() const { return tokens_.size(); }

  // The term of a word of the vocabulary that is no stop word.
  [[nodiscard]] TermId term(WordId word) const { return terms_[word]; }

  // The term of a word, or the term that is this token; UNKNOWN when no row holds it.
  [[nodiscard]] TermId find_word(const std::string& word) const { return find(words_, word); }
  [[nodiscard]] TermId find_token(const std::string& token) const { return find(tokens_, token); }

 private:
  using Terms = std::unordered_map<std::string, TermId, utils::TextHash, std::equal_to<>>;

  [[nodiscard]] static TermId find(const Terms& terms, const std::string& text) {
    const auto found = terms.find(text);
    return found == terms.end() ? UNKNOWN : found->second;
  }

  std::vector<TermId> terms_;  // by WordId
  Terms words_;
  Terms tokens_;
};

}  // namespace velmora::workers::retrieval::internal
