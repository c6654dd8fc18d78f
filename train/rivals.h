// The wrong answers that a model must tell from the right ones.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "examples.h"
#include "pairs.h"
#include "workers.h"

namespace velmora::train {

// A symbol that does not answer a question, and what text alone gives it.
struct Rival {
  std::uint32_t symbol = 0;  // a number of Rivals::symbols
  float score = 0.0F;        // the fused score without the semantic channel
};

// For each pair the symbols that text alone puts first for its question and that do not answer it:
// what matches the words and is wrong. An embedding that ranks these below the right answer
// corrects the text channels where they err. Nobody asks for a symbol in the words of its
// documentation with that documentation at hand: to find the rivals of a doc question, all symbols
// that doc questions ask for lose theirs.
struct Rivals {
  // From the symbols of all of `known`.
  Rivals(std::span<const Pair> pairs, std::span<const Pair> known, Vocabulary& vocabulary,
         const host::embedding::SymbolSettings& settings, Workers& workers);

  Bags symbols;
  std::vector<std::vector<Rival>> of;  // for each pair at most 32, best first
  std::vector<float> answer_scores;    // what text gives the symbol of each pair; 0: nothing
};

}  // namespace velmora::train
