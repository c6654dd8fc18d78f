// The wrong answers that a model must tell from the right ones.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "examples.h"
#include "lessons.h"
#include "workers.h"

namespace velmora::train {

// A symbol that does not answer a question, and what text alone gives it.
struct Rival {
  std::uint32_t symbol = 0;  // a number of Rivals::symbols
  float score = 0.0F;        // the fused score without the semantic channel
};

// For each question the symbols that text alone puts first and that do not answer it: what matches
// the words and is wrong. An embedding that ranks these below the right answer corrects the text
// channels where they err. Text reads the bodies and what an exam does not hide, and questions are
// read as sentences, as the program does it.
struct Rivals {
  Rivals(std::span<const Lesson> lessons, std::span<const AnswerPlace> places,
         Vocabulary& vocabulary, const host::embedding::SymbolSettings& settings, Workers& workers);

  Bags symbols;                        // of all lessons, one after the other
  std::vector<std::vector<Rival>> of;  // for each place at most 32, best first
  std::vector<float> answer_scores;    // what text gives the symbol of each place; 0: nothing
};

}  // namespace velmora::train
