// The answer of a decision model that judges candidates by their place.
#pragma once

#include <span>

#include "velmora/engines/decision.h"

namespace velmora::host::decision {

// The probabilities of the candidates, in their order, as the answers to the questions about them.
// Throws DecisionError unless there is one question about each candidate, and no other.
[[nodiscard]] engines::DecisionResult candidate_answers(
    std::span<const double> probabilities, const engines::DecisionQuestions& questions);

}  // namespace velmora::host::decision
