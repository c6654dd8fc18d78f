// Runs the velmora program as its users do.
#pragma once

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "support/temporary_folder.h"

namespace velmora::host::test {

struct Finished {
  int exit_code = -1;  // -1 when a signal ended it
  std::string output;
  std::string errors;
};

// Runs the program with `arguments` in `folder`, with `input` as its standard input, and waits for
// it.
inline Finished run_velmora(const std::vector<std::string>& arguments, std::string_view input = "",
                            const std::filesystem::path& folder = "/",
                            const std::filesystem::path& program = VELMORA_PROGRAM) {
  const TemporaryFolder streams;
  const std::string paths[] = {streams.write("in", input), streams.write("out", ""),
                               streams.write("err", "")};
  std::vector<char*> argv = {const_cast<char*>(program.c_str())};
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  const pid_t child = ::fork();
  if (child < 0) throw std::runtime_error("cannot fork");
  if (child == 0) {  // only calls that are safe between fork and exec
    for (int i = 0; i < 3; ++i) ::dup2(::open(paths[i].c_str(), i == 0 ? O_RDONLY : O_WRONLY), i);
    if (::chdir(folder.c_str()) == 0) ::execv(argv[0], argv.data());
    ::_exit(127);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  const auto content = [](const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(stream), {});
  };
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, content(paths[1]), content(paths[2])};
}

// The running program, whose standard output and error are read line by line.
class Running {
 public:
  explicit Running(const std::vector<std::string>& arguments) {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    std::vector<char*> argv = {const_cast<char*>(VELMORA_PROGRAM)};
    for (const std::string& one : arguments) argv.push_back(const_cast<char*>(one.c_str()));
    argv.push_back(nullptr);
    child_ = ::fork();
    if (child_ == 0) {
      ::dup2(ends[1], STDOUT_FILENO);
      ::dup2(ends[1], STDERR_FILENO);
      ::execv(argv[0], argv.data());
      ::_exit(127);
    }
    ::close(ends[1]);
    output_ = ends[0];
  }
  Running(const Running&) = delete;
  ~Running() {
    if (child_ > 0) static_cast<void>(end(SIGKILL));
    ::close(output_);
  }

  // Waits for a line that holds `text` and returns it; fails when the program ends before, or says
  // nothing for half a minute.
  std::string line_with(const std::string& text) {
    while (true) {
      for (std::size_t stop = 0; (stop = text_.find('\n')) != std::string::npos;) {
        const std::string line = text_.substr(0, stop);
        text_.erase(0, stop + 1);
        if (line.find(text) != std::string::npos) return line;
      }
      char buffer[4096];
      pollfd ready{output_, POLLIN, 0};
      const ssize_t count = ::poll(&ready, 1, 30'000) > 0 ? ::read(output_, buffer, 4096) : -1;
      if (count <= 0) throw std::runtime_error("no line has: " + text);
      text_.append(buffer, static_cast<std::size_t>(count));
    }
  }

  // Sends a signal and waits for the end; the exit code, or minus the signal that ended it.
  int end(int signal) {
    ::kill(child_, signal);
    int status = 0;
    ::waitpid(child_, &status, 0);
    child_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }

 private:
  pid_t child_ = -1;
  int output_ = -1;
  std::string text_;
};

}  // namespace velmora::host::test
