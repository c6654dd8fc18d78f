// What a candidate's line says.
#pragma once

#include <string_view>

namespace velmora::host::decision {

// The parts of a line; views of it. What a line does not have, or was cut off, is empty.
struct Candidate {
  std::string_view kind;
  std::string_view fqn;
  std::string_view name;  // the last part of `fqn`
  std::string_view path;
  std::string_view signature;
  std::string_view docstring;  // its first sentence
};

// "function pkg.parse ..." of "1. function pkg.parse ..."; a line without a number as it is.
[[nodiscard]] std::string_view without_number(std::string_view line);

// Takes "1. kind fqn in path: signature - docstring" apart, the form of engines::candidate_line
// behind the number that engines::rerank_request gives it. Any bytes are taken: where a mark is
// missing, the part before it goes on to the end.
[[nodiscard]] Candidate parse_candidate(std::string_view line);

}  // namespace velmora::host::decision
