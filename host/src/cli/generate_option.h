// Man pages and completions, for who packages the program: velmora --generate FORM.
#pragma once

namespace CLI {
class App;
}

namespace velmora::host::cli {

// Adds --generate and --into to the program. What they make is of all commands that `app` has when
// it parses. `app` outlives the parse.
void add_generate_option(CLI::App& app);

}  // namespace velmora::host::cli
