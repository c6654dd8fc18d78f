// Symbols of the index as JSON.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

#include "velmora/host/index/symbol.h"

namespace velmora::host::cli {

// id, fqn, name, kind, language, path, start_line, end_line, signature and docstring; the last two
// are null where there are none.
[[nodiscard]] nlohmann::ordered_json symbol_json(const index::Symbol& symbol);

// One line. Bytes that are not UTF-8 become U+FFFD.
[[nodiscard]] std::string json_line(const nlohmann::ordered_json& value);

}  // namespace velmora::host::cli
