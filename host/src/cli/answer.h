// How an answer of the retriever is written.
#pragma once

#include <string>
#include <string_view>

#include "velmora/workers/retrieval.h"

namespace velmora::host::cli {

// For people: a block of lines for each hit, and the note last.
[[nodiscard]] std::string answer_text(const workers::retrieval::RetrievalResult& answer);

// For programs: one JSON object on one line.
[[nodiscard]] std::string answer_json(std::string_view query,
                                      const workers::retrieval::RetrievalResult& answer);

}  // namespace velmora::host::cli
