// Runs the agent's server as a client does: over pipes.
#pragma once

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "support/files.h"
#include "support/temporary_folder.h"

namespace velmora::host::test {

class AgentProcess {
 public:
  using Json = nlohmann::json;

  // `velmora mcp` with `arguments` in `folder`.
  explicit AgentProcess(std::vector<std::string> arguments,
                        const std::filesystem::path& folder = "/") {
    arguments.insert(arguments.begin(), {VELMORA_PROGRAM, "mcp"});
    std::vector<char*> argv;
    for (std::string& one : arguments) argv.push_back(one.data());
    argv.push_back(nullptr);
    int in[2], out[2];
    if (::pipe2(in, O_CLOEXEC) != 0 || ::pipe2(out, O_CLOEXEC) != 0) {
      throw std::runtime_error("no pipe");
    }
    child_ = ::fork();
    if (child_ == 0) {  // only calls that are safe between fork and exec
      ::dup2(in[0], STDIN_FILENO);
      ::dup2(out[1], STDOUT_FILENO);
      ::dup2(::open(log_.c_str(), O_WRONLY), STDERR_FILENO);
      if (::chdir(folder.c_str()) == 0) ::execv(argv[0], argv.data());
      ::_exit(127);
    }
    ::close(in[0]);
    ::close(out[1]);
    input_ = in[1];
    output_ = out[0];
  }
  AgentProcess(const AgentProcess&) = delete;
  ~AgentProcess() {
    close_input();
    ::close(output_);
    if (child_ > 0) static_cast<void>(end(SIGKILL));
  }

  void send_bytes(std::string_view bytes) const {
    while (!bytes.empty()) {
      const ssize_t count = ::write(input_, bytes.data(), bytes.size());
      if (count <= 0) throw std::runtime_error("the server does not read");
      bytes.remove_prefix(static_cast<std::size_t>(count));
    }
  }

  // A request of the modern era, or another message with these fields.
  void send(const Json& message) const { send_bytes(message.dump() + "\n"); }
  void request(const Json& id, const std::string& method, Json params = Json::object()) const {
    params["_meta"]["io.modelcontextprotocol/protocolVersion"] = "2026-07-28";
    params["_meta"]["io.modelcontextprotocol/clientCapabilities"] = Json::object();
    send(Json{{"jsonrpc", "2.0"}, {"id", id}, {"method", method}, {"params", std::move(params)}});
  }

  // The next message, read whole; null at the end. Throws when nothing comes for half a minute, or
  // what comes is no JSON on a line.
  Json next() {
    while (true) {
      const std::size_t stop = text_.find('\n');
      if (stop != std::string::npos) {
        Json message = Json::parse(text_.substr(0, stop));
        text_.erase(0, stop + 1);
        return message;
      }
      char buffer[65536];
      pollfd ready{output_, POLLIN, 0};
      const ssize_t count =
          ::poll(&ready, 1, 30'000) > 0 ? ::read(output_, buffer, sizeof buffer) : -1;
      if (count < 0) throw std::runtime_error("the server says nothing");
      if (count == 0 && !text_.empty()) throw std::runtime_error("half a message: " + text_);
      if (count == 0) return nullptr;
      text_.append(buffer, static_cast<std::size_t>(count));
    }
  }

  // Calls a tool and returns the result; fails when something else is answered.
  Json call(const std::string& tool, const Json& arguments) {
    request(++calls_, "tools/call", {{"name", tool}, {"arguments", arguments}});
    const Json answer = next();
    if (answer.at("id") != calls_) throw std::runtime_error("another answer: " + answer.dump());
    return answer.at("result");
  }
  std::string text(const std::string& tool, const Json& arguments) {
    return call(tool, arguments).at("content").at(0).at("text");
  }

  void close_input() {
    if (input_ >= 0) ::close(input_);
    input_ = -1;
  }

  // Waits for the end, after a signal unless that is 0; the exit code, or minus the signal that
  // ended it.
  int end(int signal = 0) {
    if (signal != 0) ::kill(child_, signal);
    int status = 0;
    ::waitpid(child_, &status, 0);
    child_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }

  [[nodiscard]] pid_t process() const { return child_; }
  [[nodiscard]] std::string log() const { return content_of(log_); }

 private:
  const TemporaryFolder folder_;
  const std::string log_ = folder_.write("log", "");
  pid_t child_ = -1;
  int input_ = -1;
  int output_ = -1;
  int calls_ = 0;
  std::string text_;
};

}  // namespace velmora::host::test
