// Which files a repository holds.
#pragma once

#include <cstddef>
#include <filesystem>
#include <limits>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "velmora/export.h"

namespace velmora::host::indexing {

// A file or folder that is left out, and why, in a few words that stand after the path.
struct Skipped {
  std::string path;        // relative to the root, forward slashes
  std::string reason;      // "it is ...", "it has ..."
  bool is_folder = false;  // everything in it is left out

  bool operator==(const Skipped&) const = default;
};

// The reason of a folder that is one.
inline constexpr std::string_view OTHER_REPOSITORY = "it is another repository: index it by itself";

// What ignore rules leave out of a tree, and git does not track.
struct Ignored {
  std::size_t files = 0;    // in folders that are not
  std::size_t folders = 0;  // with everything in them

  bool operator==(const Ignored&) const = default;
};

// What was found in a tree.
struct FileList {
  std::vector<std::string> files;  // relative to the root, forward slashes, sorted, each once
  std::vector<Skipped> skipped;    // by path: folders that cannot be read or that are left alone,
                                   // paths beyond the system's limit, what rules leave out
  Ignored ignored = {};            // what nobody lists
};

// A tree has more files than it may have.
class VELMORA_API TooManyFilesError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// No limit.
inline constexpr std::size_t ANY_NUMBER_OF_FILES = std::numeric_limits<std::size_t>::max();

// The files under `root`. In a git work tree, or a folder of one, those that git tracks, and those
// it does not know and does not ignore; a tracked file may be gone. Another repository in the tree,
// a submodule or not, is left alone and listed as skipped. Elsewhere, and where git ignores the
// whole of `root`, every file that no .gitignore in it leaves out, those of repositories in it
// included. Neither .git nor the program's own folder .velmora is ever listed. Links are listed and
// not followed: what stands beyond a link to a folder is not listed under the link's name.
//
// No program of the repository's is run and its configuration is not read: of what git keeps, its
// index, info/exclude and the pointers to these are. The list is the same whoever owns the folder,
// whatever variables are git's, and without git on the machine; where there is git, it is asked for
// the user's own core.excludesFile, outside of any repository. Names are compared by their bytes.
// Of ignore rules those are followed that stand in regular files of at most 1 MiB; a .gitignore
// that a sparse checkout leaves out counts for nothing.
//
// What `leave_out` says, as SourceRules has it, is skipped.
//
// Throws std::filesystem::filesystem_error when `root` cannot be read, TooManyFilesError as soon as
// more than `most_files` are found, std::runtime_error as SourceRules says.
[[nodiscard]] VELMORA_API FileList list_files(const std::filesystem::path& root,
                                              std::size_t most_files = ANY_NUMBER_OF_FILES,
                                              const std::vector<std::string>& leave_out = {});

// The folders under `root` in which a file that list_files finds stands or may come to stand,
// relative to the root, which is "" and the first.
[[nodiscard]] VELMORA_API std::vector<std::string> list_folders(
    const std::filesystem::path& root, const std::vector<std::string>& leave_out = {});

}  // namespace velmora::host::indexing
