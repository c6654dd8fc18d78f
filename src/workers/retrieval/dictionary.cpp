#include "workers/retrieval/dictionary.h"

#include <string>

namespace velmora::workers::retrieval::internal {

std::optional<Dictionary> Dictionary::make(TableTokenizer& tokenizer,
                                           const std::shared_ptr<const Vocabulary>& vocabulary) {
  Dictionary made;
  made.words_ = vocabulary;
  const auto keep = [&](std::string_view text) { return made.texts_.store(text); };
  made.terms_.resize(vocabulary->size(), UNKNOWN);
  bool single = true;
  const bool ran = tokenizer.run([&](const TableTokenizer::Tokenize& tokenize) {
    for (WordId id = Vocabulary::FIRST_WORD; id < vocabulary->size() && single; ++id) {
      const std::string_view word = vocabulary->word(id);
      const Tokens tokens = tokenize(word);
      single = tokens.count == 1;
      made.terms_[id] = made.tokens_.add(tokens.first, keep);
    }
    if (single && vocabulary->size() > Vocabulary::FIRST_WORD) {
      const std::string word(vocabulary->word(Vocabulary::FIRST_WORD));
      single = tokenize(word + " " + word).count == 2;
    }
  });
  if (!ran || !single) return std::nullopt;
  return made;
}

}  // namespace velmora::workers::retrieval::internal
