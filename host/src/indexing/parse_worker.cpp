#include "indexing/parse_worker.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <memory>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <utility>

#include "files/shipped_file.h"
#include "indexing/extraction_version.h"

namespace velmora::host::indexing {
namespace {

namespace fs = std::filesystem;

constexpr const char* NAME = "velmora-parse-worker";

constexpr const char* TOO_LONG = "parsing it takes too long";
constexpr const char* TOO_MUCH_MEMORY = "parsing it takes too much memory";
constexpr const char* TOO_MANY_SYMBOLS = "its symbols take too much room";
constexpr const char* CRASH = "it brings the parser down";
constexpr const char* KILLED = "its parser was killed";

std::string reason_of(int status) {
  if (WIFSIGNALED(status)) {
    // The timer's signal; nobody else sends it.
    if (WTERMSIG(status) == SIGPROF) return TOO_LONG;
    if (WTERMSIG(status) == SIGKILL) return KILLED;
  } else if (WIFEXITED(status)) {
    if (WEXITSTATUS(status) == static_cast<int>(ParseExit::memory)) return TOO_MUCH_MEMORY;
    if (WEXITSTATUS(status) == static_cast<int>(ParseExit::symbols)) return TOO_MANY_SYMBOLS;
  }
  return CRASH;
}

// What the process gets of the environment: what finds its libraries and what sets sanitizers up.
// Keys for servers are none of its business.
std::vector<char*> environment() {
  std::vector<char*> kept;
  for (char** variable = environ; variable != nullptr && *variable != nullptr; ++variable) {
    const std::string_view text = *variable;
    const std::string_view name = text.substr(0, text.find('='));
    if (name == "LD_LIBRARY_PATH" || name.ends_with("SAN_OPTIONS")) kept.push_back(*variable);
  }
  kept.push_back(nullptr);
  return kept;
}

struct Actions {
  Actions() { posix_spawn_file_actions_init(&value); }
  ~Actions() { posix_spawn_file_actions_destroy(&value); }
  Actions(const Actions&) = delete;
  posix_spawn_file_actions_t value{};
};

struct Attributes {
  Attributes() { posix_spawnattr_init(&value); }
  ~Attributes() { posix_spawnattr_destroy(&value); }
  Attributes(const Attributes&) = delete;
  posix_spawnattr_t value{};
};

// Starts the program with `channel` as its standard input, and nothing else. Returns an error
// number.
int spawn(const fs::path& program, int channel, pid_t& process) {
  Actions actions;
  posix_spawn_file_actions_adddup2(&actions.value, channel, STDIN_FILENO);
  posix_spawn_file_actions_addopen(&actions.value, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
#ifndef VELMORA_SANITIZED
  // Elsewhere it keeps ours: a sanitizer's report has to be seen.
  posix_spawn_file_actions_addopen(&actions.value, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
#endif
  posix_spawn_file_actions_addclosefrom_np(&actions.value, STDERR_FILENO + 1);

  Attributes attributes;
  sigset_t signals;
  sigfillset(&signals);
  posix_spawnattr_setsigdefault(&attributes.value, &signals);
  // What the user ends this program with would count against the file that is being parsed.
  sigemptyset(&signals);
  for (const int signal : {SIGINT, SIGQUIT, SIGTERM, SIGHUP}) sigaddset(&signals, signal);
  posix_spawnattr_setsigmask(&attributes.value, &signals);
  posix_spawnattr_setflags(&attributes.value, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);

  std::string name = NAME;
  std::array<char*, 2> arguments = {name.data(), nullptr};
  return posix_spawn(&process, program.c_str(), &actions.value, &attributes.value, arguments.data(),
                     environment().data());
}

}  // namespace

bool is_parse_verdict(std::string_view skipped) {
  return std::ranges::any_of(std::array{TOO_LONG, TOO_MUCH_MEMORY, TOO_MANY_SYMBOLS, CRASH},
                             [&](const char* reason) { return skipped == reason; });
}

ParseWorker::ParseWorker(fs::path program, const ParseLimits& limits)
    : program_(program.empty() ? files::shipped_file(NAME, "libexec/velmora") : std::move(program)),
      limits_(limits) {}

ParseWorker::~ParseWorker() {
  if (process_ >= 0) static_cast<void>(end());
}

Parsed ParseWorker::parse(const ParseRequest& request) {
  if (process_ < 0) start();
  if (std::optional<ParseAnswer> answer = ask(request)) {
    return {.language = std::move(answer->language), .symbols = std::move(answer->symbols)};
  }
  // One that talks nonsense is ended, which says nothing of how it would have ended.
  const bool gone = is_gone();
  const int status = end();
  std::string reason = gone ? reason_of(status) : CRASH;
  const bool passing = reason == KILLED;
  return {.skipped = std::move(reason), .passing = passing};
}

void ParseWorker::start() {
  int ends[2];
  if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
    throw std::system_error(errno, std::generic_category(), "no socket for a parser");
  }
  const int error = spawn(program_, ends[1], process_);
  ::close(ends[1]);
  channel_ = ends[0];
  if (error != 0) {
    ::close(channel_);
    process_ = channel_ = -1;
    throw std::system_error(error, std::generic_category(), program_.string() + " cannot be run");
  }
  // It says of which build it is: another one would find other symbols.
  std::string version(VERSION.size(), '\0');
  if (!receive(version.data(), version.size()) || version != VERSION) {
    static_cast<void>(end());
    throw std::runtime_error(program_.string() + " is broken, or of another build");
  }
}

int ParseWorker::end() {
  ::close(channel_);
  // One that ended by itself keeps its own status.
  ::kill(process_, SIGKILL);
  int status = 0;
  pid_t waited = 0;
  do waited = ::waitpid(process_, &status, 0);
  while (waited < 0 && errno == EINTR);
  process_ = channel_ = -1;
  return status;
}

bool ParseWorker::send(std::string_view bytes) const {
  while (!bytes.empty()) {
    pollfd channel{.fd = channel_, .events = POLLIN | POLLOUT, .revents = 0};
    if (::poll(&channel, 1, -1) < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    // It speaks, and has not been asked yet.
    if ((channel.revents & POLLIN) != 0) return false;
    const ssize_t sent = ::send(channel_, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (sent < 0 && errno != EINTR && errno != EAGAIN) return false;
    if (sent > 0) bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
  return true;
}

bool ParseWorker::is_gone() const {
  char byte = 0;
  const ssize_t received = ::recv(channel_, &byte, 1, MSG_PEEK | MSG_DONTWAIT);
  return received == 0 || (received < 0 && errno != EAGAIN);
}

bool ParseWorker::receive(char* bytes, std::size_t count) const {
  while (count > 0) {
    const ssize_t received = ::recv(channel_, bytes, count, 0);
    if (received == 0 || (received < 0 && errno != EINTR)) return false;
    if (received < 0) continue;
    bytes += received;
    count -= static_cast<std::size_t>(received);
  }
  return true;
}

std::optional<ParseAnswer> ParseWorker::ask(const ParseRequest& request) const {
  const ParseBounds bounds{limits_.time_for(request.source.size()), limits_.memory};
  MessageLength length = 0;
  if (!send(to_message(request, bounds)) ||
      !receive(reinterpret_cast<char*>(&length), sizeof length) ||
      length > longest_answer(request)) {
    return std::nullopt;
  }
  std::string message(length, '\0');
  if (!receive(message.data(), message.size())) return std::nullopt;
  return read_answer(message, request);
}

}  // namespace velmora::host::indexing
