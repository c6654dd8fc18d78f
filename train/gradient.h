// The numbers of training: vectors of texts, the loss of a batch, and its gradient.
//
// Everything is cut into pieces of a fixed size whose results are added in a fixed order, so the
// same input gives the same bits however many threads there are.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "examples.h"
#include "workers.h"

namespace velmora::train {

// A vector for each word, one after the other.
struct Table {
  std::size_t dimensions = 0;
  std::vector<float> rows;

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
  std::vector<float> lengths;
};

// The vector of each text: the sum of its words' rows times their weights, at length one.
[[nodiscard]] Encoded encode(const Bags& texts, const Table& table, Workers& workers);

// Cosines of every question (a row) with every symbol (a column).
[[nodiscard]] std::vector<float> cosines(const Encoded& questions, const Encoded& symbols,
                                         Workers& workers);

// Questions and their symbols: the n-th symbol answers the n-th question.
struct Batch {
  Bags questions;
  Bags symbols;
  std::vector<std::uint32_t> question_ids;
  std::vector<std::uint32_t> symbol_ids;
};

// The derivative by each row of a table that the batch has a word of.
struct Gradient {
  std::vector<std::uint32_t> words;
  std::vector<float> rows;  // one for each of `words`
};

// The loss of a batch by the vectors of its texts, and its derivatives by them: the mean of the
// cross entropies of picking, by cosine / temperature, the symbol of each question and the question
// of each symbol among all of the batch. Pairs that share the question or the symbol are not each
// other's wrong answers.
double contrastive_loss(const Batch& batch, const Encoded& questions, const Encoded& symbols,
                        float temperature, Workers& workers, std::vector<float>& by_questions,
                        std::vector<float>& by_symbols);

// The derivative by the rows of the table that `texts` were encoded with, from that by their
// vectors. `words` is how many rows the table has.
[[nodiscard]] Gradient gradient_of(const Bags& texts, const Encoded& encoded,
                                   std::span<const float> by_vectors, std::size_t words,
                                   Workers& workers);

}  // namespace velmora::train
