// Which languages count as source code.
#pragma once

#include "velmora/utils/string_set.h"

namespace velmora::utils {

// The names under which an index stores the language of a symbol, for those languages whose symbols
// take part in retrieval. Prose and data formats (markdown, json) are not among them.
inline constexpr auto SOURCE_LANGUAGES =
    string_set("bash", "c", "cpp", "csharp", "dart", "elixir", "erlang", "go", "haskell", "java",
               "javascript", "julia", "kotlin", "lua", "objc", "ocaml", "perl", "php", "python",
               "r", "ruby", "rust", "scala", "swift", "typescript", "zig");

}  // namespace velmora::utils
