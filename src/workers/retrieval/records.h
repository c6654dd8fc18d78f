// What the retriever's own files share beside the public records.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "velmora/logging.h"
#include "velmora/workers/retrieval.h"

namespace velmora::workers::retrieval::internal {

inline constexpr logging::Logger logger("velmora.workers.retrieval");

// The problem of the text channels when the full-text tables could not be made.
inline constexpr std::string_view NO_FTS5 = "this SQLite has no FTS5 for text search";

// The note of a rerank that failed.
inline constexpr std::string_view RERANK_FAILED =
    "The decision model could not rerank the hits (see the log); they keep the retriever's order.";

// What one channel produced for a question.
struct Channel {
  Ranks ranks;                   // empty when the channel could not rank
  std::string_view status = OK;  // one of the four status words
  std::optional<std::string> problem =
      {};  // what went wrong: begins in lower case, no final full stop

  bool operator==(const Channel&) const = default;
};

}  // namespace velmora::workers::retrieval::internal
