#include "decision/candidate.h"

#include <algorithm>
#include <cstddef>

namespace velmora::host::decision {
namespace {

// Cuts `text` at `at` and returns what stands before; what is left begins behind `mark` bytes.
std::string_view take(std::string_view& text, std::size_t at, std::size_t mark) {
  const std::string_view before = text.substr(0, at);
  text.remove_prefix(std::min(text.size(), at == text.npos ? text.size() : at + mark));
  return before;
}

// Where " - " ends a signature: outside of brackets, in which it may be a subtraction.
std::size_t signature_end(std::string_view text) {
  std::size_t depth = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '(' || c == '[' || c == '{') ++depth;
    if ((c == ')' || c == ']' || c == '}') && depth > 0) --depth;
    if (depth == 0 && text.substr(i, 3) == " - ") return i;
  }
  return text.npos;
}

// The part of a qualified name behind its last separator. A name may be an operator, made of such
// characters itself: then it is taken whole.
std::string_view last_part(std::string_view fqn) {
  const std::size_t separator = fqn.find_last_of(".:#/\\");
  const std::string_view last = fqn.substr(separator == fqn.npos ? 0 : separator + 1);
  return last.empty() ? fqn : last;
}

}  // namespace

std::string_view without_number(std::string_view line) {
  const std::size_t digits = line.find_first_not_of("0123456789");
  const bool numbered = digits != 0 && digits != line.npos && line.substr(digits, 2) == ". ";
  return numbered ? line.substr(digits + 2) : line;
}

Candidate parse_candidate(std::string_view line) {
  Candidate candidate;
  std::string_view rest = without_number(line);
  candidate.kind = take(rest, rest.find(' '), 1);
  candidate.fqn = take(rest, rest.find(" in "), 4);
  candidate.name = last_part(candidate.fqn);
  const std::size_t colon = rest.find(": ");
  const std::size_t dash = rest.find(" - ");
  const bool has_signature = colon < dash;
  candidate.path = take(rest, std::min(colon, dash), has_signature ? 2 : 3);
  if (has_signature) candidate.signature = take(rest, signature_end(rest), 3);
  candidate.docstring = rest;
  return candidate;
}

}  // namespace velmora::host::decision
