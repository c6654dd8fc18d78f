// The optional reorder of the first hits by one call of a decision model.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "workers/retrieval/exact_channel.h"
#include "workers/retrieval/records.h"

namespace velmora::workers::retrieval::internal {

// Whether a rerank asks the decision model: there is a client and its switch is on. Throws what the
// client throws.
[[nodiscard]] bool rerank_allowed(const std::shared_ptr<RerankClient>& decisions);

struct Reranked {
  std::vector<Hit> hits;
  std::optional<std::string> note;  // on a rerank that failed
};

// Pinned hits first, then the first RERANK_DEPTH others in the model's order, then the rest. With
// fewer than two hits to reorder nothing is asked; on any ordinary error the hits come back as they
// were, with a note and a warning in the log.
[[nodiscard]] Reranked reranked(RerankClient& decisions, storage::Repository& repository,
                                std::string_view query, std::vector<Hit> hits,
                                const ExactNames& exact);

}  // namespace velmora::workers::retrieval::internal
