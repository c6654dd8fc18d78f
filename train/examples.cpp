#include "examples.h"

#include <algorithm>
#include <unordered_set>
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
                          const VocabularyOptions& options) {
  struct Count {
    std::size_t texts = 0;
    std::unordered_set<std::string_view> repositories;
  };
  std::unordered_map<std::string, Count> counts;
  for (const Pair& pair : pairs) {
    for (const WordBag& bag : {query_bag(pair.query), symbol_bag(pair.parts(), settings)}) {
      for (const WeightedWord& entry : bag) {
        Count& count = counts[entry.word];
        ++count.texts;
        count.repositories.insert(pair.repository);
      }
    }
  }
  std::vector<std::pair<std::size_t, std::string>> frequent;
  for (const auto& [word, count] : counts) {
    if (count.texts >= options.least_texts &&
        count.repositories.size() >= options.least_repositories) {
      frequent.emplace_back(count.texts, word);
    }
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
    symbol_ids.push_back(number_of(pair.repository + "\n" + symbol_key(pair)));
  }
}

}  // namespace velmora::train
