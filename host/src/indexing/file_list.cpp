#include "velmora/host/indexing/file_list.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <memory>
#include <optional>
#include <set>
#include <string_view>
#include <system_error>
#include <unordered_map>

#include "indexing/ignore_rules.h"

extern char** environ;

namespace velmora::host::indexing {
namespace {

namespace fs = std::filesystem;

// What git prints to standard output; nothing when it cannot be run or fails.
std::optional<std::string> run_git(std::vector<std::string> arguments) {
  std::vector<char*> argv;
  argv.reserve(arguments.size() + 1);
  for (std::string& argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);

  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) {
    throw std::system_error(errno, std::generic_category(), "cannot start git");
  }
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  pid_t child = 0;
  const int failed = posix_spawnp(&child, argv.front(), &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(ends[1]);
  if (failed != 0) {
    close(ends[0]);
    return std::nullopt;
  }
  std::string output;
  std::array<char, 65536> buffer;
  while (true) {
    const ssize_t count = read(ends[0], buffer.data(), buffer.size());
    if (count > 0) output.append(buffer.data(), static_cast<std::size_t>(count));
    if (count == 0 || (count < 0 && errno != EINTR)) break;
  }
  close(ends[0]);
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) return std::nullopt;
  return output;
}

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
  std::unordered_map<std::string, bool> real_;
};

std::vector<std::string> git_files(const fs::path& root) {
  std::vector<std::string> files;
  const std::optional<std::string> output = run_git(
      {"git", "-C", root.string(), "ls-files", "-z", "--cached", "--others", "--exclude-standard"});
  if (!output) return files;
  std::string_view rest = *output;
  while (!rest.empty()) {
    const std::size_t stop = std::min(rest.find('\0'), rest.size());
    files.emplace_back(rest.substr(0, stop));
    rest.remove_prefix(std::min(stop + 1, rest.size()));
  }
  // A nested repository is listed as its folder, with a slash at the end. Where a link has taken
  // the place of a folder, what git tracked in it is listed still, and would be read elsewhere.
  RealFolders folders(root);
  std::erase_if(
      files, [&](const std::string& file) { return file.ends_with('/') || !folders.hold(file); });
  return files;
}

struct Folder {
  std::string path;                          // relative to the root
  std::shared_ptr<const IgnoreRules> rules;  // of the folders above it
};

// Lists every file that no .gitignore leaves out; returns the folders that were walked.
std::vector<std::string> walk(const fs::path& root, FileList& list) {
  std::vector<std::string> folders;
  std::vector<Folder> waiting = {{}};
  while (!waiting.empty()) {
    const Folder folder = std::move(waiting.back());
    waiting.pop_back();
    const auto rules = rules_of(root, folder.path, folder.rules);
    std::error_code error;
    fs::directory_iterator entry(root / folder.path, error);
    if (error && folder.path.empty()) throw fs::filesystem_error("cannot list files", root, error);
    folders.push_back(folder.path);
    for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
      const std::string name = entry->path().filename().string();
      std::error_code unknown;
      const bool is_folder = entry->symlink_status(unknown).type() == fs::file_type::directory;
      std::string path = folder.path.empty() ? name : folder.path + "/" + name;
      if (is_folder && (name == ".git" || name == ".velmora")) continue;
      if (rules && rules->ignores(path, is_folder)) continue;
      if (is_folder) {
        waiting.push_back({std::move(path), rules});
      } else {
        list.files.push_back(std::move(path));
      }
    }
    if (error) list.skipped.push_back({folder.path, "it cannot be read", true});
  }
  return folders;
}

bool is_own(const std::string& file) {
  constexpr std::string_view FOLDER = ".velmora/";
  return file.starts_with(FOLDER) || file.find("/.velmora/") != std::string::npos;
}

}  // namespace

FileList list_files(const fs::path& root) {
  FileList list;
  list.files = git_files(root);
  if (list.files.empty()) static_cast<void>(walk(root, list));
  std::erase_if(list.files, is_own);
  std::ranges::sort(list.files);
  // A file with merge conflicts is listed once a side.
  list.files.erase(std::unique(list.files.begin(), list.files.end()), list.files.end());
  std::ranges::sort(list.skipped, {}, &Skipped::path);
  return list;
}

std::vector<std::string> list_folders(const fs::path& root) {
  FileList walked;
  const std::vector<std::string> found = walk(root, walked);
  std::set<std::string> folders(found.begin(), found.end());
  // Git tracks files in folders that it ignores, too.
  for (std::string& file : list_files(root).files) {
    for (std::size_t slash = file.rfind('/'); slash != std::string::npos; slash = file.rfind('/')) {
      file.resize(slash);
      if (!folders.insert(file).second) break;
    }
  }
  return {folders.begin(), folders.end()};
}

}  // namespace velmora::host::indexing
