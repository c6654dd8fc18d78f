// How texts become words for a word model. Training, evaluation and the program all cut here, so
// that a model is asked for the words that it was taught. Pure functions; any thread may call them.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "velmora/host/embedding/word_model.h"

namespace velmora::host::embedding {

struct WeightedWord {
  std::string word;
  float weight = 0.0F;

  bool operator==(const WeightedWord&) const = default;
};

// Words in the order of their first appearance, each once.
using WordBag = std::vector<WeightedWord>;

// The search terms of a question, each of weight 1.
[[nodiscard]] WordBag query_bag(std::string_view text);

// The words of a symbol without stop words. A word's weight is the sum w of the weights of all its
// places while that is at most 1, and 1 + ln(w) above: a word said often is not said louder for
// ever. Words of weight 0 are left out.
[[nodiscard]] WordBag symbol_bag(const SymbolParts& symbol, const SymbolSettings& settings);

// The same number for a word on every machine: FNV-1a, with its halves mixed.
[[nodiscard]] std::uint64_t word_hash(std::string_view word);

// Adds `length` times a vector of a length of about one that the letters of a word draw, for a word
// that a model does not know. Those of different words are almost at right angles, less so the more
// runs of three letters they share, and when they begin alike.
void add_unknown_word(std::string_view word, float length, std::span<float> sum);

}  // namespace velmora::host::embedding
