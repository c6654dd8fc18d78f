// The patterns of .gitignore files, as git understands them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "indexing/glob.h"

namespace velmora::host::indexing {

// The patterns of one file, and those that count less: of the folders above, of the user.
// Immutable.
class IgnoreRules {
 public:
  // The rules of a file with the content `text` for what is in `folder`, a path relative to the top
  // of the tree ("" is the top). `above` may be null.
  IgnoreRules(std::string folder, std::string_view text, std::shared_ptr<const IgnoreRules> above);

  // Whether a file or folder that stands in `folder` is left out; `path` is relative to the top.
  // The rules of nearer folders and later lines win. What is in a folder that is left out is not
  // asked for: nothing brings it back. Adds to `steps` what it took.
  [[nodiscard]] bool ignores(std::string_view path, bool is_folder, std::uint64_t& steps) const;

 private:
  struct Pattern {
    Glob glob;
    bool anchored = false;  // it begins in the folder, not in any folder below
    bool folders_only = false;
    bool negated = false;
  };
  void add(std::string_view line);

  const std::string folder_;
  const std::shared_ptr<const IgnoreRules> above_;
  std::vector<Pattern> patterns_;
};

}  // namespace velmora::host::indexing
