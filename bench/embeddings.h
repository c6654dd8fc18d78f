// Generated vectors that are spread as those of embedding models are: around a direction that all
// of them share, in clusters, and wider in some dimensions than in others.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "random.h"

namespace velmora::bench {

class EmbeddingGenerator {
 public:
  EmbeddingGenerator(std::size_t dimensions, std::uint64_t seed);

  // The next vector, of length one.
  [[nodiscard]] std::vector<float> next();

 private:
  // About normal, with a variance that falls with the dimension.
  [[nodiscard]] float component(std::size_t dimension);

  Random random_;
  std::vector<float> shared_;
  std::vector<std::vector<float>> centres_;
};

}  // namespace velmora::bench
