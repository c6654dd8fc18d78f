// What is told of the sources of a tree from outside: by the settings of its user or its own.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace velmora::host::indexing {

// The language of files whatever their names and content tell.
struct LanguageRule {
  std::string glob = {};  // one with a slash is of the whole path, one without of the name alone
  std::string language = {};  // as in SOURCE_LANGUAGES; that of no rule when it is not built in

  bool operator==(const LanguageRule&) const = default;
};

// Globs are matched as those of a .gitignore in the root are. They may be a stranger's: when there
// is more work to them than the largest honest trees make, whoever uses them throws
// std::runtime_error after some seconds.
struct SourceRules {
  // Larger files are generated or data; in bytes.
  std::uintmax_t largest_file = std::uintmax_t{2} * 1024 * 1024;
  // Files and folders that are not there for the index, whatever a .gitignore or git says. A later
  // glob with "!" brings back what an earlier one leaves out, but nothing in a folder that is.
  std::vector<std::string> leave_out = {};
  // The last that matches counts.
  std::vector<LanguageRule> languages = {};

  bool operator==(const SourceRules&) const = default;
};

}  // namespace velmora::host::indexing
