#include "indexing/git_program.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <stdexcept>
#include <system_error>

extern char** environ;

namespace velmora::host::indexing {
namespace {

struct End {
  int descriptor;
  ~End() { close(); }
  void close() {
    if (descriptor >= 0) ::close(descriptor);
    descriptor = -1;
  }
};

// Waits for its process when it is left.
struct Child {
  pid_t process;
  ~Child() { static_cast<void>(wait()); }
  int wait() {
    int status = 0;
    while (process > 0 && ::waitpid(process, &status, 0) < 0 && errno == EINTR) {
    }
    process = 0;
    return status;
  }
};

std::vector<std::string> command_line(const std::filesystem::path& folder,
                                      const std::vector<std::string>& arguments) {
  std::vector<std::string> words = {"git", "--no-pager", "-C",
                                    std::filesystem::absolute(folder).string()};
  for (const char* setting :
       {"core.fsmonitor=false", "core.hooksPath=/dev/null", "core.attributesFile=/dev/null",
        "protocol.allow=never", "credential.helper=", "log.showSignature=false",
        "core.alternateRefsCommand=true", "mailmap.file=/dev/null", "diff.orderFile=/dev/null",
        "core.quotePath=false"}) {
    words.insert(words.end(), {"-c", setting});
  }
  words.insert(words.end(), arguments.begin(), arguments.end());
  return words;
}

std::vector<std::string> environment() {
  std::vector<std::string> variables = {"GIT_ALLOW_PROTOCOL=", "GIT_NO_LAZY_FETCH=1",
                                        "GIT_OPTIONAL_LOCKS=0", "GIT_TERMINAL_PROMPT=0",
                                        "GIT_ATTR_NOSYSTEM=1"};
  for (char** variable = environ; *variable != nullptr; ++variable) {
    if (!std::string_view(*variable).starts_with("GIT_")) variables.emplace_back(*variable);
  }
  return variables;
}

std::vector<char*> pointers(std::vector<std::string>& words) {
  std::vector<char*> all;
  for (std::string& word : words) all.push_back(word.data());
  all.push_back(nullptr);
  return all;
}

// The beginning of what a program wrote to a file, as the end of a sentence.
std::string complaint(int file) {
  std::array<char, 4096> buffer;
  const ssize_t count = ::pread(file, buffer.data(), buffer.size(), 0);
  std::string text(buffer.data(), static_cast<std::size_t>(count < 0 ? 0 : count));
  while (text.ends_with('\n')) text.pop_back();
  return text.empty() ? text : ": " + text;
}

}  // namespace

void run_git(const std::filesystem::path& folder, const std::vector<std::string>& arguments,
             const std::function<void(std::string_view)>& take) {
  std::vector<std::string> words = command_line(folder, arguments);
  std::vector<std::string> variables = environment();
  End errors{::memfd_create("git", MFD_CLOEXEC)};
  std::array<int, 2> ends{-1, -1};
  if (errors.descriptor < 0 || ::pipe2(ends.data(), O_CLOEXEC) != 0) {
    throw std::system_error(errno, std::generic_category(), "cannot start git");
  }
  End writing{ends[1]};
  Child child{0};
  End reading{ends[0]};  // closed before the child is waited for: a git that goes on writing ends
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  // The search path may name the working folder, which may be the repository itself.
  posix_spawn_file_actions_addchdir_np(&actions, "/");
  // In this order none takes the place of one that is still to come, should ours be closed.
  posix_spawn_file_actions_adddup2(&actions, errors.descriptor, STDERR_FILENO);
  posix_spawn_file_actions_adddup2(&actions, writing.descriptor, STDOUT_FILENO);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  const int failed = ::posix_spawnp(&child.process, "git", &actions, nullptr,
                                    pointers(words).data(), pointers(variables).data());
  posix_spawn_file_actions_destroy(&actions);
  writing.close();
  if (failed != 0) {
    child.process = 0;
    throw std::system_error(failed, std::generic_category(), "cannot run git");
  }
  std::array<char, 65536> buffer;
  while (true) {
    const ssize_t count = ::read(reading.descriptor, buffer.data(), buffer.size());
    if (count > 0) take(std::string_view(buffer.data(), static_cast<std::size_t>(count)));
    if (count == 0 || (count < 0 && errno != EINTR)) break;
  }
  reading.close();
  const int status = child.wait();
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
    throw std::runtime_error("git " + arguments.front() + " failed in " + folder.string() +
                             complaint(errors.descriptor));
  }
}

}  // namespace velmora::host::indexing
