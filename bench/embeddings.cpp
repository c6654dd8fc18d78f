#include "embeddings.h"

#include <cmath>

namespace velmora::bench {
namespace {

constexpr std::size_t CLUSTERS = 1'000;
constexpr float SHARED = 0.7F;  // as wide as what tells clusters apart is 1
constexpr float WITHIN = 0.5F;  // a cluster

}  // namespace

EmbeddingGenerator::EmbeddingGenerator(std::size_t dimensions, std::uint64_t seed)
    : random_(seed), shared_(dimensions), centres_(CLUSTERS, std::vector<float>(dimensions)) {
  for (std::size_t i = 0; i < dimensions; ++i) shared_[i] = SHARED * component(i);
  for (std::vector<float>& centre : centres_) {
    for (std::size_t i = 0; i < dimensions; ++i) centre[i] = component(i);
  }
}

std::vector<float> EmbeddingGenerator::next() {
  const std::vector<float>& centre = centres_[random_.below(CLUSTERS)];
  std::vector<float> values(centre.size());
  double size = 0.0;
  for (std::size_t i = 0; i < values.size(); ++i) {
    values[i] = shared_[i] + centre[i] + WITHIN * component(i);
    size += static_cast<double>(values[i]) * static_cast<double>(values[i]);
  }
  for (float& value : values) value = static_cast<float>(value / std::sqrt(size));
  return values;
}

float EmbeddingGenerator::component(std::size_t dimension) {
  // The sum of four even numbers is bell-shaped.
  const double bell = random_.unit() + random_.unit() + random_.unit() + random_.unit() - 2.0;
  return static_cast<float>(bell / std::sqrt(1.0 + static_cast<double>(dimension) / 64.0));
}

}  // namespace velmora::bench
