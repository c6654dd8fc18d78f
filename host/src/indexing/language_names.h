// What the names of files tell of their languages. Who knows the names only need not be linked with
// the grammars.
#pragma once

#include <string_view>

namespace velmora::host::indexing {

// Whether the language named so (as in SOURCE_LANGUAGES) is built in.
[[nodiscard]] bool is_built_in(std::string_view language);

// The name of that language, which lives for ever; "" when it is none that is built in.
[[nodiscard]] std::string_view built_in(std::string_view language);

// The names of all of them with commas, in alphabetical order.
[[nodiscard]] std::string built_in_names();

// The language that the name of the file at `path` tells, by its extension or as a whole
// ("Rakefile"), "" when it is none that is built in. A .h file is "c" here: what it really is
// depends on the files around it.
[[nodiscard]] std::string_view language_of(std::string_view path);

// The language that a program runs: "python" of "python3.12", "" when it is none that is built in.
[[nodiscard]] std::string_view language_of_interpreter(std::string_view program);

}  // namespace velmora::host::indexing
