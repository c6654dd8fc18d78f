#include "cli/pager.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <string>
#include <utility>

#include "cli/output.h"

namespace velmora::host::cli {
namespace {

// What a shell returns for a command that it did not find, or that cannot be run.
constexpr int NOT_RUN = 126, NOT_FOUND = 127;

// Ctrl-C is the pager's while it runs; a program that ended then would leave it without its
// terminal.
class InterruptsIgnored {
 public:
  InterruptsIgnored() : before_{std::signal(SIGINT, SIG_IGN), std::signal(SIGQUIT, SIG_IGN)} {}
  InterruptsIgnored(const InterruptsIgnored&) = delete;
  InterruptsIgnored& operator=(const InterruptsIgnored&) = delete;
  ~InterruptsIgnored() {
    std::signal(SIGINT, before_[0]);
    std::signal(SIGQUIT, before_[1]);
  }

 private:
  const std::array<void (*)(int), 2> before_;
};

// Starts `command` in a shell with `input` as its standard input and every signal as it is by
// default, which a started program would otherwise find as this one has it. Returns 0 when it
// cannot be started.
pid_t start(const char* command, int input) {
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  sigset_t signals;
  sigemptyset(&signals);
  posix_spawnattr_setsigmask(&attributes, &signals);
  for (const int signal : {SIGINT, SIGQUIT, SIGPIPE, SIGXFSZ}) sigaddset(&signals, signal);
  posix_spawnattr_setsigdefault(&attributes, &signals);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  std::string shell = "sh", option = "-c", line = command;
  const std::array<char*, 4> arguments = {shell.data(), option.data(), line.data(), nullptr};
  pid_t child = 0;
  const int error =
      ::posix_spawn(&child, "/bin/sh", &actions, &attributes, arguments.data(), environ);
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&actions);
  return error == 0 ? child : 0;
}

// Whether `command` ran. It may read less than all of the text.
bool page(const char* command, std::string_view text) {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) return false;
  const InterruptsIgnored ignored;
  // The common pager shows colours as such only when it is told.
  ::setenv("LESS", "FRX", 0);
  const pid_t child = start(command, ends[0]);
  ::close(ends[0]);
  while (child != 0 && !text.empty()) {
    const ssize_t count = ::write(ends[1], text.data(), text.size());
    if (count < 0 && errno != EINTR) break;
    text.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
  }
  ::close(ends[1]);
  int status = 0;
  while (child != 0 && ::waitpid(child, &status, 0) < 0 && errno == EINTR) continue;
  if (child == 0 || !WIFEXITED(status)) return child != 0;
  return WEXITSTATUS(status) != NOT_RUN && WEXITSTATUS(status) != NOT_FOUND;
}

}  // namespace

void show_paged(std::string_view text, const Terminal& terminal) {
  const char* const pager = std::getenv("PAGER");
  const auto lines = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
  const bool paged = pager != nullptr && *pager != '\0' && terminal.is_terminal &&
                     terminal.takes_escapes && lines >= terminal.rows;
  if (!paged || !page(pager, text)) write_output(text);
}

}  // namespace velmora::host::cli
