// The symbol model that an index and the retriever agree on.
#pragma once

#include <cstdint>

#include "velmora/utils/string_set.h"

namespace velmora::models {

// Identifies a symbol within one index. Any 64-bit value, negative ones included.
using SymbolId = std::int64_t;

// The kinds that define something.
inline constexpr auto DECLARATION_KINDS =
    utils::string_set("class", "struct", "union", "interface", "trait", "enum", "type", "function",
                      "method", "constructor", "macro", "constant");

// The kinds that can be called.
inline constexpr auto CALLABLE_KINDS =
    utils::string_set("function", "method", "constructor", "macro");

}  // namespace velmora::models
