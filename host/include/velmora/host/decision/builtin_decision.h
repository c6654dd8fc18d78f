// The program's own decision model, which needs no server.
#pragma once

#include <filesystem>
#include <memory>
#include <mutex>
#include <string>

#include "velmora/engines/decision.h"
#include "velmora/host/embedding/builtin_engine.h"

namespace velmora::host::decision {

// Decides by a weighted sum of some forty numbers: the place in the ranking, how near question and
// candidate are by the word model, and the words that they share. Answers in a fraction of a
// millisecond and sends nothing anywhere, so it is shown source without being asked. Any number of
// threads may ask.
class BuiltinDecision final : public engines::DecisionClient {
 public:
  // The file of weights is opened when something is first to be decided, and once. `words` is not
  // null; a model that is not the one with which the weights were learned does well as long as it
  // was made from that one.
  BuiltinDecision(std::filesystem::path weights, std::shared_ptr<embedding::BuiltinEngine> words);
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
  std::once_flag once_;
  std::unique_ptr<const Opened> opened_;
};

// The weights that came with the program: "builtin.decision" beside it, as it was built, or in
// ../share/velmora, as it was installed. One that is in neither is said to be beside it.
[[nodiscard]] std::filesystem::path shipped_decision_file();

}  // namespace velmora::host::decision
