// JavaScript and TypeScript.
#pragma once

#include <span>
#include <vector>

#include "indexing/language.h"

namespace velmora::host::indexing {

void describe_script(const Found& found, std::span<const Enclosing> enclosing, const Source& source,
                     std::vector<Declared>& out);

}  // namespace velmora::host::indexing
