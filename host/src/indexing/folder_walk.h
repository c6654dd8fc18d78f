// Finds what stands in a tree of folders and is not ignored.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "indexing/git_index.h"
#include "indexing/ignore_rules.h"
#include "indexing/path_rules.h"
#include "velmora/host/indexing/file_list.h"

namespace velmora::host::indexing {

// What a walk found, relative to the folder where it began.
struct Walked {
  FileList list = {};                     // not sorted
  std::vector<std::string> folders = {};  // those that were read
};

// One walk. What a folder's .gitignore leaves out is not found, nor is .git, nor a folder .velmora.
class FolderWalk {
 public:
  // Begins in `root`, which is `prefix` ("" or with a slash at its end) below the top of its tree.
  // With `tracked`, relative to the top, the walk is one of a work tree: it leaves the folders
  // alone that are other repositories. Null: those are folders like others. What is `left_out` is
  // not found. `tracked` and `left_out` outlive the walk.
  FolderWalk(std::filesystem::path root, std::string prefix, const TrackedPaths* tracked,
             std::size_t most_files, LeftOut& left_out);

  // Reads every folder from `root` down, under the rules `above`, which may be null, and those that
  // it finds. Throws std::filesystem::filesystem_error when `root` cannot be read,
  // TooManyFilesError as soon as there are more than `most_files`.
  [[nodiscard]] Walked run(std::shared_ptr<const IgnoreRules> above);

 private:
  using Rules = std::shared_ptr<const IgnoreRules>;
  struct Folder {
    std::string path;  // relative to the top; "" or with a slash at its end
    Rules rules;       // of the folders above it
  };
  struct Entry {
    std::string name;
    bool is_folder = false;
  };
  void visit(const Folder& folder);
  [[nodiscard]] std::vector<Entry> entries_of(const Folder& folder, Rules& rules);
  [[nodiscard]] bool is_other_repository(const std::string& folder) const;
  [[nodiscard]] Rules with_rules_in(int descriptor, const std::string& folder, Rules above);
  void count_ignored(const std::string& path, bool is_folder);
  [[nodiscard]] std::string below_root(std::string_view path) const;
  void skip(std::string_view path, std::string reason, bool is_folder);

  const std::filesystem::path root_;
  const std::string prefix_;
  const TrackedPaths* const tracked_;
  const std::size_t most_files_;
  LeftOut& left_out_;
  std::vector<Folder> waiting_;
  std::uint64_t steps_ = 0;  // what the ignore rules took
  Walked walked_;
};

// Throws TooManyFilesError.
[[noreturn]] void refuse_so_many(const std::filesystem::path& root, std::size_t most_files);

// Whether a path below `root` is longer than the system takes.
[[nodiscard]] bool is_too_long(const std::filesystem::path& root, std::string_view path);

}  // namespace velmora::host::indexing
