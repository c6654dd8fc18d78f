// Naming what the queries for C and C++ find.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "indexing/language.h"

namespace velmora::host::indexing {

void describe_c_family(const Found& found, std::span<const Enclosing> enclosing,
                       const Source& source, std::vector<Declared>& out);

// The source with macros that stand where a parser expects none replaced by spaces: alone on a
// line, before a declaration, or between "class" and the class's name. A parser does not see what
// they expand to, and what it makes of them would spoil the definitions around them.
[[nodiscard]] std::string blank_macros(std::string_view source);

}  // namespace velmora::host::indexing
