#include "velmora/engines/decision.h"

#include <algorithm>
#include <numeric>

namespace velmora::engines {

std::string question_key(std::size_t position) {
  return "candidate_" + std::to_string(position + 1);
}

std::pair<DecisionState, DecisionQuestions> rerank_request(std::string_view question,
                                                           std::span<const std::string> lines) {
  DecisionState state{std::string(question), {}};
  DecisionQuestions questions;
  for (std::size_t position = 0; position < lines.size(); ++position) {
    const std::string number = std::to_string(position + 1);
    state.candidates.push_back(number + ". " + lines[position]);
    questions[question_key(position)] =
        "Does the code of candidate " + number + " answer the question?";
  }
  return {std::move(state), std::move(questions)};
}

std::vector<std::size_t> rerank_order(const DecisionResult& answer, std::size_t candidates) {
  std::vector<double> probabilities;
  for (std::size_t position = 0; position < candidates; ++position) {
    const auto found = answer.probabilities.find(question_key(position));
    if (found == answer.probabilities.end()) {
      throw DecisionError("the answer has no probability for candidate " +
                          std::to_string(position + 1));
    }
    // Written so that a NaN fails too.
    if (!(found->second >= 0.0 && found->second <= 1.0)) {
      throw DecisionError("the probability of candidate " + std::to_string(position + 1) +
                          " is not a number from 0 to 1");
    }
    probabilities.push_back(found->second);
  }
  std::vector<std::size_t> order(candidates);
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::stable_sort(order.begin(), order.end(), [&](std::size_t left, std::size_t right) {
    return probabilities[left] > probabilities[right];
  });
  return order;
}

}  // namespace velmora::engines
