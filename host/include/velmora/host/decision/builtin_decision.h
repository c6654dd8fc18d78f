// The program's own decision model, which needs no server.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "velmora/engines/decision.h"
#include "velmora/export.h"
#include "velmora/host/embedding/builtin_engine.h"

namespace velmora::host::decision {

// What one feature came to for a candidate.
struct JudgedFeature {
  std::string_view name;     // as the file of weights has it
  std::string_view subject;  // what of a candidate it looks at, in a word for people
  double value = 0.0;        // before its weight
  // What it adds to the candidate's score over what it adds to the candidates' mean: its weight
  // times the value's distance from theirs.
  double gain = 0.0;
};

// How a candidate was told apart from the others.
struct JudgedCandidate {
  double probability = 0.0;                  // 0 to 1; those of all candidates add up to 1
  std::vector<JudgedFeature> features = {};  // all of them, in the order of the file of weights
};

// Gets the candidates of a decision in the order in which it puts them.
using DecisionObserver = std::function<void(std::vector<JudgedCandidate> candidates)>;

// Decides by a weighted sum of some forty numbers: the place in the ranking, how near question and
// candidate are by the word model, and the words that they share. Answers in a fraction of a
// millisecond and sends nothing anywhere, so it is shown source without being asked. Any number of
// threads may ask.
class VELMORA_API BuiltinDecision final : public engines::DecisionClient {
 public:
  // The file of weights is opened when something is first to be decided, and once. `words` is not
  // null; a model that is not the one with which the weights were learned does well as long as it
  // was made from that one. `observer` may be empty; it is called on the thread of each decision,
  // from several at once, before the decision returns.
  BuiltinDecision(std::filesystem::path weights, std::shared_ptr<embedding::BuiltinEngine> words,
                  DecisionObserver observer = {});
  ~BuiltinDecision() override;

  // The rerank is on, and nothing else.
  bool feature_enabled(std::string_view name) override;

  bool source_consent() override { return true; }

  // Answers the questions of engines::rerank_request: for each candidate the probability that it is
  // the one that answers; together they are 1. Candidates that differ in nothing keep their order.
  // The DecisionError of a failure says what is wrong with the file of weights or of the words.
  engines::DecisionResult decide(const engines::DecisionState& state,
                                 const engines::DecisionQuestions& questions,
                                 engines::DecideOptions options) override;

 private:
  struct Opened;
  const Opened& opened();

  const std::filesystem::path file_;
  const std::shared_ptr<embedding::BuiltinEngine> words_;
  const DecisionObserver observer_;
  std::once_flag once_;
  std::unique_ptr<const Opened> opened_;
};

// The weights that came along: "builtin.decision", in the places that velmora/velmora.h tells. One
// that is in none of them is said to be in the first.
[[nodiscard]] VELMORA_API std::filesystem::path shipped_decision_file();

}  // namespace velmora::host::decision
