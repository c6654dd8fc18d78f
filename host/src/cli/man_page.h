// Man pages.
#pragma once

#include <string>
#include <string_view>

#include "cli/command_facts.h"

namespace velmora::host::cli {

// The page of a command of `program`, or of the program itself, which has the topics too, in the
// language of the man macros. `date` is YYYY-MM-DD, `version` "velmora 1.2.3".
[[nodiscard]] std::string man_page(const CommandFacts& command, const CommandFacts& program,
                                   std::string_view date, std::string_view version);

}  // namespace velmora::host::cli
