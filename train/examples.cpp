#include "examples.h"

#include <algorithm>
#include <utility>

namespace velmora::train {

using host::embedding::query_bag;
using host::embedding::symbol_bag;
using host::embedding::SymbolSettings;
using host::embedding::WeightedWord;
using host::embedding::WordBag;

Vocabulary::Vocabulary(std::vector<std::string> words)
    : words_(std::move(words)), learned_(words_.size()) {
  numbers_.reserve(words_.size());
  for (std::uint32_t number = 0; number < words_.size(); ++number) {
    numbers_.emplace(words_[number], number);
  }
}

Vocabulary Vocabulary::of(std::span<const Pair> pairs, const SymbolSettings& settings,
                          std::size_t least) {
  std::unordered_map<std::string, std::size_t> counts;
  for (const Pair& pair : pairs) {
    for (const WeightedWord& entry : query_bag(pair.query)) ++counts[entry.word];
    for (const WeightedWord& entry : symbol_bag(pair.parts(), settings)) ++counts[entry.word];
  }
  std::vector<std::pair<std::size_t, std::string>> frequent;
  for (const auto& [word, count] : counts) {
    if (count >= least) frequent.emplace_back(count, word);
  }
  std::sort(frequent.begin(), frequent.end(), [](const auto& left, const auto& right) {
    return left.first != right.first ? left.first > right.first : left.second < right.second;
  });
  std::vector<std::string> words;
  for (auto& [count, word] : frequent) words.push_back(std::move(word));
  return Vocabulary(std::move(words));
}

std::uint32_t Vocabulary::number(const std::string& word) {
  const auto [found, fresh] = numbers_.emplace(word, static_cast<std::uint32_t>(words_.size()));
  if (fresh) words_.push_back(word);
  return found->second;
}

void Bags::add(const WordBag& bag, Vocabulary& vocabulary) {
  for (const WeightedWord& entry : bag) {
    terms_.push_back({vocabulary.number(entry.word), entry.weight});
  }
  ends_.push_back(terms_.size());
}

void Bags::add(std::span<const Term> terms) {
  terms_.insert(terms_.end(), terms.begin(), terms.end());
  ends_.push_back(terms_.size());
}

void Bags::clear() {
  terms_.clear();
  ends_.assign(1, 0);
}

Examples::Examples(std::span<const Pair> pairs, Vocabulary& vocabulary,
                   const SymbolSettings& settings) {
  std::unordered_map<std::string, std::uint32_t> numbers;
  const auto number_of = [&](const std::string& key) {
    return numbers.emplace(key, static_cast<std::uint32_t>(numbers.size())).first->second;
  };
  for (const Pair& pair : pairs) {
    questions.add(query_bag(pair.query), vocabulary);
    symbols.add(symbol_bag(pair.parts(), settings), vocabulary);
    question_ids.push_back(number_of(pair.repository + "\n?" + pair.query));
    symbol_ids.push_back(
        number_of(pair.repository + "\n" + pair.path + "\n" + pair.fqn + "\n" + pair.signature));
  }
}

}  // namespace velmora::train
