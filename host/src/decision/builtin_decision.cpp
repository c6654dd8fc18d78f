#include "velmora/host/decision/builtin_decision.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numeric>
#include <utility>
#include <vector>

#include "decision/candidate_answers.h"
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

namespace {

// The rows with their probabilities, in the order of the candidates, as an observer gets them.
std::vector<JudgedCandidate> judged(const std::vector<FeatureRow>& rows, const FeatureRow& weights,
                                    const engines::DecisionResult& result,
                                    const std::vector<double>& probabilities) {
  FeatureRow means{};
  for (const FeatureRow& row : rows) {
    for (std::size_t i = 0; i < FEATURES; ++i) {
      means[i] += row[i] / static_cast<double>(rows.size());
    }
  }
  std::vector<JudgedCandidate> candidates;
  for (const std::size_t position : engines::rerank_order(result, rows.size())) {
    JudgedCandidate& candidate = candidates.emplace_back();
    candidate.probability = probabilities[position];
    for (std::size_t i = 0; i < FEATURES; ++i) {
      const double value = rows[position][i];
      candidate.features.push_back({FEATURE_NAMES[i], subject(static_cast<Feature>(i)), value,
                                    weights[i] * (value - means[i])});
    }
  }
  return candidates;
}

}  // namespace

BuiltinDecision::BuiltinDecision(std::filesystem::path weights,
                                 std::shared_ptr<embedding::BuiltinEngine> words,
                                 DecisionObserver observer)
    : file_(std::move(weights)), words_(std::move(words)), observer_(std::move(observer)) {}

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
  const std::vector<FeatureRow> rows = features(state, *words);
  std::vector<double> chances;
  for (const FeatureRow& row : rows) {
    chances.push_back(
        std::inner_product(row.begin(), row.end(), open.weights.weights.begin(), 0.0));
  }
  double sum = 0.0;
  const double best = chances.empty() ? 0.0 : *std::max_element(chances.begin(), chances.end());
  for (double& chance : chances) sum += chance = std::exp(chance - best);
  for (double& chance : chances) chance /= sum;
  engines::DecisionResult result = candidate_answers(chances, questions);
  if (observer_) observer_(judged(rows, open.weights.weights, result, chances));
  return result;
}

std::filesystem::path shipped_decision_file() {
  return files::shipped_file("builtin.decision", "share/velmora");
}

}  // namespace velmora::host::decision
