#include "judged_scores.h"

#include <algorithm>
#include <cstdint>

#include "random.h"

namespace velmora::train {
namespace {

constexpr std::size_t DRAWS = 2000;
constexpr std::uint64_t SEED = 1;
constexpr std::uint32_t FIRST_PAGE = 10;

using Scores = std::array<double, MEASURES>;

Scores scores_of(std::uint32_t rank) {
  if (rank == 0) return {};
  return {1.0 / rank, rank == 1 ? 1.0 : 0.0, rank <= FIRST_PAGE ? 1.0 : 0.0};
}

// One repository: the weighted sums of its scores.
struct Sums {
  double weight = 0.0;
  std::vector<Scores> parts;
};

// The means of some repositories, which may stand there several times.
std::vector<Scores> means(std::span<const Sums> all, std::span<const std::size_t> drawn,
                          std::size_t parts) {
  std::vector<Scores> means(parts);
  double weight = 0.0;
  for (const std::size_t number : drawn) {
    weight += all[number].weight;
    for (std::size_t part = 0; part < parts; ++part) {
      for (std::size_t m = 0; m < MEASURES; ++m) means[part][m] += all[number].parts[part][m];
    }
  }
  for (Scores& part : means) {
    for (double& score : part) score /= weight;
  }
  return means;
}

double gain(double value, double base) { return base > 0.0 ? value / base - 1.0 : 0.0; }

}  // namespace

double question_weight(std::size_t questions) {
  return 1.0 / static_cast<double>(std::max(questions, ENOUGH));
}

JudgedParts judged_scores(std::span<const JudgedTree> trees, std::size_t parts,
                          const std::function<bool(const JudgedQuestion&)>& is_wanted) {
  JudgedParts judged;
  std::vector<Sums> all;
  for (const JudgedTree& tree : trees) {
    const auto asked = static_cast<std::size_t>(
        std::count_if(tree.questions.begin(), tree.questions.end(), is_wanted));
    if (asked == 0) continue;
    judged.questions += asked;
    const double weight = question_weight(asked);
    Sums& sums = all.emplace_back();
    sums.parts.resize(parts);
    for (const JudgedQuestion& question : tree.questions) {
      if (!is_wanted(question)) continue;
      sums.weight += weight;
      for (std::size_t part = 0; part < parts; ++part) {
        const Scores scores = scores_of(question.ranks[part]);
        for (std::size_t m = 0; m < MEASURES; ++m) sums.parts[part][m] += weight * scores[m];
      }
    }
  }
  judged.repositories = all.size();
  judged.parts.resize(parts);
  if (all.empty()) return judged;

  std::vector<std::size_t> drawn(all.size());
  for (std::size_t i = 0; i < drawn.size(); ++i) drawn[i] = i;
  const std::vector<Scores> whole = means(all, drawn, parts);
  Random random(SEED);
  std::vector<std::array<std::vector<double>, MEASURES>> gains(parts);
  for (std::size_t draw = 0; draw < DRAWS; ++draw) {
    for (std::size_t& number : drawn) number = random.below(all.size());
    const std::vector<Scores> some = means(all, drawn, parts);
    for (std::size_t part = 0; part < parts; ++part) {
      for (std::size_t m = 0; m < MEASURES; ++m) {
        gains[part][m].push_back(gain(some[part][m], some[0][m]));
      }
    }
  }
  for (std::size_t part = 0; part < parts; ++part) {
    judged.parts[part].scores = whole[part];
    for (std::size_t m = 0; m < MEASURES; ++m) {
      std::vector<double>& values = gains[part][m];
      std::sort(values.begin(), values.end());
      judged.parts[part].gains[m] = {gain(whole[part][m], whole[0][m]), values[DRAWS / 40],
                                     values[DRAWS - 1 - DRAWS / 40]};
    }
  }
  return judged;
}

}  // namespace velmora::train
