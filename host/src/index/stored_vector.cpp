#include "index/stored_vector.h"

#include <stdexcept>
#include <string>

namespace velmora::host::index {

void require_direction(std::span<const float> values, std::string_view what) {
  if (values.empty()) throw std::invalid_argument(std::string(what) + " is empty");
  if (!std::ranges::all_of(values, [](float v) { return std::isfinite(v); })) {
    throw std::invalid_argument(std::string(what) + " holds a value that is not finite");
  }
  if (std::ranges::all_of(values, [](float v) { return v == 0.0F; })) {
    throw std::invalid_argument(std::string(what) + " is all zero");
  }
}

}  // namespace velmora::host::index
