// Questions in bulk.
#pragma once

#include "browse/answer.h"
#include "cli/input.h"
#include "velmora/workers/retrieval.h"

namespace velmora::host::cli {

// Answers the questions of `input`, one JSON object a line: query, and optionally limit, scope,
// include_tests and rerank, which stand for `defaults` where they are absent. Writes one line for
// each as soon as it is answered, in their order: the answer, or {"query", "error"} for a question
// that cannot be answered. Blank lines are skipped. Throws what reading throws.
void answer_batch(Input& input, const browse::Answerer& answerer,
                  const workers::retrieval::RetrieveOptions& defaults);

}  // namespace velmora::host::cli
