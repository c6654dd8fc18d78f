// The user's pager.
#pragma once

#include <string_view>

#include "cli/terminal.h"

namespace velmora::host::cli {

// Writes `text` to standard output as write_output does; through the program that PAGER names when
// that is set, standard output is a terminal that moves its cursor, and the text has more lines
// than it. Returns when the user has left the pager. A pager that cannot be run shows nothing, and
// the text is written without it.
void show_paged(std::string_view text, const Terminal& terminal);

}  // namespace velmora::host::cli
