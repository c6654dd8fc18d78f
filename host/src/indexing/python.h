// Naming what the query for Python finds.
#pragma once

#include <tree_sitter/api.h>

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "indexing/language.h"

namespace velmora::host::indexing {

void describe_python(const Found& found, std::span<const Enclosing> enclosing, const Source& source,
                     std::vector<Declared>& out);

// "a/b/__init__.py" is the module a.b, "a/b.py" too.
[[nodiscard]] std::string python_module(std::string_view path);

// The string that opens a module or a body, without its quotes, or null.
[[nodiscard]] TSNode python_docstring(TSNode block);

}  // namespace velmora::host::indexing
