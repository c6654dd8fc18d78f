// A question without its command: `velmora where are retries delayed`.
#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace velmora::host::cli {

// The arguments of the program, with "explore" before the first that is neither an option of
// `app` itself nor one of its commands: what stands there then begins a question, or the options
// of one. A word that is almost a command and stands alone, but for options and files that are
// there, is a mistyped one: throws CLI::ParseError, which names the command and says how to ask.
[[nodiscard]] std::vector<std::string> with_command(const CLI::App& app,
                                                    std::vector<std::string> arguments);

}  // namespace velmora::host::cli
