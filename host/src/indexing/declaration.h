// What most languages have in common: a declaration is a name, a header behind it, and a body.
#pragma once

#include <tree_sitter/api.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "indexing/language.h"

namespace velmora::host::indexing {

// "int a, b, c" declares three; nobody writes more than these in one declaration by hand. What they
// share, a type or a comment, counts once for each.
inline constexpr std::size_t MOST_DECLARATORS = 64;

// A constant's value that takes more room than this, in bytes, is content, not signature.
inline constexpr std::uint32_t LONGEST_VALUE = 120;

// What `definition` says on one line from the byte `from` on, up to its body. It begins with a
// space where it has to stand apart from what comes before.
[[nodiscard]] std::string header(TSNode definition, std::uint32_t from, const Source& source);

// The same of a constant: without its value when all is longer than a value may be.
[[nodiscard]] std::string constant_header(TSNode definition, std::uint32_t from,
                                          const Source& source);

// A symbol of that kind whose name and header stand as the definition writes them.
[[nodiscard]] Declared declared(std::string kind, const Found& found, const Source& source);

// Whether `word` is among what stands in `definition` before the byte `end`.
[[nodiscard]] bool has_word_before(TSNode definition, std::uint32_t end, std::string_view word,
                                   const Source& source);

// Whether a class, or what else may have methods, encloses a definition.
[[nodiscard]] bool in_type(std::span<const Enclosing> enclosing);

// "method" in a class, "function" elsewhere.
[[nodiscard]] std::string function_kind(std::span<const Enclosing> enclosing);

}  // namespace velmora::host::indexing
