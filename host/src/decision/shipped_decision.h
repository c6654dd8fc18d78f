// The decision model that came with the program, for the questions of one engine.
#pragma once

#include <memory>

#include "velmora/engines/embedding.h"
#include "velmora/host/decision/builtin_decision.h"

namespace velmora::host::decision {

// Knows words as `engine` does, or as the model that came with the program when `engine` is none of
// the program's own.
[[nodiscard]] std::shared_ptr<BuiltinDecision> shipped_decision(
    const std::shared_ptr<engines::EmbeddingEngine>& engine, DecisionObserver observer = {});

}  // namespace velmora::host::decision
