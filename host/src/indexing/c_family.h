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

}  // namespace velmora::host::indexing
