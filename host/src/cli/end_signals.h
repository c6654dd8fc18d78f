// The user's wish that the program ends: SIGINT, as by Ctrl-C, or SIGTERM.
//
// Wherever nothing else is said, it ends the program at once, with the exit code that shells give
// to the signal. Nothing is lost by that: what is written to an index is there whole or not at all.
#pragma once

#include <atomic>
#include <csignal>

#include "velmora/host/cli/commands.h"

namespace velmora::host::cli {

// The user wants the program to end.
struct Interrupted {
  int signal = SIGINT;

  [[nodiscard]] ExitCode exit_code() const {
    return signal == SIGTERM ? ExitCode::terminated : ExitCode::interrupted;
  }
};

// From now on the signals end the program, and the progress line does not stay behind. One that is
// ignored, as by a shell for what runs in the background, stays so.
void end_at_signals();

// While one lives, the signals do not end the program by themselves, and the descriptor becomes
// readable when one comes. To be made before there is any other thread.
class EndSignals {
 public:
  EndSignals();
  EndSignals(const EndSignals&) = delete;
  EndSignals& operator=(const EndSignals&) = delete;
  ~EndSignals();

  [[nodiscard]] int descriptor() const { return descriptor_; }

  // Throws Interrupted when one has come, and ever after. Any thread may ask.
  void check() const;

 private:
  sigset_t before_{};
  int descriptor_ = -1;
  mutable std::atomic<int> came_ = 0;
};

}  // namespace velmora::host::cli
