// A decision client for tests: answers what it is told to and keeps what it was asked.
#pragma once

#include <exception>
#include <functional>
#include <string>
#include <vector>

#include "velmora/engines/decision.h"

namespace velmora::testing {

class Decisions : public engines::DecisionClient {
 public:
  bool feature_enabled(std::string_view name) override {
    asked.emplace_back(name);
    if (switch_error) std::rethrow_exception(switch_error);
    return enabled;
  }
  bool source_consent() override {
    if (consent_error) std::rethrow_exception(consent_error);
    return consent;
  }
  engines::DecisionResult decide(const engines::DecisionState& shown,
                                 const engines::DecisionQuestions& questions,
                                 engines::DecideOptions options) override {
    state = shown;
    version = options.question_version;
    ++decisions;
    if (decide_error) std::rethrow_exception(decide_error);
    engines::DecisionResult result;
    for (std::size_t i = 0; i < questions.size(); ++i) {
      result.probabilities[engines::question_key(i)] = probability(i);
    }
    return result;
  }

  bool enabled = true;
  bool consent = true;
  std::exception_ptr switch_error;
  std::exception_ptr consent_error;
  std::exception_ptr decide_error;
  // By default the last candidate is the best.
  std::function<double(std::size_t)> probability = [](std::size_t i) {
    return static_cast<double>(i) / 100;
  };
  std::vector<std::string> asked;  // the switches
  engines::DecisionState state;
  std::string version;
  int decisions = 0;
};

}  // namespace velmora::testing
