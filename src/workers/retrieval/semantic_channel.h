// The channel that ranks by meaning.
#pragma once

#include <cstdint>
#include <string_view>

#include "workers/retrieval/admission.h"
#include "workers/retrieval/records.h"

namespace velmora::workers::retrieval::internal {

// The first `depth` admitted symbols nearest to the query. Searches more and more neighbours while
// filters thin them out, up to a ceiling, at which it reports "partial". Never waits for the model,
// and throws no ordinary error: an embedder that is absent or not ready makes it unavailable, any
// other error of the embedder or of the search failed, with a warning in the log.
[[nodiscard]] Channel semantic_channel(storage::Repository& repository,
                                       const QueryEmbedder& embedder,
                                       const RetrievalSettings& settings, std::string_view query,
                                       const Admission& admit, std::int64_t depth);

}  // namespace velmora::workers::retrieval::internal
