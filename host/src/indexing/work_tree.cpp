#include "indexing/work_tree.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <string>
#include <string_view>
#include <system_error>

#include "indexing/bounded_file.h"

namespace velmora::host::indexing {
namespace {

namespace fs = std::filesystem;

// Enough for any path and the words before it.
constexpr std::size_t LARGEST_POINTER = 8192;

// The path in a file that consists of `prefix`, a path and the end of the line; a relative one is
// relative to the file's folder.
std::optional<fs::path> path_in(const fs::path& file, std::string_view prefix) {
  const BoundedFile read = read_bounded(AT_FDCWD, file.string(), LARGEST_POINTER, Links::refuse);
  if (read.state != BoundedFile::State::read) return std::nullopt;
  std::string_view text = read.text;
  if (!text.starts_with(prefix)) return std::nullopt;
  text.remove_prefix(prefix.size());
  while (text.ends_with('\n') || text.ends_with('\r')) text.remove_suffix(1);
  if (text.empty() || text.find('\0') != std::string_view::npos) return std::nullopt;
  return file.parent_path() / text;
}

bool is_folder(const fs::path& path) {
  std::error_code error;
  return fs::is_directory(path, error);
}

}  // namespace

std::optional<WorkTree> repository_at(const fs::path& folder) {
  const fs::path entry = folder / ".git";
  WorkTree tree{folder, entry, entry};
  if (!is_folder(entry)) {
    const std::optional<fs::path> elsewhere = path_in(entry, "gitdir: ");
    if (!elsewhere) return std::nullopt;
    tree.git_folder = *elsewhere;
  }
  tree.common_folder = path_in(tree.git_folder / "commondir", "").value_or(tree.git_folder);
  std::error_code error;
  const bool sound = fs::exists(fs::symlink_status(tree.git_folder / "HEAD", error)) &&
                     is_folder(tree.common_folder / "objects") &&
                     is_folder(tree.common_folder / "refs");
  if (!sound) return std::nullopt;
  return tree;
}

std::optional<WorkTree> work_tree_around(const fs::path& folder) {
  struct stat start {};
  if (::stat(folder.c_str(), &start) != 0) return std::nullopt;
  for (fs::path top = folder;; top = top.parent_path()) {
    struct stat status {};
    if (::stat(top.c_str(), &status) != 0 || status.st_dev != start.st_dev) return std::nullopt;
    if (std::optional<WorkTree> tree = repository_at(top)) return tree;
    if (top == top.root_path()) return std::nullopt;
  }
}

}  // namespace velmora::host::indexing
