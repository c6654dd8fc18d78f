// What a decision model is shown of a hit.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "velmora/engines/rerank_client.h"
#include "velmora/export.h"

namespace velmora::engines {

// Whether the user allowed source text to be shown to this client's model: the consent that a
// DecisionClient carries, and false for every other client. Throws what the client throws.
[[nodiscard]] VELMORA_API bool source_consented(RerankClient& client);

// Options of `candidate_line`.
struct CandidateLineOptions {
  std::string_view path;  // the symbol's file
};

// One line that shows the model a candidate: its kind, fqn and path; with `consent` also its
// signature and the first sentence of its docstring. White space is folded to single spaces, and
// the line is cut to 300 characters.
[[nodiscard]] VELMORA_API std::string candidate_line(std::string_view fqn, std::string_view kind,
                                                     std::optional<std::string_view> docstring,
                                                     std::optional<std::string_view> signature,
                                                     bool consent, CandidateLineOptions options);

}  // namespace velmora::engines
