// What the parser of Kotlin does not know.
#pragma once

#include <string>
#include <string_view>

namespace velmora::host::indexing {

// The source, as long as it was, in syntax that the parser knows: "fun interface" as an interface,
// classes without what they delegate to, the contexts of a declaration as an annotation.
[[nodiscard]] std::string known_kotlin(std::string_view source);

}  // namespace velmora::host::indexing
