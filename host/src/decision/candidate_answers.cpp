#include "decision/candidate_answers.h"

#include <cstddef>
#include <string>
#include <utility>

namespace velmora::host::decision {

engines::DecisionResult candidate_answers(std::span<const double> probabilities,
                                          const engines::DecisionQuestions& questions) {
  engines::DecisionResult result;
  for (std::size_t position = 0; position < probabilities.size(); ++position) {
    std::string key = engines::question_key(position);
    if (!questions.contains(key)) throw engines::DecisionError("No question is about " + key);
    result.probabilities.emplace(std::move(key), probabilities[position]);
  }
  if (result.probabilities.size() != questions.size()) {
    throw engines::DecisionError("A question is about no candidate");
  }
  return result;
}

}  // namespace velmora::host::decision
