#include "cli/end_signals.h"

#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <array>
#include <stdexcept>

#include "cli/progress_line.h"

namespace velmora::host::cli {
namespace {

constexpr std::array<int, 2> SIGNALS = {SIGINT, SIGTERM};

extern "C" void end_program(int signal) {
  hide_progress_line();
  ::_exit(static_cast<int>(Interrupted{signal}.exit_code()));
}

}  // namespace

void end_at_signals() {
  for (const int signal : SIGNALS) {
    struct sigaction action {};
    ::sigaction(signal, nullptr, &action);
    if (action.sa_handler == SIG_IGN) continue;
    action.sa_handler = end_program;
    ::sigaction(signal, &action, nullptr);
  }
}

EndSignals::EndSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int signal : SIGNALS) sigaddset(&signals, signal);
  // Threads inherit it.
  pthread_sigmask(SIG_BLOCK, &signals, &before_);
  descriptor_ = ::signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
  if (descriptor_ < 0) throw std::runtime_error("Signals cannot be waited for");
}

EndSignals::~EndSignals() {
  ::close(descriptor_);
  pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}

void EndSignals::check() const {
  signalfd_siginfo signal{};
  if (::read(descriptor_, &signal, sizeof signal) == sizeof signal) {
    came_ = static_cast<int>(signal.ssi_signo);
  }
  if (came_ != 0) throw Interrupted{came_};
}

}  // namespace velmora::host::cli
