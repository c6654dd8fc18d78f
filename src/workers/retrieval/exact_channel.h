// The channel that looks names up.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "workers/retrieval/admission.h"
#include "workers/retrieval/corpus.h"

namespace velmora::workers::retrieval::internal {

// What a question's names found.
struct ExactNames {
  std::vector<SymbolId> ids;     // best first, each once, at most `depth`
  std::vector<SymbolId> pinned;  // ascending, each once: what goes above the whole fused ranking

  [[nodiscard]] bool is_pinned(SymbolId id) const;
};

// The admitted symbols named by a word of the query in any case, then those whose name starts with
// a word that is looked up, shortest name first. A word is looked up, and pins the symbols of its
// name, when it reads as code or is the only name in the query: a word of prose in a longer
// question must not bring up every name that it begins. Never fails.
[[nodiscard]] ExactNames exact_names(const Corpus& corpus, std::string_view query,
                                     const Admission& admit, std::int64_t depth);

}  // namespace velmora::workers::retrieval::internal
