// What an engines::RerankClient, and so an engines::DecisionClient, promises, as tests that its
// author runs. In a test program that links velmora::contract and GoogleTest's main function:
//
//   #include <velmora/contract/rerank_client.h>
//
//   class MyHost : public velmora::contract::RerankClientHost { ... };
//
//   namespace velmora::contract {
//   INSTANTIATE_TYPED_TEST_SUITE_P(MyJudge, RerankClientContract, MyHost);
//   }
//
// Each check makes a MyHost, without arguments. A call that never returns is a test that never
// ends: give the tests a time limit. Data races show with the thread sanitizer.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <exception>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "velmora/contract/threads.h"
#include "velmora/engines/decision.h"
#include "velmora/engines/decision_text.h"
#include "velmora/workers/retrieval.h"

namespace velmora::contract {

// What the checks need of the author of a client.
class RerankClientHost {
 public:
  virtual ~RerankClientHost() = default;

  // The client, never null, usable and with its switch on; the same one for as long as the host
  // lives.
  virtual std::shared_ptr<engines::RerankClient> client() = 0;

  // A client whose model cannot be asked, whatever its switch. Null when there can be none.
  virtual std::shared_ptr<engines::RerankClient> client_without_model() { return nullptr; }
};

namespace internal {

// A question and lines of candidates, as a rerank shows them.
inline std::vector<std::string> candidate_lines(std::size_t count) {
  std::vector<std::string> lines;
  for (std::size_t i = 0; i < count; ++i) {
    const std::string number = std::to_string(i);
    lines.push_back("function net.retry_" + number + " in src/net.py: retry_" + number +
                    "(call) - Makes a call once more.");
  }
  return lines;
}

// Asks as a rerank does. Whether there was an answer, which then is a whole one; an error must be a
// DecisionError that says something.
inline bool decide(engines::RerankClient& client, const engines::DecisionState& state,
                   const engines::DecisionQuestions& questions) {
  try {
    const engines::DecisionResult answer =
        client.decide(state, questions, {.question_version = engines::RERANK_QUESTION_VERSION});
    for (const auto& [key, question] : questions) {
      const auto found = answer.probabilities.find(key);
      if (found == answer.probabilities.end()) {
        ADD_FAILURE() << "There is no probability for the question " << key;
        continue;
      }
      EXPECT_TRUE(found->second >= 0.0 && found->second <= 1.0)
          << found->second << " of the question " << key << " is no probability";
    }
    return true;
  } catch (const engines::DecisionError& error) {
    EXPECT_STRNE(error.what(), "") << "An error says what is wrong";
  } catch (const std::exception& error) {
    ADD_FAILURE() << "It is no DecisionError: " << error.what();
  } catch (...) {
    ADD_FAILURE() << "It is no DecisionError";
  }
  return false;
}
inline bool decide(engines::RerankClient& client, std::string_view question, std::size_t count) {
  const auto [state, questions] = engines::rerank_request(question, candidate_lines(count));
  return decide(client, state, questions);
}

}  // namespace internal

template <class Host>
class RerankClientContract : public ::testing::Test {
 protected:
  Host host;
  const std::shared_ptr<engines::RerankClient> client = host.client();
};

TYPED_TEST_SUITE_P(RerankClientContract);

TYPED_TEST_P(RerankClientContract, HasItsOwnSwitchesAlone) {
  for (const auto& asked : {this->client, this->host.client_without_model()}) {
    if (asked == nullptr) continue;
    const auto is_on = [&](std::string_view name) {
      bool on = false;
      EXPECT_NO_THROW(on = asked->feature_enabled(name)) << "asked for " << name.substr(0, 40);
      return on;
    };
    const bool on = is_on(workers::retrieval::RERANK_FEATURE);
    EXPECT_TRUE(on || asked != this->client) << "The switch of a rerank is not on";
    for (const std::string& name :
         {std::string(), std::string("no_such_feature"), std::string("\0\xFF", 2),
          std::string(workers::retrieval::RERANK_FEATURE) + "_2", std::string(100'000, 'x')}) {
      EXPECT_FALSE(is_on(name)) << "A switch that there is not is on: " << name.substr(0, 40);
    }
  }
}

TYPED_TEST_P(RerankClientContract, AnswersEveryQuestion) {
  for (std::size_t count = 1; count <= std::size_t{workers::retrieval::RERANK_DEPTH}; ++count) {
    EXPECT_TRUE(internal::decide(*this->client, "How is a call retried?", count));
    EXPECT_TRUE(internal::decide(*this->client, "How is a call retried?", count)) << "once more";
  }
}

// Texts that are nothing like a question, and questions that no rerank asks: an answer is whole, an
// error a DecisionError, and the next question is answered.
TYPED_TEST_P(RerankClientContract, AnswersOrFailsWhateverIsAsked) {
  std::vector<std::pair<engines::DecisionState, engines::DecisionQuestions>> requests;
  for (const std::string& text : {std::string(), std::string("a\0b", 3), std::string("\xFF\xC3"),
                                  std::string("\"\\{}\n\r"), std::string(200'000, 'x')}) {
    requests.push_back(engines::rerank_request(text, std::vector{text, std::string("2. in :")}));
  }
  requests.push_back({{"How?", internal::candidate_lines(2)}, {{"odd", "Is it the first?"}}});
  requests.push_back({{"How?", internal::candidate_lines(2)}, {}});
  requests.push_back({{"How?", {}}, {{"candidate_1", "Is it?"}}});
  for (const auto& [state, questions] : requests) {
    internal::decide(*this->client, state, questions);
    EXPECT_TRUE(internal::decide(*this->client, "How is a call retried?", 3));
  }
}

TYPED_TEST_P(RerankClientContract, FailsWithoutItsModel) {
  const auto unusable = this->host.client_without_model();
  if (unusable == nullptr) GTEST_SKIP() << "The model is always there";
  for (int again = 0; again < 2; ++again) {
    EXPECT_FALSE(internal::decide(*unusable, "How is a call retried?", 3));
  }
}

TYPED_TEST_P(RerankClientContract, AnswersSeveralThreads) {
  on_threads([&](unsigned thread) {
    for (std::size_t round = 0; round < 10; ++round) {
      EXPECT_TRUE(this->client->feature_enabled(workers::retrieval::RERANK_FEATURE));
      EXPECT_NO_THROW(static_cast<void>(engines::source_consented(*this->client)));
      EXPECT_TRUE(
          internal::decide(*this->client, "How is a call retried?", 1 + thread + round % 4));
    }
  });
}

REGISTER_TYPED_TEST_SUITE_P(RerankClientContract, HasItsOwnSwitchesAlone, AnswersEveryQuestion,
                            AnswersOrFailsWhateverIsAsked, FailsWithoutItsModel,
                            AnswersSeveralThreads);

}  // namespace velmora::contract
