#include "decision/shipped_decision.h"

#include <utility>

#include "velmora/host/embedding/builtin_engine.h"

namespace velmora::host::decision {

std::shared_ptr<BuiltinDecision> shipped_decision(
    const std::shared_ptr<engines::EmbeddingEngine>& engine, DecisionObserver observer) {
  auto words = std::dynamic_pointer_cast<embedding::BuiltinEngine>(engine);
  if (!words) words = std::make_shared<embedding::BuiltinEngine>(embedding::shipped_model_file());
  return std::make_shared<BuiltinDecision>(shipped_decision_file(), std::move(words),
                                           std::move(observer));
}

}  // namespace velmora::host::decision
