#include "velmora/engines/decision.h"

#include <gtest/gtest.h>

#include <limits>

#include "utils/unicode.h"
#include "velmora/engines/decision_text.h"

namespace velmora::engines {
namespace {

class Consenting : public DecisionClient {
 public:
  explicit Consenting(bool consent) : consent_(consent) {}
  bool source_consent() override { return consent_; }
  bool feature_enabled(std::string_view) override { return true; }
  DecisionResult decide(const DecisionState&, const DecisionQuestions&, DecideOptions) override {
    return {};
  }

 private:
  bool consent_;
};

// A client of another make than DecisionClient.
class Stranger : public RerankClient {
 public:
  bool feature_enabled(std::string_view) override { return true; }
  DecisionResult decide(const DecisionState&, const DecisionQuestions&, DecideOptions) override {
    return {};
  }
};

DecisionResult answer(const DecisionQuestions& questions, const std::vector<double>& values) {
  DecisionResult result;
  std::size_t position = 0;
  for (double value : values) {
    const std::string key = "candidate_" + std::to_string(++position);
    EXPECT_TRUE(questions.contains(key));
    result.probabilities[key] = value;
  }
  return result;
}

TEST(Decision, OrdersByFallingProbabilityThenPosition) {
  const std::vector<std::string> lines(11, "function f in a.py");
  const auto [state, questions] = rerank_request("where's f?", lines);
  EXPECT_EQ(state.question, "where's f?");
  EXPECT_EQ(state.candidates.at(10), "11. function f in a.py");
  EXPECT_EQ(questions.size(), 11u);
  EXPECT_EQ(rerank_order(answer(questions, {.5, 0, 1, .5, .5}), 5),
            (std::vector<std::size_t>{2, 0, 3, 4, 1}));
  EXPECT_TRUE(rerank_order({}, 0).empty());
}

TEST(Decision, RefusesAnswersThatCannotOrder) {
  const auto [state, questions] = rerank_request("q", std::vector<std::string>{"a", "b"});
  for (const double bad : {-0.1, 1.1, std::numeric_limits<double>::quiet_NaN(),
                           std::numeric_limits<double>::infinity()}) {
    EXPECT_THROW((void)rerank_order(answer(questions, {.5, bad}), 2), DecisionError) << bad;
  }
  EXPECT_THROW((void)rerank_order(answer(questions, {.5}), 2), DecisionError);
}

TEST(Decision, ConsentIsTheDecisionClientsAlone) {
  Consenting yes(true);
  Consenting no(false);
  Stranger stranger;
  EXPECT_TRUE(source_consented(yes));
  EXPECT_FALSE(source_consented(no));
  EXPECT_FALSE(source_consented(stranger));
}

TEST(Decision, CandidateLineIsOneLineAndRespectsConsent) {
  const auto line = [](bool consent, std::optional<std::string_view> doc) {
    return candidate_line("pkg.f", "function", doc, "f(a,\n  b)", consent, {.path = "a.py"});
  };
  EXPECT_EQ(line(false, "Secret."), "function pkg.f in a.py");
  EXPECT_EQ(line(true, std::nullopt), "function pkg.f in a.py: f(a, b)");
  EXPECT_EQ(line(true, "\n Reads v1.2\u00a0files.  Then more."),
            "function pkg.f in a.py: f(a, b) - Reads v1.2 files.");
  const std::string longest = line(true, std::string(400, 'x') + "\u00e9");
  EXPECT_EQ(utils::character_count(longest), 300u);
}

}  // namespace
}  // namespace velmora::engines
