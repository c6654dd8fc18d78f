// Questions in bulk.
#pragma once

#include <istream>
#include <string_view>

#include "velmora/workers/retrieval.h"

namespace velmora::host::cli {

// Answers the questions of `stream`, one JSON object a line: query, and optionally limit, scope,
// include_tests and rerank, which stand for `defaults` where they are absent. Writes one line for
// each as soon as it is answered, in their order: the answer, or {"query", "error"} for a question
// that cannot be answered. Blank lines are skipped.
void answer_batch(std::istream& stream, workers::retrieval::HybridRetriever& retriever,
                  const workers::retrieval::RetrieveOptions& defaults);

}  // namespace velmora::host::cli
