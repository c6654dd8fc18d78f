#include "workers/retrieval/term_counts.h"

#include <bit>
#include <numeric>
#include <utility>

#include "workers/retrieval/bm25.h"

namespace velmora::workers::retrieval::internal {

Postings TermCounts::postings(TokenId token) const {
  const std::size_t start = starts_[token];
  const std::size_t count = starts_[token + 1] - start;
  return {std::span(rows_).subspan(start, count), std::span(places_).subspan(start, count)};
}

std::size_t TermCounts::memory() const {
  const auto bytes = [](const auto& values) { return values.capacity() * sizeof(values.front()); };
  return bytes(rowids_) + bytes(norms_) + bytes(frequencies_) + bytes(starts_) + bytes(rows_) +
         bytes(places_);
}

TermCounter::TermCounter(std::vector<double> weights, std::span<const TokenId> token_of_word,
                         std::size_t tokens)
    : weights_(std::move(weights)),
      token_of_word_(token_of_word),
      tallies_(tokens),
      slots_(std::size_t{1} << 17) {
  counts_.starts_.resize(tokens + 1);
}

void TermCounter::begin_row(std::int64_t rowid) {
  counts_.rowids_.push_back(rowid);
  lengths_.push_back(0);
  row_tokens_.clear();
}

// A frequency is summed as FTS5 sums it, one weight at a time: with weights that are no whole
// numbers a product would differ in its last bits.
void TermCounter::add(std::size_t column, std::span<const WordId> words) {
  const double weight = weights_[column];
  const auto row = static_cast<std::uint32_t>(counts_.rowids_.size());
  lengths_.back() += static_cast<std::uint32_t>(words.size());
  for (const WordId word : words) {
    const TokenId token = token_of_word_[word];
    Tally& tally = tallies_[token];
    if (tally.row != row) {
      tally = {0.0, row};
      row_tokens_.push_back(token);
    }
    tally.frequency += weight;
  }
}

void TermCounter::end_row() {
  for (const TokenId token : row_tokens_) {
    tokens_.push_back(token);
    token_places_.push_back(place_of(tallies_[token].frequency));
    ++counts_.starts_[token + 1];
  }
  row_sizes_.push_back(static_cast<std::uint32_t>(row_tokens_.size()));
}

std::uint16_t TermCounter::place_of(double frequency) {
  const auto bits = std::bit_cast<std::uint64_t>(frequency);
  std::size_t slot = (bits * 0x9E3779B97F4A7C15u) >> 47;  // 17 bits
  while (slots_[slot] != 0) {
    const std::uint32_t place = slots_[slot] - 1;
    if (std::bit_cast<std::uint64_t>(counts_.frequencies_[place]) == bits) {
      return static_cast<std::uint16_t>(place);
    }
    slot = (slot + 1) & (slots_.size() - 1);
  }
  if (counts_.frequencies_.size() > std::numeric_limits<std::uint16_t>::max()) {
    overflow_ = true;
    return 0;
  }
  counts_.frequencies_.push_back(frequency);
  slots_[slot] = static_cast<std::uint32_t>(counts_.frequencies_.size());
  return static_cast<std::uint16_t>(counts_.frequencies_.size() - 1);
}

std::optional<TermCounts> TermCounter::finish() {
  if (overflow_) return std::nullopt;
  std::partial_sum(counts_.starts_.begin(), counts_.starts_.end(), counts_.starts_.begin());
  std::vector<std::size_t> free(counts_.starts_.begin(), counts_.starts_.end() - 1);
  counts_.rows_.resize(tokens_.size());
  counts_.places_.resize(tokens_.size());
  std::size_t next = 0;
  for (std::uint32_t row = 0; row < row_sizes_.size(); ++row) {
    for (std::uint32_t i = 0; i < row_sizes_[row]; ++i, ++next) {
      const std::size_t posting = free[tokens_[next]]++;
      counts_.rows_[posting] = row;
      counts_.places_[posting] = token_places_[next];
    }
  }
  const auto total = std::accumulate(lengths_.begin(), lengths_.end(), std::int64_t{0});
  const double average = static_cast<double>(total) / static_cast<double>(lengths_.size());
  counts_.norms_.reserve(lengths_.size());
  for (const std::uint32_t length : lengths_) {
    counts_.norms_.push_back(bm25_norm(static_cast<double>(length), average));
  }
  counts_.rowids_.shrink_to_fit();
  counts_.frequencies_.shrink_to_fit();
  return std::move(counts_);
}

}  // namespace velmora::workers::retrieval::internal
