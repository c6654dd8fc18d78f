// Runs the velmora program as its users do.
#pragma once

#include <fcntl.h>
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

}  // namespace velmora::host::test
