// What BM25 needs to know of a full-text table, kept beside it: FTS5 stores no counts in a table
// with `detail = column` and would run every matching row through its tokenizer again to count.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <vector>

#include "workers/retrieval/vocabulary.h"

namespace velmora::workers::retrieval::internal {

// A token's number; tokens are what a table's tokenizer makes of words, so several words may share
// one.
using TokenId = std::uint32_t;

// The rows that hold a token, ascending, and beside each its weighted frequency there, as a place
// in `TermCounts::frequencies`.
struct Postings {
  std::span<const std::uint32_t> rows;
  std::span<const std::uint16_t> frequencies;
};

// The counts of one table: for each token the rows that hold it, with the sum of the weights of the
// columns that it stands in, once for each time. Rows are numbered 0, 1, ... by ascending rowid.
// Immutable; any thread may read it.
class TermCounts {
 public:
  [[nodiscard]] Postings postings(TokenId token) const;

  // Rowids, ascending.
  [[nodiscard]] std::span<const std::int64_t> rowids() const { return rowids_; }
  // What the lengths of the rows add to BM25's denominator, by row.
  [[nodiscard]] std::span<const double> norms() const { return norms_; }
  // The distinct weighted frequencies.
  [[nodiscard]] std::span<const double> frequencies() const { return frequencies_; }

  // The bytes held.
  [[nodiscard]] std::size_t memory() const;

 private:
  friend class TermCounter;

  std::vector<std::int64_t> rowids_;
  std::vector<double> norms_;
  std::vector<double> frequencies_;
  std::vector<std::size_t> starts_;  // where each token's postings begin, and the end
  std::vector<std::uint32_t> rows_;
  std::vector<std::uint16_t> places_;
};

// Counts the tokens of a table's rows. Used by one thread at a time.
class TermCounter {
 public:
  // `weights` are those of the table's columns; `token_of_word` maps a WordId to its token, of
  // which there are `tokens`. It must outlive the counter.
  TermCounter(std::vector<double> weights, std::span<const TokenId> token_of_word,
              std::size_t tokens);

  // Counts a row: begin, then its columns in order, each in any number of pieces, then end.
  // REQUIRES: rowids ascend.
  void begin_row(std::int64_t rowid);
  void add(std::size_t column, std::span<const WordId> words);
  void end_row();

  // The counts; nothing when there are too many different frequencies to number.
  [[nodiscard]] std::optional<TermCounts> finish();

 private:
  // A token within the row being counted.
  struct Tally {
    double frequency = 0.0;
    std::uint32_t row = 0;  // the row's number + 1
  };

  std::uint16_t place_of(double frequency);

  std::vector<double> weights_;
  std::span<const TokenId> token_of_word_;
  TermCounts counts_;
  std::vector<Tally> tallies_;          // by token
  std::vector<TokenId> row_tokens_;     // the distinct tokens of the row being counted
  std::vector<std::uint32_t> lengths_;  // tokens in each row
  std::vector<TokenId> tokens_;         // of all rows, one after another
  std::vector<std::uint16_t> token_places_;
  std::vector<std::uint32_t> row_sizes_;  // distinct tokens in each row
  std::vector<std::uint32_t> slots_;      // finds a frequency's place: place + 1, or 0
  bool overflow_ = false;
};

}  // namespace velmora::workers::retrieval::internal
