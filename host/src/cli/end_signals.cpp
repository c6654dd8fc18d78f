#include "cli/end_signals.h"

#include <poll.h>
#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <stdexcept>

namespace velmora::host::cli {

EndSignals::EndSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  // Threads inherit it.
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  descriptor_ = ::signalfd(-1, &signals, SFD_CLOEXEC);
  if (descriptor_ < 0) throw std::runtime_error("Signals cannot be waited for");
}

EndSignals::~EndSignals() { ::close(descriptor_); }

void EndSignals::check() const {
  pollfd ready{descriptor_, POLLIN, 0};
  if (::poll(&ready, 1, 0) > 0) throw Interrupted();
}

}  // namespace velmora::host::cli
