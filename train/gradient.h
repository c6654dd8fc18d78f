// The numbers of training: vectors of texts, the loss of a batch, and its gradient.
//
// Everything is cut into pieces of a fixed size whose results are added in a fixed order, so the
// same input gives the same bits however many threads there are.
#pragma once

#include <cstddef>
#include <cstdint>
#include <new>
#include <span>
#include <vector>

#include "examples.h"
#include "workers.h"

namespace velmora::train {

// Begins at a multiple of 64 bytes: the order in which vector instructions add up depends on where
// numbers lie.
template <class Value>
struct AlignedAllocator {
  using value_type = Value;
  static constexpr std::align_val_t ALIGNMENT{64};

  AlignedAllocator() = default;
  template <class Other>
  explicit AlignedAllocator(const AlignedAllocator<Other>&) {}

  Value* allocate(std::size_t count) {
    return static_cast<Value*>(::operator new(count * sizeof(Value), ALIGNMENT));
  }
  void deallocate(Value* values, std::size_t) { ::operator delete(values, ALIGNMENT); }

  bool operator==(const AlignedAllocator&) const = default;
};

using Floats = std::vector<float, AlignedAllocator<float>>;

// A vector for each word, one after the other.
struct Table {
  std::size_t dimensions = 0;
  Floats rows;

  [[nodiscard]] std::span<const float> row(std::size_t number) const {
    return std::span(rows).subspan(number * dimensions, dimensions);
  }
  [[nodiscard]] std::span<float> row(std::size_t number) {
    return std::span(rows).subspan(number * dimensions, dimensions);
  }
};

// Vectors of length one, a row for each text, and what their lengths were before. A text without
// words has length 0 and a row of zeros.
struct Encoded {
  Table vectors;
  Floats lengths;
};

// The vector of each text: the sum of its words' rows times their weights, at length one.
[[nodiscard]] Encoded encode(const Bags& texts, const Table& table, Workers& workers);

// Cosines of every question (a row) with the first `columns` symbols.
[[nodiscard]] Floats cosines(const Encoded& questions, const Encoded& symbols, std::size_t columns,
                             Workers& workers);

// Questions and their symbols: the n-th symbol answers the n-th question. Behind those stand the
// rivals, wrong answers of one question each: those of the first question, of the second, and so
// on.
struct Batch {
  Bags questions;
  Bags symbols;
  std::vector<std::uint32_t> question_ids;
  std::vector<std::uint32_t> symbol_ids;  // of the answers
  std::vector<std::uint32_t> rival_ends;  // where the rivals of each question end, among rivals
  // What text alone gives the answer of each question, and each rival.
  std::vector<float> answer_scores;
  std::vector<float> rival_scores;
};

// The derivative by each row of a table that the batch has a word of.
struct Gradient {
  std::vector<std::uint32_t> words;
  Floats rows;  // one for each of `words`
};

struct LossOptions {
  float temperature = 0.1F;
  float rival_weight = 1.0F;  // a rival counts as much as so many other wrong answers
};

// The loss of a batch by the vectors of its texts, and its derivatives by them: the mean of the
// cross entropies of picking, by cosine / temperature, the symbol of each question among the
// answers of the batch and its own rivals, and the question of each symbol among all of the batch.
// Pairs that share the question or the symbol are not each other's wrong answers. `answer_cosines`
// are those of the questions with the answers of the batch.
double contrastive_loss(const Batch& batch, const Encoded& questions, const Encoded& symbols,
                        Floats answer_cosines, const LossOptions& options, Workers& workers,
                        Floats& by_questions, Floats& by_symbols);

// The derivative by the rows of the table that `texts` were encoded with, from that by their
// vectors. Only the first `words` rows of the table count: the others are not learned.
[[nodiscard]] Gradient gradient_of(const Bags& texts, const Encoded& encoded,
                                   std::span<const float> by_vectors, std::size_t words,
                                   Workers& workers);

}  // namespace velmora::train
