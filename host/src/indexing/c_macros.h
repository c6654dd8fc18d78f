// Macros that stand in the way of a parser which does not expand them.
#pragma once

#include <string>
#include <string_view>

namespace velmora::host::indexing {

// The source with macros that decorate declarations replaced by spaces: alone on a line, in front
// of a declaration, next to the name of a class or namespace, behind the parameters of a function.
// A parser does not see what they expand to, and what it makes of them would spoil the definitions
// around them. Preprocessor lines stay as they are.
[[nodiscard]] std::string blank_macros(std::string_view source);

}  // namespace velmora::host::indexing
