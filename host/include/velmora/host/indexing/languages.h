// The languages that are built in.
#pragma once

#include <string_view>
#include <vector>

#include "velmora/export.h"

namespace velmora::host::indexing {

// Names what this build makes of a source. It follows the queries, the grammars, the languages that
// are built in, the code that reads them and the limits of that, so that an index which another
// build made is made anew.
VELMORA_API extern const std::string_view EXTRACTION_VERSION;

// The languages as people write them ("C++"), in alphabetical order.
[[nodiscard]] VELMORA_API std::vector<std::string_view> language_titles();

}  // namespace velmora::host::indexing
