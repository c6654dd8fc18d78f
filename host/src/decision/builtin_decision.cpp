#include "velmora/host/decision/builtin_decision.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numeric>
#include <utility>
#include <vector>

#include "decision/decision_weights.h"
#include "decision/features.h"
#include "files/shipped_file.h"
#include "velmora/workers/retrieval.h"

namespace velmora::host::decision {

using engines::DecisionError;

// The weights, or why there are none.
struct BuiltinDecision::Opened {
  DecisionWeights weights = {};
  std::string fault = {};
};

BuiltinDecision::BuiltinDecision(std::filesystem::path weights,
                                 std::shared_ptr<embedding::BuiltinEngine> words)
    : file_(std::move(weights)), words_(std::move(words)) {}

BuiltinDecision::~BuiltinDecision() = default;

bool BuiltinDecision::feature_enabled(std::string_view name) {
  return name == workers::retrieval::RERANK_FEATURE;
}

const BuiltinDecision::Opened& BuiltinDecision::opened() {
  std::call_once(once_, [this] {
    auto opened = std::make_unique<Opened>();
    try {
      opened->weights = read_weights(file_);
    } catch (const WeightsFileError& error) {
      opened->fault = error.what();
    }
    opened_ = std::move(opened);
  });
  return *opened_;
}

engines::DecisionResult BuiltinDecision::decide(const engines::DecisionState& state,
                                                const engines::DecisionQuestions& questions,
                                                engines::DecideOptions) {
  const Opened& open = opened();
  if (!open.fault.empty()) throw DecisionError(open.fault);
  std::shared_ptr<const embedding::WordModel> words;
  try {
    words = words_->model();
  } catch (const engines::EmbeddingNotReadyError& error) {
    throw DecisionError(error.what());
  }
  std::vector<double> scores;
  for (const FeatureRow& row : features(state, *words)) {
    scores.push_back(std::inner_product(row.begin(), row.end(), open.weights.weights.begin(), 0.0));
  }
  double sum = 0.0;
  const double best = scores.empty() ? 0.0 : *std::max_element(scores.begin(), scores.end());
  for (double& score : scores) sum += score = std::exp(score - best);
  engines::DecisionResult result;
  for (std::size_t position = 0; position < scores.size(); ++position) {
    std::string key = "candidate_" + std::to_string(position + 1);
    if (!questions.contains(key)) throw DecisionError("No question is about " + key);
    result.probabilities.emplace(std::move(key), scores[position] / sum);
  }
  return result;
}

std::filesystem::path shipped_decision_file() {
  return files::shipped_file("builtin.decision", "share/velmora");
}

}  // namespace velmora::host::decision
