// Constants in PHP's enums.
#pragma once

#include <string>
#include <string_view>

namespace velmora::host::indexing {

// The source with "case" in place of the "const" of each constant in an enum, and spaces in place
// of its modifiers and its type: the grammar knows no constants there, and to it an enum with one
// ends in front of it. As long as the source.
[[nodiscard]] std::string enum_constants_as_cases(std::string_view source);

}  // namespace velmora::host::indexing
