// Source lines as people see them.
#pragma once

#include <cstdint>
#include <string>

#include "browse/source.h"
#include "cli/terminal.h"

namespace velmora::host::cli {

// The lines with their numbers, each behind `indent`, the one with the number `definition` marked
// by its colour; after a line that says so when the file changed since it was indexed. Lines are
// as long as they are, and may be shown on a terminal.
[[nodiscard]] std::string excerpt(const browse::SourceLines& source, std::int64_t definition,
                                  const std::string& indent, const Look& look);

}  // namespace velmora::host::cli
