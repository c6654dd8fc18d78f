// Whether one way to answer is better than another, by questions that both were asked.
#pragma once

#include <span>

namespace velmora::train {

struct PairedGain {
  double mean = 0.0;
  // Between these the true mean lies in nine of ten cases, and above `low` in nineteen of twenty.
  double low = 0.0;
  double high = 0.0;

  // Whether it is no chance that the mean is above zero, with 95 % certainty.
  [[nodiscard]] bool is_sure() const { return low > 0.0; }
};

// Of the differences, one a question. The bounds are the 5th and the 95th percentile of the means
// of random parts of the questions, each of which is in a part or not by the toss of a coin; so
// `low` is above zero just when a test that flips the signs of the differences at random says so.
// That takes no more of the questions than that a difference is as likely as its opposite where
// both ways are equally good; those that nothing tells apart (difference zero) decide nothing. Five
// differences of one sign are the fewest that can be sure. The same differences give the same
// bounds. Source: Hartigan, "Using subsample values as typical values", Journal of the American
// Statistical Association 64, 1969.
[[nodiscard]] PairedGain paired_gain(std::span<const double> differences);

}  // namespace velmora::train
