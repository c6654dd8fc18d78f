#include "velmora/host/indexing/file_list.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <optional>
#include <set>
#include <string_view>
#include <system_error>
#include <utility>

#include "indexing/folder_walk.h"
#include "indexing/git_index.h"
#include "indexing/outer_rules.h"
#include "indexing/path_rules.h"
#include "indexing/work_tree.h"

namespace velmora::host::indexing {
namespace {

namespace fs = std::filesystem;

// Tells which folders are reached without a link; each is looked at once.
class RealFolders {
 public:
  explicit RealFolders(const fs::path& root) : root_(root) {}

  // Whether no folder above `path` is a link.
  bool hold(std::string_view path) {
    const std::size_t slash = path.rfind('/');
    if (slash == std::string_view::npos) return true;
    const std::string folder(path.substr(0, slash));
    const auto known = real_.find(folder);
    if (known != real_.end()) return known->second;
    std::error_code gone;
    const bool real = hold(folder) && !fs::is_symlink(fs::symlink_status(root_ / folder, gone));
    real_.emplace(folder, real);
    return real;
  }

 private:
  const fs::path& root_;
  std::map<std::string, bool> real_;
};

bool is_own(std::string_view file) {
  return file.starts_with(".velmora/") || file.find("/.velmora/") != std::string_view::npos;
}

// Those of the sorted `paths` that begin with `prefix`, without it.
std::vector<std::string> below(const std::vector<std::string>& paths, const std::string& prefix) {
  std::vector<std::string> found;
  for (auto path = std::ranges::lower_bound(paths, prefix);
       path != paths.end() && path->starts_with(prefix); ++path) {
    found.push_back(path->substr(prefix.size()));
  }
  return found;
}

// Adds what git tracks, ignored or not. Where a link has taken the place of a folder, what git
// tracked in it would be read elsewhere.
void add_tracked(const fs::path& root, const std::string& prefix, const TrackedPaths& tracked,
                 LeftOut& left_out, FileList& list) {
  RealFolders folders(root);
  for (std::string& file : below(tracked.files, prefix)) {
    if (is_own(file) || left_out.covers(file, false)) continue;
    if (is_too_long(root, file)) {
      list.skipped.push_back({std::move(file), "its path is too long"});
    } else if (folders.hold(file)) {
      list.files.push_back(std::move(file));
    }
  }
  for (std::string& folder : below(tracked.repositories, prefix)) {
    if (left_out.covers(folder, true)) continue;
    std::error_code gone;
    const bool is_there = folders.hold(folder) && fs::symlink_status(root / folder, gone).type() ==
                                                      fs::file_type::directory;
    if (is_there) {
      list.skipped.push_back({std::move(folder), std::string(OTHER_REPOSITORY), true});
    }
  }
}

Walked find_in_work_tree(const fs::path& root, const fs::path& absolute, const WorkTree& tree,
                         std::size_t most_files, LeftOut& left_out) {
  std::string prefix = absolute.lexically_relative(tree.top).string() + "/";
  if (prefix == "./") prefix.clear();
  const std::optional<TrackedPaths> index = read_git_index(tree.git_folder);
  const TrackedPaths tracked = index.value_or(TrackedPaths{});
  const OuterRules outer = outer_rules(tree, prefix);
  Walked found;
  if (!outer.ignore_all)
    found = FolderWalk(root, prefix, &tracked, most_files, left_out).run(outer.rules);
  add_tracked(root, prefix, tracked, left_out, found.list);
  if (!index) {
    found.list.skipped.push_back(
        {".git", "its index cannot be read: files that git tracks and ignores are missing", true});
  }
  return found;
}

Walked find(const fs::path& root, std::size_t most_files, LeftOut& left_out) {
  std::error_code error;
  const fs::path absolute = fs::canonical(root, error);
  if (error) throw fs::filesystem_error("cannot list files", root, error);
  std::vector<Skipped> notes;
  if (const std::optional<WorkTree> tree = work_tree_around(absolute)) {
    Walked found = find_in_work_tree(root, absolute, *tree, most_files, left_out);
    const bool is_empty =
        found.list.files.empty() && std::ranges::none_of(found.list.skipped, &Skipped::is_folder);
    if (!is_empty) return found;
    notes = std::move(found.list.skipped);
  }
  Walked found = FolderWalk(root, "", nullptr, most_files, left_out).run(nullptr);
  std::ranges::move(notes, std::back_inserter(found.list.skipped));
  return found;
}

}  // namespace

FileList list_files(const fs::path& root, std::size_t most_files,
                    const std::vector<std::string>& leave_out) {
  LeftOut left_out(leave_out);
  FileList list = find(root, most_files, left_out).list;
  for (const auto& [path, is_folder] : left_out.found()) {
    // What git tracks may be gone.
    std::error_code error;
    if (fs::symlink_status(root / path, error).type() == fs::file_type::not_found) continue;
    list.skipped.push_back({path, "the settings leave it out", is_folder});
  }
  std::ranges::sort(list.files);
  // Most files are found both ways, and one with merge conflicts is tracked once a side.
  list.files.erase(std::unique(list.files.begin(), list.files.end()), list.files.end());
  if (list.files.size() > most_files) refuse_so_many(root, most_files);
  std::ranges::sort(list.skipped, {}, &Skipped::path);
  return list;
}

std::vector<std::string> list_folders(const fs::path& root,
                                      const std::vector<std::string>& leave_out) {
  LeftOut left_out(leave_out);
  Walked found = find(root, ANY_NUMBER_OF_FILES, left_out);
  std::set<std::string> folders(std::make_move_iterator(found.folders.begin()),
                                std::make_move_iterator(found.folders.end()));
  folders.insert("");
  // Git tracks files in folders that it ignores, too.
  for (std::string& file : found.list.files) {
    for (std::size_t slash = file.rfind('/'); slash != std::string::npos; slash = file.rfind('/')) {
      file.resize(slash);
      if (!folders.insert(file).second) break;
    }
  }
  return {folders.begin(), folders.end()};
}

}  // namespace velmora::host::indexing
