#include "paired_gain.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <vector>

#include "random.h"

namespace velmora::train {
namespace {

constexpr std::size_t PARTS = 10'000;
constexpr std::size_t OUTSIDE = PARTS / 20;  // at either end
constexpr std::uint64_t SEED = 1;

}  // namespace

PairedGain paired_gain(std::span<const double> differences) {
  if (differences.empty()) return {};
  Random random(SEED);
  std::vector<double> means(PARTS);
  for (double& mean : means) {
    std::size_t count = 0;
    for (const double difference : differences) {
      if (random.below(2) == 0) continue;
      mean += difference;
      ++count;
    }
    if (count > 0) mean /= static_cast<double>(count);
  }
  std::sort(means.begin(), means.end());
  return {std::accumulate(differences.begin(), differences.end(), 0.0) /
              static_cast<double>(differences.size()),
          means[OUTSIDE - 1], means[PARTS - OUTSIDE]};
}

}  // namespace velmora::train
