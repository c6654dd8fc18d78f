// The ignore rules that hold in a folder and come from outside of it.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "indexing/ignore_rules.h"
#include "indexing/work_tree.h"

namespace velmora::host::indexing {

// A larger file of ignore rules counts for nothing.
constexpr std::size_t LARGEST_IGNORE_FILE = std::size_t{1} << 20;

struct OuterRules {
  std::shared_ptr<const IgnoreRules> rules = {};  // null when there are none
  bool ignore_all = false;                        // they leave the folder itself out
};

// The rules for the folder that is `prefix` ("" or with a slash at its end) below the top of a work
// tree: those of the user's own file, which core.excludesFile in the user's or the system's
// configuration names, or else git/ignore in the user's folder of configurations; those of
// info/exclude in the repository; those in the folders above. The repository's configuration is not
// asked.
[[nodiscard]] OuterRules outer_rules(const WorkTree& tree, const std::string& prefix);

}  // namespace velmora::host::indexing
