// The velmora program without its main function.
#pragma once

namespace velmora::host::cli {

// Runs the program with the arguments of `main` and returns its exit code. Called once a process:
// it sets the signals and the log sink of the process.
int run(int argc, const char* const* argv);

}  // namespace velmora::host::cli
