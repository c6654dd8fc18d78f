// Scripts that complete the command line in shells: commands, options, the values that an option
// lists, files and folders. They run nothing of velmora, and need nothing but the shell.
//
// All three go the same way. They walk the words before the cursor: options and their values are
// passed over, a command leads to its place ("/search/semantic"), and any other word or option
// begins a question where no command was named. Then they branch on the place.
#pragma once

#include <string>

#include "cli/command_facts.h"

namespace velmora::host::cli {

// Each takes the facts of the program itself.
[[nodiscard]] std::string bash_completion(const CommandFacts& program);
[[nodiscard]] std::string zsh_completion(const CommandFacts& program);
[[nodiscard]] std::string fish_completion(const CommandFacts& program);

}  // namespace velmora::host::cli
