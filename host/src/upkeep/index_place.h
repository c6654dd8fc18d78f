// Where the index of a repository is, and which folder an index is made of.
#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <stdexcept>

namespace velmora::host::upkeep {

// The index of the repository at `folder`: folder/.velmora/index.db. index::repository_of is the
// way back.
[[nodiscard]] std::filesystem::path index_of_repository(const std::filesystem::path& folder);

// The locks beside an index (index::WriterLock): of whoever brings it up to date, and of whoever
// watches the files for all processes.
[[nodiscard]] std::filesystem::path writer_lock_of(const std::filesystem::path& index);
[[nodiscard]] std::filesystem::path watch_lock_of(const std::filesystem::path& index);

// The index that covers `folder` and is nearest to it: its own or that of a folder above. The index
// of a git work tree does not cover another repository in it (a submodule, a linked work tree, a
// clone), which has an index of its own; that of a folder outside of any work tree covers all that
// is in it. Nothing when there is none.
[[nodiscard]] std::optional<std::filesystem::path> nearest_index(
    const std::filesystem::path& folder);

// What is indexed for questions from `folder`, absolute and without links: the top of the git work
// tree that it is in, else the folder itself. Throws std::filesystem::filesystem_error when it is
// not there.
[[nodiscard]] std::filesystem::path folder_to_index(const std::filesystem::path& folder);

// A folder is so large, or so private, that nobody indexes it without meaning to.
class ConsentError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// A folder with more files is indexed with the user's consent alone.
inline constexpr std::size_t MOST_FILES = 200'000;

// Throws ConsentError for the user's home folder and for `/`. Links lead nowhere else.
void require_no_consent(const std::filesystem::path& folder);

}  // namespace velmora::host::upkeep
