// velmora-train tune.
#pragma once

namespace CLI {
class App;
}

namespace velmora::train {

// Adds the command, and returns it. `app` and `threads` outlive the parse.
const CLI::App* add_tune_command(CLI::App& app, const unsigned& threads);

}  // namespace velmora::train
