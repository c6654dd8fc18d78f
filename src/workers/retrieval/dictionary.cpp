#include "workers/retrieval/dictionary.h"

#include <utility>

namespace velmora::workers::retrieval::internal {
namespace {

std::optional<TermId> find(const std::unordered_map<std::string, TermId>& terms,
                           const std::string& text) {
  const auto found = terms.find(text);
  if (found == terms.end()) return std::nullopt;
  return found->second;
}

}  // namespace

std::optional<Dictionary> Dictionary::make(TableTokenizer& tokenizer, const Vocabulary& vocabulary,
                                           std::vector<TermId>& term_of_word) {
  Dictionary made;
  term_of_word.resize(vocabulary.size());
  made.words_.reserve(vocabulary.size());
  bool single = true;
  const bool ran = tokenizer.run([&](const TableTokenizer::Tokenize& tokenize) {
    std::string word;
    for (WordId id = Vocabulary::FIRST_WORD; id < vocabulary.size() && single; ++id) {
      word = vocabulary.word(id);
      Tokens tokens = tokenize(word);
      single = tokens.count == 1;
      const auto number = static_cast<TermId>(made.tokens_.size());
      term_of_word[id] = made.tokens_.emplace(std::move(tokens.first), number).first->second;
      made.words_.emplace(word, term_of_word[id]);
    }
    if (single && !word.empty()) single = tokenize(word + " " + word).count == 2;
  });
  if (!ran || !single) return std::nullopt;
  return made;
}

std::optional<TermId> Dictionary::find_word(const std::string& word) const {
  return find(words_, word);
}

std::optional<TermId> Dictionary::find_token(const std::string& token) const {
  return find(tokens_, token);
}

}  // namespace velmora::workers::retrieval::internal
