// The rerank question and its answer.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "velmora/engines/rerank_client.h"
#include "velmora/export.h"

namespace velmora::engines {

// The version of the wording of `rerank_request`; grows with every change of it.
inline constexpr std::string_view RERANK_QUESTION_VERSION = "1";

// A rerank client that carries the user's word on whether source may be shown to the model.
class VELMORA_API DecisionClient : public RerankClient {
 public:
  // Whether the user allowed source text (signatures, docstrings) to be shown to the decision
  // model. Called once for each rerank, from several threads at once. An error fails the rerank
  // alone.
  virtual bool source_consent() = 0;
};

// The key of the question about the candidate at `position`, which counts from 0: "candidate_1".
[[nodiscard]] VELMORA_API std::string question_key(std::size_t position);

// The state and the questions of a rerank: the question as the user gave it with the candidates'
// lines numbered from 1, and one yes/no question for each candidate, under its key.
[[nodiscard]] VELMORA_API std::pair<DecisionState, DecisionQuestions> rerank_request(
    std::string_view question, std::span<const std::string> lines);

// The positions 0 to `candidates` - 1, each once, by falling probability, equal ones by position.
// Throws DecisionError when a candidate's probability is missing, not a number or outside 0 to 1.
[[nodiscard]] VELMORA_API std::vector<std::size_t> rerank_order(const DecisionResult& answer,
                                                                std::size_t candidates);

}  // namespace velmora::engines
