// What judged questions come to, and how sure that is.
#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <span>
#include <vector>

#include "judging.h"

namespace velmora::train {

// How good answers are: each from 0 to 1.
enum class Measure : std::size_t { reciprocal_rank, first, first_ten };
inline constexpr std::size_t MEASURES = 3;

// A value with its 95 % interval.
struct Estimate {
  double value = 0.0;
  double low = 0.0;
  double high = 0.0;
};

struct JudgedPart {
  std::array<double, MEASURES> scores{};   // by Measure
  std::array<Estimate, MEASURES> gains{};  // over the first of the parts: 0.1 is a tenth more
};

struct JudgedParts {
  std::size_t repositories = 0;  // that were asked such questions
  std::size_t questions = 0;
  std::vector<JudgedPart> parts;  // as they were judged
};

// The mean over repositories of what each comes to for the questions that `is_wanted`. Each counts
// the same, but one with fewer than `ENOUGH` such questions less, in proportion. The intervals are
// those of 2,000 draws of as many repositories, with the same draws for every part.
inline constexpr std::size_t ENOUGH = 50;
[[nodiscard]] JudgedParts judged_scores(
    std::span<const JudgedTree> trees, std::size_t parts,
    const std::function<bool(const JudgedQuestion&)>& is_wanted);

// What a question weighs among `questions` of its kind and repository by the same rule.
[[nodiscard]] double question_weight(std::size_t questions);

}  // namespace velmora::train
