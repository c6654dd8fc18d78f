// The best rows of a scan.
#pragma once

#include <algorithm>
#include <cstddef>
#include <limits>
#include <utility>
#include <vector>

namespace velmora::host::index {

// Keeps the `wanted` most similar of the rows that it is offered, equal ones by lower number.
// REQUIRES: wanted > 0; the rows are offered by ascending number.
//
// They gather in a buffer of twice as many, which is cut to the better half when it is full: that
// costs a row a constant time, where a heap costs it the logarithm of `wanted`.
class BestRows {
 public:
  struct Row {
    double similarity;
    std::size_t number;
  };

  explicit BestRows(std::size_t wanted) : wanted_(wanted) { rows_.reserve(2 * wanted); }

  // A row that is not more similar than this is none of the best: so many earlier ones are as good.
  [[nodiscard]] double bar() const { return bar_; }

  void offer(double similarity, std::size_t number) {
    if (similarity <= bar_) return;
    rows_.push_back({similarity, number});
    if (rows_.size() == 2 * wanted_) cut();
  }

  // The best, best first.
  [[nodiscard]] std::vector<Row> take() && {
    cut();
    std::sort(rows_.begin(), rows_.end(), better);
    return std::move(rows_);
  }

 private:
  static bool better(const Row& left, const Row& right) {
    if (left.similarity != right.similarity) return left.similarity > right.similarity;
    return left.number < right.number;
  }

  void cut() {
    if (rows_.size() <= wanted_) return;
    const auto last = rows_.begin() + static_cast<std::ptrdiff_t>(wanted_ - 1);
    std::nth_element(rows_.begin(), last, rows_.end(), better);
    bar_ = last->similarity;
    rows_.erase(last + 1, rows_.end());
  }

  const std::size_t wanted_;
  double bar_ = -std::numeric_limits<double>::infinity();
  std::vector<Row> rows_;
};

}  // namespace velmora::host::index
