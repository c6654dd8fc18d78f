// Where the index of a repository is.
#pragma once

#include <filesystem>

namespace velmora::host::cli {

// The index of the repository at `folder`: folder/.velmora/index.db.
[[nodiscard]] std::filesystem::path index_of_repository(const std::filesystem::path& folder);

// The index nearest to `folder`: its own or that of the nearest folder above it. Throws
// std::runtime_error with advice when there is none.
[[nodiscard]] std::filesystem::path nearest_index(const std::filesystem::path& folder);

}  // namespace velmora::host::cli
