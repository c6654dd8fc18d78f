// A host's own decision model behind the C interface.
#pragma once

#include <string_view>

#include "c_interface/callback.h"
#include "velmora/engines/decision.h"
#include "velmora/velmora.h"

namespace velmora::host::c_interface {

class CallbackDecider final : public engines::DecisionClient {
 public:
  // Throws std::invalid_argument for a table that lacks what it must have.
  explicit CallbackDecider(const velmora_decider& given);

  // From now on the host's `self` is released with this.
  void take() noexcept { self_.take(); }

  bool feature_enabled(std::string_view name) override;
  bool source_consent() override;
  engines::DecisionResult decide(const engines::DecisionState& state,
                                 const engines::DecisionQuestions& questions,
                                 engines::DecideOptions options) override;

 private:
  const velmora_decider table_;
  Self self_;
};

}  // namespace velmora::host::c_interface
