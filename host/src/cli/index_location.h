// Where the index of a repository is.
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "velmora/host/index/index.h"

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

  // The file that the user means; without a word of theirs the one nearest to the current folder.
  [[nodiscard]] std::filesystem::path file() const;
};

// Opens the index at the location for answers from it. That one which the user did not name comes
// from elsewhere is told.
[[nodiscard]] std::shared_ptr<index::Index> open_index(const IndexLocation& location);

// The index of the repository at `folder`: folder/.velmora/index.db.
[[nodiscard]] std::filesystem::path index_of_repository(const std::filesystem::path& folder);

// The index nearest to `folder`: its own or that of the nearest folder above it. Throws
// std::runtime_error with advice when there is none.
[[nodiscard]] std::filesystem::path nearest_index(const std::filesystem::path& folder);

}  // namespace velmora::host::cli
