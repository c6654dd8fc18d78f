#include "embedding/word_bag.h"

#include <algorithm>
#include <array>
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

// Eight signs, 1 or -1, for each byte: the lowest bit first, and 1 where it is set.
constexpr std::size_t BYTE_SIGNS = 8;
constexpr auto SIGNS = [] {
  std::array<std::array<float, BYTE_SIGNS>, 256> signs{};
  for (std::size_t byte = 0; byte < signs.size(); ++byte) {
    for (std::size_t bit = 0; bit < BYTE_SIGNS; ++bit) {
      signs[byte][bit] = ((byte >> bit) & 1U) != 0 ? 1.0F : -1.0F;
    }
  }
  return signs;
}();

// Adds a vector of which every number is `size` or -`size`, as the hash decides.
void add_signs(std::uint64_t hash, float size, std::span<float> sum) {
  std::uint64_t state = hash;
  std::uint64_t bits = 0;
  for (std::size_t i = 0; i < sum.size(); i += BYTE_SIGNS, bits >>= BYTE_SIGNS) {
    if (i % 64 == 0) {  // SplitMix64
      state += 0x9E3779B97F4A7C15U;
      bits = (state ^ (state >> 30U)) * 0xBF58476D1CE4E5B9U;
      bits = (bits ^ (bits >> 27U)) * 0x94D049BB133111EBU;
      bits ^= bits >> 31U;
    }
    const std::array<float, BYTE_SIGNS>& signs = SIGNS[bits & 0xFFU];
    const std::size_t count = std::min(BYTE_SIGNS, sum.size() - i);
    if (count == BYTE_SIGNS) {
      for (std::size_t j = 0; j < BYTE_SIGNS; ++j) sum[i + j] += size * signs[j];
    } else {
      for (std::size_t j = 0; j < count; ++j) sum[i + j] += size * signs[j];
    }
  }
}

// How much of an unknown word's vector is drawn by its runs of letters, by how it begins and by the
// whole word; the squares add up to one. What begins alike is often of one stem.
constexpr float RUNS_SHARE = 0.8F;
constexpr float BEGINNING_SHARE = 0.4F;
constexpr float WORD_SHARE = 0.4472136F;
constexpr std::size_t RUN = 3;
constexpr std::size_t BEGINNING = 4;

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
  add_part(symbol.body, settings.body, bag);
  for (WeightedWord& entry : bag) {
    if (entry.weight > 1.0F) entry.weight = 1.0F + std::log(entry.weight);
  }
  return bag;
}

std::uint64_t word_hash(std::string_view word) {
  std::uint64_t hash = 0xCBF29CE484222325U;
  for (const char letter : word) {
    hash = (hash ^ static_cast<unsigned char>(letter)) * 0x100000001B3U;
  }
  return hash ^ (hash >> 32U);
}

void add_unknown_word(std::string_view word, float length, std::span<float> sum) {
  const float size = length / std::sqrt(static_cast<float>(sum.size()));
  add_signs(word_hash(word), size * WORD_SHARE, sum);
  const std::string bounded = "<" + std::string(word) + ">";
  const std::string_view letters = bounded;
  add_signs(word_hash(letters.substr(0, 1 + BEGINNING)), size * BEGINNING_SHARE, sum);
  const std::size_t runs = letters.size() - RUN + 1;  // a word has a letter at least
  const float share = RUNS_SHARE / std::sqrt(static_cast<float>(runs));
  for (std::size_t begin = 0; begin < runs; ++begin) {
    add_signs(word_hash(letters.substr(begin, RUN)), size * share, sum);
  }
}

}  // namespace velmora::host::embedding
