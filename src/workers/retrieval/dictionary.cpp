#include "workers/retrieval/dictionary.h"

#include <utility>

namespace velmora::workers::retrieval::internal {

std::optional<Dictionary> Dictionary::make(TableTokenizer& tokenizer,
                                           const Vocabulary& vocabulary) {
  Dictionary made;
  made.terms_.resize(vocabulary.size());
  made.words_.reserve(vocabulary.size());
  bool single = true;
  const bool ran = tokenizer.run([&](const TableTokenizer::Tokenize& tokenize) {
    std::string word;
    for (WordId id = Vocabulary::FIRST_WORD; id < vocabulary.size() && single; ++id) {
      word = vocabulary.word(id);
      Tokens tokens = tokenize(word);
      single = tokens.count == 1;
      const auto number = static_cast<TermId>(made.tokens_.size());
      made.terms_[id] = made.tokens_.emplace(std::move(tokens.first), number).first->second;
      made.words_.emplace(word, made.terms_[id]);
    }
    if (single && !word.empty()) single = tokenize(word + " " + word).count == 2;
  });
  if (!ran || !single) return std::nullopt;
  return made;
}

}  // namespace velmora::workers::retrieval::internal
