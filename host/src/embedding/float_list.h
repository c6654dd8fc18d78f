// Numbers of vectors in JSON.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <vector>

namespace velmora::host::embedding {

// The number as the nearest float, or nothing when it is beyond them.
[[nodiscard]] std::optional<float> as_float(double number);

// The numbers of a JSON list, or nothing when `value` is anything but a list of numbers that a
// float can hold.
[[nodiscard]] std::optional<std::vector<float>> float_list(const nlohmann::json& value);

}  // namespace velmora::host::embedding
