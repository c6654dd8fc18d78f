// The commands of velmora-train that read whole trees.
#pragma once

namespace CLI {
class App;
}

namespace velmora::train {

// Adds judge, decide and report to the program. `threads` is read when a command runs; it and the
// app outlive the parse.
void add_tree_commands(CLI::App& app, const unsigned& threads);

}  // namespace velmora::train
