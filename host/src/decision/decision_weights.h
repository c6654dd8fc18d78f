// The weights of the program's own decision model, and the file that keeps them.
#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>

#include "decision/features.h"

namespace velmora::host::decision {

// A file of weights is missing, damaged or of another version. The message says which file and what
// is wrong with it, begins a sentence and has no final full stop.
class WeightsFileError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct DecisionWeights {
  std::string model;     // the name of the word model with which they were learned
  FeatureRow weights{};  // finite; what one unit of each feature adds to a candidate's score

  bool operator==(const DecisionWeights&) const = default;
};

// A text: the version, the word model, a line for each feature with its name and its weight, and a
// checksum of all of it. The same weights give the same bytes, and those the same weights.
[[nodiscard]] std::string weights_text(const DecisionWeights& weights);

// Reads a file of at most 64 KB and checks it from the first byte to the last. Throws
// WeightsFileError.
[[nodiscard]] DecisionWeights read_weights(const std::filesystem::path& file);

}  // namespace velmora::host::decision
