// The interface through which a rerank asks a decision model.
#pragma once

#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "velmora/export.h"

namespace velmora::engines {

// Any failure of a decision: no answer in time, an error of the model, an answer that decides
// nothing. Its message goes into the log.
class VELMORA_API DecisionError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// What the model is shown: the user's question and the candidates, one numbered line each
// ("1. function pkg.parse ..."), best first as the retriever ranked them.
struct DecisionState {
  std::string question;                 // as the user gave it
  std::vector<std::string> candidates;  // their lines

  bool operator==(const DecisionState&) const = default;
};

// The yes/no questions asked about the state, by key.
using DecisionQuestions = std::map<std::string, std::string, std::less<>>;

// The model's answer: for each question's key the probability of a yes, 0 to 1.
struct DecisionResult {
  std::map<std::string, double, std::less<>> probabilities;  // by key

  bool operator==(const DecisionResult&) const = default;
};

// Options of `RerankClient::decide`.
struct DecideOptions {
  std::string_view question_version;  // names the wording of the questions; for caches and logs
};

// A decision model. Both functions are called on the thread of the question, from several threads
// at once, without a lock of the retriever.
class VELMORA_API RerankClient {
 public:
  virtual ~RerankClient() = default;

  // Whether the client is usable and its switch `name` is on. Asked once for each question that
  // wants a rerank. Must not throw: an error is not caught and ends the question.
  virtual bool feature_enabled(std::string_view name) = 0;

  // Answers the questions about the state. Blocks its question; must end within 3 seconds. Throws
  // DecisionError on any failure, a timeout included; the hits then keep the retriever's order.
  virtual DecisionResult decide(const DecisionState& state, const DecisionQuestions& questions,
                                DecideOptions options) = 0;
};

}  // namespace velmora::engines
