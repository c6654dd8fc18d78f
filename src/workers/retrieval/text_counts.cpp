#include "workers/retrieval/text_counts.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace velmora::workers::retrieval::internal {
namespace {

std::optional<TermCounts> count_symbols(TermCounter counter, std::span<const SymbolText> symbols) {
  std::vector<std::uint32_t> order(symbols.size());
  std::iota(order.begin(), order.end(), 0u);
  const auto by_id = [&](std::uint32_t left, std::uint32_t right) {
    return symbols[left].id < symbols[right].id;
  };
  if (!std::is_sorted(order.begin(), order.end(), by_id)) {
    std::sort(order.begin(), order.end(), by_id);
  }
  for (const std::uint32_t place : order) {
    const SymbolText& symbol = symbols[place];
    counter.begin_row(symbol.id);
    counter.add(0, symbol.name.words);
    counter.add(1, symbol.signature.words);
    counter.add(2, symbol.path.words);
    counter.add(3, symbol.docstring.words);
    counter.end_row();
  }
  return counter.finish();
}

std::optional<TermCounts> count_files(TermCounter counter, const CorpusText& text) {
  for (const FileText& file : text.files) {
    counter.begin_row(file.row);
    for (const std::uint32_t place : file.symbols) counter.add(0, text.symbols[place].name.words);
    counter.add(1, file.path.words);
    for (const std::uint32_t place : file.symbols) {
      counter.add(2, text.symbols[place].docstring.words);
    }
    counter.end_row();
  }
  return counter.finish();
}

}  // namespace

std::optional<TextCounts> TextCounts::count(TableTokenizer& tokenizer, const TableWeights& weights,
                                            const CorpusText& text) {
  TextCounts counts;
  std::vector<TokenId> token_of_word;
  if (!counts.number_tokens(tokenizer, text.vocabulary, token_of_word)) return std::nullopt;
  const std::size_t tokens = counts.tokens_.size();
  auto symbols = count_symbols({weights.symbols, token_of_word, tokens}, text.symbols);
  auto files = count_files({weights.files, token_of_word, tokens}, text);
  if (!symbols || !files) return std::nullopt;
  counts.symbols_ = *std::move(symbols);
  counts.files_ = *std::move(files);
  return counts;
}

bool TextCounts::number_tokens(TableTokenizer& tokenizer, const Vocabulary& vocabulary,
                               std::vector<TokenId>& token_of_word) {
  token_of_word.resize(vocabulary.size());
  bool single = true;
  const bool ran = tokenizer.run([&](const TableTokenizer::Tokenize& tokenize) {
    for (WordId word = Vocabulary::FIRST_WORD; word < vocabulary.size() && single; ++word) {
      Tokens tokens = tokenize(vocabulary.word(word));
      single = tokens.count == 1;
      const auto number = static_cast<TokenId>(tokens_.size());
      token_of_word[word] = tokens_.emplace(std::move(tokens.first), number).first->second;
    }
    if (!single || vocabulary.size() == Vocabulary::FIRST_WORD) return;
    const std::string word(vocabulary.word(Vocabulary::FIRST_WORD));
    single = tokenize(word + " " + word).count == 2;
  });
  return ran && single;
}

std::optional<TokenId> TextCounts::find(const std::string& token) const {
  const auto found = tokens_.find(token);
  if (found == tokens_.end()) return std::nullopt;
  return found->second;
}

}  // namespace velmora::workers::retrieval::internal
