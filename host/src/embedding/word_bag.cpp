#include "embedding/word_bag.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>

#include "velmora/workers/retrieval.h"

namespace velmora::host::embedding {
namespace {

namespace retrieval = workers::retrieval;

// A part may be a whole page; what lies beyond so many bytes for each word wanted is not looked at.
constexpr std::size_t BYTES_A_WORD = 24;

void add_part(std::string_view text, const PartSettings& settings, WordBag& bag) {
  if (settings.weight <= 0.0F) return;
  text = text.substr(0, std::size_t{settings.words} * BYTES_A_WORD);
  std::uint32_t left = settings.words;
  for (std::string& word : retrieval::split_identifier(text)) {
    if (left == 0) return;
    if (retrieval::STOP_WORDS.contains(word)) continue;
    --left;
    const auto known = std::find_if(bag.begin(), bag.end(),
                                    [&](const WeightedWord& other) { return other.word == word; });
    if (known == bag.end()) {
      bag.push_back({std::move(word), settings.weight});
    } else {
      known->weight += settings.weight;
    }
  }
}

}  // namespace

WordBag query_bag(std::string_view text) {
  WordBag bag;
  for (std::string& word : retrieval::query_terms(text)) bag.push_back({std::move(word), 1.0F});
  return bag;
}

WordBag symbol_bag(const SymbolParts& symbol, const SymbolSettings& settings) {
  WordBag bag;
  add_part(symbol.name, settings.name, bag);
  add_part(symbol.fqn, settings.fqn, bag);
  add_part(symbol.signature, settings.signature, bag);
  add_part(symbol.path, settings.path, bag);
  add_part(symbol.docstring, settings.docstring, bag);
  for (WeightedWord& entry : bag) {
    if (entry.weight > 1.0F) entry.weight = 1.0F + std::log(entry.weight);
  }
  return bag;
}

}  // namespace velmora::host::embedding
