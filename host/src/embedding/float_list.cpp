#include "embedding/float_list.h"

#include <cmath>
#include <limits>

namespace velmora::host::embedding {

std::optional<float> as_float(double number) {
  // Turning a larger one into a float is undefined.
  if (!(std::abs(number) <= double{std::numeric_limits<float>::max()})) return std::nullopt;
  return static_cast<float>(number);
}

std::optional<std::vector<float>> float_list(const nlohmann::json& value) {
  if (!value.is_array()) return std::nullopt;
  std::vector<float> numbers;
  numbers.reserve(value.size());
  for (const nlohmann::json& element : value) {
    if (!element.is_number()) return std::nullopt;
    const std::optional<float> number = as_float(element.get<double>());
    if (!number) return std::nullopt;
    numbers.push_back(*number);
  }
  return numbers;
}

}  // namespace velmora::host::embedding
