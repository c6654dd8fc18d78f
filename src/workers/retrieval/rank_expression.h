// How field weights become an FTS5 rank expression.
#pragma once

#include <span>
#include <string>

namespace velmora::workers::retrieval::internal {

// The shortest decimal text that reads back as the same double: "10.0", "0.0001"; with an exponent
// of at least two digits below 1e-4 (zero apart) and from 1e16: "1e-05", "1e+16".
[[nodiscard]] std::string weight_text(double weight);

// "bm25(" and the weights separated by ", " and ")". Nothing is validated.
[[nodiscard]] std::string bm25_expression(std::span<const double> weights);

}  // namespace velmora::workers::retrieval::internal
