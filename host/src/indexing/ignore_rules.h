// The patterns of .gitignore files, as git understands them.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace velmora::host::indexing {

// The patterns of one folder's .gitignore, and those of the folders above it. Immutable.
class IgnoreRules {
 public:
  // The rules in `folder`, a path relative to the root ("" is the root), whose .gitignore has the
  // content `text`. `above` are those of the folder that holds it; null for the root.
  IgnoreRules(std::string folder, std::string_view text, std::shared_ptr<const IgnoreRules> above);

  // Whether a file or folder that stands directly in `folder` is left out. The rules of nearer
  // folders and later lines win. What is in a folder that is left out is not asked for.
  [[nodiscard]] bool ignores(std::string_view path, bool is_folder) const;

 private:
  struct Pattern {
    std::vector<std::string> parts;  // between the slashes
    bool anchored = false;           // it begins in the folder, not in any folder below
    bool folders_only = false;
    bool negated = false;
  };
  void add(std::string_view line);

  const std::string folder_;
  const std::shared_ptr<const IgnoreRules> above_;
  std::vector<Pattern> patterns_;
};

// The rules of `folder` under `root`: those `above`, and those of its own .gitignore if it has one.
[[nodiscard]] std::shared_ptr<const IgnoreRules> rules_of(const std::filesystem::path& root,
                                                          const std::string& folder,
                                                          std::shared_ptr<const IgnoreRules> above);

}  // namespace velmora::host::indexing
