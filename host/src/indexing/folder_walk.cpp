#include "indexing/folder_walk.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <string>
#include <system_error>
#include <utility>

#include "indexing/bounded_file.h"
#include "indexing/outer_rules.h"
#include "indexing/work_tree.h"

namespace velmora::host::indexing {
namespace {

namespace fs = std::filesystem;

// A stranger writes the rules, and every file is held against all of them: what that may take in
// all, seconds, and hundreds of times what the largest honest trees need. Reading counts too, so
// that the rules of all folders together stay below 16 MiB.
constexpr std::uint64_t MOST_STEPS = 2'000'000'000;
constexpr std::uint64_t STEPS_PER_BYTE = 128;
constexpr const char* TOO_MUCH_WORK = "the ignore rules of the tree take too much work";

constexpr int FOLDER_FLAGS = O_RDONLY | O_DIRECTORY | O_NONBLOCK | O_CLOEXEC;

struct OpenFolder {
  explicit OpenFolder(int descriptor) : stream(descriptor < 0 ? nullptr : ::fdopendir(descriptor)) {
    if (stream == nullptr && descriptor >= 0) ::close(descriptor);
  }
  OpenFolder(const OpenFolder&) = delete;
  OpenFolder& operator=(const OpenFolder&) = delete;
  ~OpenFolder() {
    if (stream != nullptr) ::closedir(stream);
  }
  DIR* const stream;
};

bool is_folder(int parent, const dirent& entry) {
  if (entry.d_type != DT_UNKNOWN) return entry.d_type == DT_DIR;
  struct stat status {};
  return ::fstatat(parent, entry.d_name, &status, AT_SYMLINK_NOFOLLOW) == 0 &&
         S_ISDIR(status.st_mode);
}

}  // namespace

bool is_too_long(const fs::path& root, std::string_view path) {
  return root.native().size() + 1 + path.size() >= PATH_MAX;
}

void refuse_so_many(const fs::path& root, std::size_t most_files) {
  throw TooManyFilesError(root.string() + " has more than " + std::to_string(most_files) +
                          " files");
}

FolderWalk::FolderWalk(fs::path root, std::string prefix, const TrackedPaths* tracked,
                       std::size_t most_files, LeftOut& left_out)
    : root_(std::move(root)),
      prefix_(std::move(prefix)),
      tracked_(tracked),
      most_files_(most_files),
      left_out_(left_out) {}

Walked FolderWalk::run(Rules above) {
  waiting_.push_back({prefix_, std::move(above)});
  while (!waiting_.empty()) {
    const Folder folder = std::move(waiting_.back());
    waiting_.pop_back();
    if (steps_ > MOST_STEPS) {
      skip(folder.path, TOO_MUCH_WORK, true);
    } else {
      visit(folder);
    }
    if (walked_.list.files.size() > most_files_) refuse_so_many(root_, most_files_);
  }
  return std::move(walked_);
}

void FolderWalk::visit(const Folder& folder) {
  const std::size_t files_before = walked_.list.files.size();
  const std::size_t waiting_before = waiting_.size();
  Rules rules = folder.rules;
  for (const Entry& entry : entries_of(folder, rules)) {
    std::string path = folder.path + entry.name;
    const bool is_ignored = rules && rules->ignores(path, entry.is_folder, steps_);
    if (steps_ > MOST_STEPS) {
      walked_.list.files.resize(files_before);
      waiting_.resize(waiting_before);
      skip(folder.path, TOO_MUCH_WORK, true);
      return;
    }
    if (is_ignored) {
      count_ignored(path, entry.is_folder);
      continue;
    }
    std::string below = below_root(path);
    if (left_out_.matches(below, entry.is_folder)) continue;
    if (is_too_long(root_, below)) {
      skip(path, "its path is too long", entry.is_folder);
    } else if (entry.is_folder) {
      if (tracked_ != nullptr && std::ranges::binary_search(tracked_->repositories, path)) continue;
      waiting_.push_back({path + "/", rules});
    } else {
      walked_.list.files.push_back(std::move(below));
    }
  }
}

// What stands in a folder; nothing when it is another repository. Its own rules are added to
// `rules`.
std::vector<FolderWalk::Entry> FolderWalk::entries_of(const Folder& folder, Rules& rules) {
  const bool is_root = folder.path == prefix_;
  const fs::path place = root_ / below_root(folder.path);
  const OpenFolder open(::open(place.c_str(), is_root ? FOLDER_FLAGS : FOLDER_FLAGS | O_NOFOLLOW));
  if (open.stream == nullptr && is_root) {
    throw fs::filesystem_error("cannot list files", root_,
                               std::error_code(errno, std::generic_category()));
  }
  std::vector<Entry> entries;
  int error = errno;
  if (open.stream != nullptr) {
    while (true) {
      errno = 0;
      const dirent* entry = ::readdir(open.stream);
      error = errno;
      if (entry == nullptr) break;
      const std::string_view name = entry->d_name;
      if (name == "." || name == "..") continue;
      if (name == ".git") {
        if (tracked_ != nullptr && !is_root && is_other_repository(folder.path)) {
          skip(folder.path, std::string(OTHER_REPOSITORY), true);
          return {};
        }
        continue;
      }
      const bool is_folder = indexing::is_folder(::dirfd(open.stream), *entry);
      if (is_folder && name == ".velmora") continue;
      entries.push_back({std::string(name), is_folder});
    }
    rules = with_rules_in(::dirfd(open.stream), folder.path, std::move(rules));
  }
  if (error != 0) skip(folder.path, "it cannot be read", true);
  walked_.folders.push_back(below_root(folder.path));
  return entries;
}

// Whether a folder with an entry .git is left alone. One with files that the tree's own repository
// tracks is not.
bool FolderWalk::is_other_repository(const std::string& folder) const {
  const auto first = std::ranges::lower_bound(tracked_->files, folder);
  if (first != tracked_->files.end() && first->starts_with(folder)) return false;
  return repository_at(root_ / below_root(folder)).has_value();
}

FolderWalk::Rules FolderWalk::with_rules_in(int descriptor, const std::string& folder,
                                            Rules above) {
  const std::string name = ".gitignore";
  const BoundedFile file = read_bounded(descriptor, name, LARGEST_IGNORE_FILE, Links::refuse);
  if (file.state == BoundedFile::State::too_large) {
    skip(folder + name, "it is too large to be followed", false);
  }
  if (file.state != BoundedFile::State::read || file.text.empty()) return above;
  steps_ += file.text.size() * STEPS_PER_BYTE;
  return std::make_shared<const IgnoreRules>(folder.substr(0, folder.rfind('/')), file.text,
                                             std::move(above));
}

void FolderWalk::count_ignored(const std::string& path, bool is_folder) {
  if (is_folder) {
    ++walked_.list.ignored.folders;
  } else if (tracked_ == nullptr || !std::ranges::binary_search(tracked_->files, path)) {
    ++walked_.list.ignored.files;
  }
}

// A path as the caller knows it, without a slash at its end.
std::string FolderWalk::below_root(std::string_view path) const {
  path.remove_prefix(std::min(prefix_.size(), path.size()));
  if (path.ends_with('/')) path.remove_suffix(1);
  return std::string(path);
}

void FolderWalk::skip(std::string_view path, std::string reason, bool is_folder) {
  walked_.list.skipped.push_back({below_root(path), std::move(reason), is_folder});
}

}  // namespace velmora::host::indexing
