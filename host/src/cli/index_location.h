// Which index a command is about.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace CLI {
class App;
}

namespace velmora::host::cli {

// --index and --repo.
struct IndexLocation {
  std::optional<std::string> index;
  std::optional<std::string> repository;

  // Adds the options to a command; they outlive the parse.
  void add_to(CLI::App& command);

  // The file that the user means, absolute: the named one, or the nearest that covers their folder,
  // and where there is none, where the first question would make it. Throws std::runtime_error when
  // that folder is none.
  [[nodiscard]] std::filesystem::path file() const;
};

}  // namespace velmora::host::cli
