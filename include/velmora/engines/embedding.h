// What the semantic channel needs of an embedding engine: the interfaces that a host implements.
#pragma once

#include <chrono>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "velmora/exceptions.h"
#include "velmora/export.h"

namespace velmora::engines {

// The model is not loaded yet, or cannot be. The message begins a sentence and has no final full
// stop, for instance "The embedding model is still loading".
class VELMORA_API EmbeddingNotReadyError : public TryAgainLaterError {
 public:
  using TryAgainLaterError::TryAgainLaterError;
};

// A loaded model. Every function may be called from several threads at once.
class VELMORA_API EmbeddingBackend {
 public:
  virtual ~EmbeddingBackend() = default;

  // One vector for each text (UTF-8), in their order, all of one length, of finite numbers that are
  // not all zero; of no texts none. May block. An error, as for a text that the model cannot embed,
  // makes the semantic channel of the question "failed" and is logged; the next call is answered.
  virtual std::vector<std::vector<float>> embed(std::span<const std::string_view> texts) = 0;

  // The model's name: the one under which the index finds the stored embeddings of this model.
  // Constant, and lives as long as the backend.
  [[nodiscard]] virtual std::string_view name() const = 0;
};

// Loads a model and hands it out once it is ready.
class VELMORA_API EmbeddingEngine {
 public:
  virtual ~EmbeddingEngine() = default;

  // The model's backend, never null. Waits for it no longer than `longest`; with zero it returns or
  // throws at once. Throws EmbeddingNotReadyError when the model is not loaded by then. May be
  // called from several threads at once.
  virtual std::shared_ptr<EmbeddingBackend> wait_ready(std::chrono::milliseconds longest) = 0;
};

}  // namespace velmora::engines
