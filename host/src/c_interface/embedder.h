// A host's own embedding model behind the C interface.
#pragma once

#include <string_view>

#include "c_interface/callback.h"
#include "velmora/velmora.h"
#include "velmora/workers/retrieval.h"

namespace velmora::host::c_interface {

class CallbackEmbedder {
 public:
  // Throws std::invalid_argument for a table that lacks what it must have.
  explicit CallbackEmbedder(const velmora_embedder& given);

  // From now on the host's `self` is released with this.
  void take() noexcept { self_.take(); }

  // As workers::retrieval::QueryEmbedder has it.
  [[nodiscard]] workers::retrieval::QueryVector embed(std::string_view query) const;

 private:
  const velmora_embedder table_;
  Self self_;
};

}  // namespace velmora::host::c_interface
