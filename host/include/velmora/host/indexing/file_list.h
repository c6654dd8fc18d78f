// Which files a repository holds.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace velmora::host::indexing {

// A file or folder that is left out, and why, in a few words that stand after the path.
struct Skipped {
  std::string path;  // relative to the root, forward slashes
  std::string reason;
  bool is_folder = false;  // everything in it is left out

  bool operator==(const Skipped&) const = default;
};

struct FileList {
  std::vector<std::string> files;  // relative to the root, forward slashes, sorted, each once
  std::vector<Skipped> skipped;    // folders that cannot be read
};

// The files under `root`. In a git work tree those that git tracks, and those it does not know and
// does not ignore; a tracked file may be gone. Elsewhere, and where git ignores the whole of
// `root`, every file that no .gitignore in it leaves out, but those in .git. The program's own
// folder .velmora is never listed. Links are listed and not followed: what stands beyond a link to
// a folder is not listed under the link's name.
//
// Runs git and waits for it. Throws std::filesystem::filesystem_error when `root` cannot be read.
[[nodiscard]] FileList list_files(const std::filesystem::path& root);

// The folders under `root` in which a file that list_files finds stands or may come to stand,
// relative to the root, which is "" and the first.
[[nodiscard]] std::vector<std::string> list_folders(const std::filesystem::path& root);

}  // namespace velmora::host::indexing
