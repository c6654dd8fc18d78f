// What the definitions of Java and C# have in common: the result stands before the name.
#pragma once

#include <tree_sitter/api.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "indexing/language.h"

namespace velmora::host::indexing {

// What follows the name of a callable, which ends at the byte `from`: "<T>(T item) -> Result where
// T : new()". `result_field` is the field of the result, if it has one.
[[nodiscard]] std::string callable_signature(TSNode node, std::uint32_t from,
                                             std::string_view result_field, const Source& source);

// Adds one for each declarator: "final int A = 1, B = 2" declares two.
void describe_constants(TSNode declaration, const Source& source, std::vector<Declared>& out);

// Whether a declaration has a modifier. They are children of their own, or stand together in one.
[[nodiscard]] bool has_modifier(TSNode node, std::string_view word, const Source& source);

}  // namespace velmora::host::indexing
