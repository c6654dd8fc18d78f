// Naming what the query for Go finds.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "indexing/language.h"

namespace velmora::host::indexing {

void describe_go(const Found& found, std::span<const Enclosing> enclosing, const Source& source,
                 std::vector<Declared>& out);

// The text of a comment without the lines that speak to tools: "go:generate", "nolint".
[[nodiscard]] std::string without_directives(const std::string& comment);

}  // namespace velmora::host::indexing
