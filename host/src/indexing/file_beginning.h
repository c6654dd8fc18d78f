// What the first bytes of a file tell of its language where its name does not.
#pragma once

#include <cstddef>
#include <string_view>

namespace velmora::host::indexing {

// So many of them: a line that names an interpreter is shorter.
inline constexpr std::size_t BEGINNING_SIZE = 512;

// Whether the name of the file at `path` leaves it to the content: a script often has no extension,
// ".inc" is what several languages include, and ".m" is Objective-C or a language of mathematics.
[[nodiscard]] bool is_told_by_beginning(std::string_view path);

// The language that the beginning of such a file tells, "" when it is none that is built in. C++
// that is included is "c", as a .h file is: what it really is depends on the files around it.
[[nodiscard]] std::string_view language_of_beginning(std::string_view path,
                                                     std::string_view beginning);

}  // namespace velmora::host::indexing
