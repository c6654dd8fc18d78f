// How names are written.
#pragma once

#include <string_view>

namespace velmora::host::indexing {

// Whether a name is in capitals, as macros and constants are: "MAX_SIZE". One letter alone may name
// anything.
[[nodiscard]] bool is_in_capitals(std::string_view name);

}  // namespace velmora::host::indexing
