// What agents want in their configuration to start the server.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace velmora::host::agent {

struct ClientConfig {
  std::string text;   // JSON or TOML, whole lines
  std::string place;  // the file that it goes into
};

// The clients that are known, by the names that client_config takes.
[[nodiscard]] std::vector<std::string_view> known_clients();

// The configuration that starts `program` for the repositories at `roots`. All paths are absolute,
// in UTF-8. Throws std::invalid_argument, which lists those that are known, for another client.
[[nodiscard]] ClientConfig client_config(std::string_view client,
                                         const std::filesystem::path& program,
                                         const std::vector<std::filesystem::path>& roots);

}  // namespace velmora::host::agent
