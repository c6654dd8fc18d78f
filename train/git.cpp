#include "git.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <stdexcept>
#include <system_error>

extern char** environ;

namespace velmora::train {
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

}  // namespace

void run_git(const std::filesystem::path& repository, const std::vector<std::string>& arguments,
             const std::function<void(std::string_view)>& take) {
  std::vector<std::string> words = {"git", "-C", repository.string()};
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<char*> argv;
  for (std::string& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);

  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
    throw std::system_error(errno, std::generic_category(), "cannot start git");
  }
  End writing{ends[1]};
  Child child{0};
  End reading{ends[0]};  // closed before the child is waited for: a git that goes on writing ends
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, writing.descriptor, STDOUT_FILENO);
  const int failed = ::posix_spawnp(&child.process, "git", &actions, nullptr, argv.data(), environ);
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
    throw std::runtime_error("git " + arguments.front() + " failed in " + repository.string());
  }
}

}  // namespace velmora::train
