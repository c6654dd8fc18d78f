// A process that parses for this one. Grammars are other people's code that reads a stranger's
// files: what a file makes of them ends with the process, and costs that file alone.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "indexing/parse_message.h"
#include "velmora/host/index/symbol.h"
#include "velmora/host/indexing/parse_limits.h"

namespace velmora::host::indexing {

// The symbols of a file, or why it has none.
struct Parsed {
  std::string language = {};
  std::vector<index::Symbol> symbols = {};
  // In a few words that stand after a path; empty: the symbols are here.
  std::string skipped = {};
  // What was wrong says nothing of the file: it is to be read again.
  bool passing = false;
};

// Whether a file was left out for what parsing it took or did.
[[nodiscard]] bool is_parse_verdict(std::string_view skipped);

// One thread uses a worker at a time, and the process ends with the thread that started it: with
// the one that parses first, or again after another has ended.
class ParseWorker {
 public:
  // The process is started when first needed. `program` may be empty: "velmora-parse-worker", which
  // came with this one, beside it or in ../libexec/velmora.
  ParseWorker(std::filesystem::path program, const ParseLimits& limits);
  // Ends the process, whatever it is at.
  ~ParseWorker();
  ParseWorker(const ParseWorker&) = delete;

  // Parses one file, in a new process when the last one ended. Throws std::runtime_error when the
  // process cannot be started, or is not of this build.
  [[nodiscard]] Parsed parse(const ParseRequest& request);

 private:
  void start();
  [[nodiscard]] int end();  // the status that waitpid gives
  [[nodiscard]] bool is_gone() const;
  [[nodiscard]] bool send(std::string_view bytes) const;
  [[nodiscard]] bool receive(char* bytes, std::size_t count) const;
  [[nodiscard]] std::optional<ParseAnswer> ask(const ParseRequest& request) const;

  const std::filesystem::path program_;
  const ParseLimits limits_;
  pid_t process_ = -1;
  int channel_ = -1;
};

}  // namespace velmora::host::indexing
