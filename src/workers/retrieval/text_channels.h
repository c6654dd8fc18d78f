// The channels that search the text index.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "workers/retrieval/admission.h"
#include "workers/retrieval/corpus.h"
#include "workers/retrieval/records.h"

namespace velmora::workers::retrieval::internal {

// BM25 over the words of each symbol: the first `depth` admitted symbols that match any term, one
// rank each. Both channels are unavailable without a text index, and "ok" without ranks when
// there are no terms; an error of the query is thrown on.
[[nodiscard]] Channel lexical_channel(const Corpus& corpus, std::span<const std::string> terms,
                                      const Admission& admit, std::int64_t depth);

// BM25 over whole files: every admitted symbol of the `best_files` files that match best takes its
// file's rank. A file without admitted symbols is passed over.
[[nodiscard]] Channel file_channel(const Corpus& corpus, std::span<const std::string> terms,
                                   const Admission& admit, int best_files);

}  // namespace velmora::workers::retrieval::internal
