// Which symbols stand in which: an index keeps their lines only.
#pragma once

#include <vector>

#include "velmora/host/index/symbol.h"

namespace velmora::host::browse {

// Whether the lines of `inner` are among those of `outer`, as something in it: where both have the
// same lines, the names decide. REQUIRES: both are of one file.
[[nodiscard]] bool encloses(const index::Symbol& outer, const index::Symbol& inner);

// By path and first line, one that encloses another before it.
void sort_outer_first(std::vector<index::Symbol>& symbols);

}  // namespace velmora::host::browse
