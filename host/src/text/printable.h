// Texts of strangers as they may be shown.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace velmora::host::text {

// `text` as it may be shown on a terminal: control characters other than line breaks and tabs, and
// bytes that are not UTF-8, become U+FFFD.
[[nodiscard]] std::string printable(std::string_view text);

// The same for what is one line among others, as a path is: line breaks and tabs become U+FFFD too.
[[nodiscard]] std::string printable_line(std::string_view text);

// "1 file", "2 files".
[[nodiscard]] std::string counted(std::size_t count, std::string_view thing);

}  // namespace velmora::host::text
