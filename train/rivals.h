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

// For each pair the symbols that text alone puts first for its question and that do not answer it,
// best first: what matches the words and is wrong. An embedding that ranks these below the right
// answer corrects the text channels where they err.
struct Rivals {
  // At most 32 for each of `pairs`, from the symbols of all of `known`.
  Rivals(std::span<const Pair> pairs, std::span<const Pair> known, Vocabulary& vocabulary,
         const host::embedding::SymbolSettings& settings, Workers& workers);

  Bags symbols;
  std::vector<std::vector<std::uint32_t>> of;  // numbers of `symbols`, for each pair
};

}  // namespace velmora::train
