// Runs the velmora program in a terminal.
#pragma once

#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

namespace velmora::host::test {

// What the terminal of `rows` and `columns` shows of it, line ends as the program wrote them.
// `environment` has NAME=VALUE, and is all that the program gets beside the search path.
inline std::string run_on_terminal(std::vector<std::string> arguments,
                                   std::vector<std::string> environment, unsigned short rows,
                                   unsigned short columns, const std::filesystem::path& folder) {
  arguments.insert(arguments.begin(), VELMORA_PROGRAM);
  environment.emplace_back("PATH=/usr/bin:/bin");
  const auto pointers = [](std::vector<std::string>& texts) {
    std::vector<char*> list;
    for (std::string& text : texts) list.push_back(text.data());
    list.push_back(nullptr);
    return list;
  };
  const std::vector<char*> argv = pointers(arguments), envp = pointers(environment);
  const winsize size{.ws_row = rows, .ws_col = columns, .ws_xpixel = 0, .ws_ypixel = 0};
  int screen = -1;
  const pid_t child = ::forkpty(&screen, nullptr, nullptr, &size);
  if (child < 0) throw std::runtime_error("no terminal");
  if (child == 0) {  // only calls that are safe between fork and exec
    if (::chdir(folder.c_str()) == 0) ::execve(argv[0], argv.data(), envp.data());
    ::_exit(127);
  }
  std::string shown;
  char buffer[4096];
  for (ssize_t count = 0; (count = ::read(screen, buffer, sizeof(buffer))) > 0;) {
    shown.append(buffer, static_cast<std::size_t>(count));
  }
  ::close(screen);
  ::waitpid(child, nullptr, 0);
  std::erase(shown, '\r');
  return shown;
}

}  // namespace velmora::host::test
