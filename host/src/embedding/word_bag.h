// How texts become words for a word model. Training, evaluation and the program all cut here, so
// that a model is asked for the words that it was taught. Pure functions; any thread may call them.
#pragma once

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

}  // namespace velmora::host::embedding
