#include "c_interface/decider.h"

#include <cstddef>
#include <limits>
#include <string>
#include <vector>

#include "c_interface/arguments.h"
#include "decision/candidate_answers.h"
#include "velmora/workers/retrieval.h"

namespace velmora::host::c_interface {

CallbackDecider::CallbackDecider(const velmora_decider& given)
    : table_(taken(&given, "options->decider")), self_(table_.self, table_.release) {
  require(table_.decide != nullptr, "options->decider->decide");
}

bool CallbackDecider::feature_enabled(std::string_view name) {
  if (name != workers::retrieval::RERANK_FEATURE) return false;
  bool enabled = true;
  if (table_.enabled != nullptr) call("enabled", table_.enabled, table_.self, &enabled);
  return enabled;
}

bool CallbackDecider::source_consent() {
  bool given = false;
  if (table_.consent != nullptr) call("consent", table_.consent, table_.self, &given);
  return given;
}

engines::DecisionResult CallbackDecider::decide(const engines::DecisionState& state,
                                                const engines::DecisionQuestions& questions,
                                                engines::DecideOptions options) {
  const std::size_t count = state.candidates.size();
  std::vector<velmora_string> candidates;
  std::vector<velmora_string> asked;
  for (std::size_t i = 0; i < count; ++i) {
    const std::string key = engines::question_key(i);
    const auto question = questions.find(key);
    if (question == questions.end()) throw engines::DecisionError("No question is about " + key);
    candidates.push_back(string_of(state.candidates[i]));
    asked.push_back(string_of(question->second));
  }
  const velmora_decision decision{.size = sizeof(velmora_decision),
                                  .question = string_of(state.question),
                                  .candidates = candidates.data(),
                                  .questions = asked.data(),
                                  .count = count,
                                  .version = string_of(options.question_version)};
  // What is not written is no probability.
  std::vector<double> probabilities(count, std::numeric_limits<double>::quiet_NaN());
  try {
    call("decide", table_.decide, table_.self, &decision, probabilities.data());
  } catch (const CallbackError& error) {
    throw engines::DecisionError(error.what());
  }
  return decision::candidate_answers(probabilities, questions);
}

}  // namespace velmora::host::c_interface
