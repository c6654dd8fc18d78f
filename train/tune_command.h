// velmora-train tune.
#pragma once

namespace CLI {
class App;
}

namespace velmora::train {

// Adds the command; `app` and `threads` outlive the parse.
void add_tune_command(CLI::App& app, const unsigned& threads);

}  // namespace velmora::train
