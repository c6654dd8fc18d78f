// The FTS5 rank expressions of the weight records.
#include "workers/retrieval/rank_expression.h"

#include <array>
#include <charconv>
#include <cmath>

#include "velmora/workers/retrieval.h"

namespace velmora::workers::retrieval {
namespace internal {

std::string weight_text(double weight) {
  if (std::isnan(weight)) return "nan";
  if (std::isinf(weight)) return weight < 0 ? "-inf" : "inf";
  // std::to_chars would choose the shorter of the two notations; this choice is by magnitude alone.
  const double magnitude = std::fabs(weight);
  const bool exponent = magnitude != 0.0 && (magnitude < 1e-4 || magnitude >= 1e16);
  std::array<char, 64> buffer{};
  const auto format = exponent ? std::chars_format::scientific : std::chars_format::fixed;
  const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), weight, format).ptr;
  std::string text(buffer.data(), end);
  if (text.find_first_of(".e") == std::string::npos) text += ".0";
  return text;
}

std::string bm25_expression(std::span<const double> weights) {
  std::string expression = "bm25(";
  for (std::size_t i = 0; i < weights.size(); ++i) {
    if (i != 0) expression += ", ";
    expression += weight_text(weights[i]);
  }
  return expression += ")";
}

}  // namespace internal

std::string LexicalWeights::rank_function() const {
  return internal::bm25_expression(std::array{name, signature, path, docstring});
}

std::string FileWeights::rank_function() const {
  return internal::bm25_expression(std::array{names, path, docstrings});
}

}  // namespace velmora::workers::retrieval
