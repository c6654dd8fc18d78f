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

// The bits of a half word: with a table in place of shifts, compilers add several numbers at once,
// and nothing jumps at random. A vector takes a 25th of the time.
constexpr std::array<std::uint32_t, 32> BITS = [] {
  std::array<std::uint32_t, 32> bits{};
  for (std::size_t i = 0; i < bits.size(); ++i) bits[i] = std::uint32_t{1} << i;
  return bits;
}();

// Adds a vector of which every number is `size` or -`size`, as the hash decides.
void add_signs(std::uint64_t hash, float size, std::span<float> sum) {
  std::uint64_t state = hash;
  std::uint64_t signs = 0;
  for (std::size_t begin = 0; begin < sum.size(); begin += BITS.size(), signs >>= BITS.size()) {
    if (begin % 64 == 0) {  // SplitMix64
      state += 0x9E3779B97F4A7C15U;
      signs = (state ^ (state >> 30U)) * 0xBF58476D1CE4E5B9U;
      signs = (signs ^ (signs >> 27U)) * 0x94D049BB133111EBU;
      signs ^= signs >> 31U;
    }
    const auto bits = static_cast<std::uint32_t>(signs);
    float* const to = sum.data() + begin;
    const std::size_t count = std::min(BITS.size(), sum.size() - begin);
    for (std::size_t i = 0; i < count; ++i) to[i] += (bits & BITS[i]) != 0 ? size : -size;
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
