// JavaScript and TypeScript.
#pragma once

#include <optional>
#include <span>
#include <vector>

#include "indexing/language.h"

namespace velmora::host::indexing {

void describe_script(const Found& found, std::span<const Enclosing> enclosing, const Source& source,
                     std::vector<Declared>& out);

// The first comment of a file with the tag @module, @fileoverview, @file or @packageDocumentation,
// without the tag, and without what it says of the licence.
[[nodiscard]] std::optional<ModuleDocstring> script_module_docstring(TSNode root,
                                                                     const Source& source,
                                                                     const Comments& comments);

}  // namespace velmora::host::indexing
