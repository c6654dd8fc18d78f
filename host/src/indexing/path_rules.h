// The globs of SourceRules, held against the paths of a tree.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "indexing/ignore_rules.h"
#include "velmora/host/indexing/source_rules.h"

namespace velmora::host::indexing {

// Which paths are left out. Paths are relative to the root, forward slashes. Every function throws
// std::runtime_error once all calls together took too much work. One thread uses it.
class LeftOut {
 public:
  // What all paths of a tree may take, in steps of Glob: about a second, and what a hundred globs
  // take of the names of a million files.
  static constexpr std::uint64_t MOST_STEPS = 400'000'000;

  explicit LeftOut(const std::vector<std::string>& globs, std::uint64_t most_steps = MOST_STEPS);

  // Whether a file or folder is left out; those above it are not.
  [[nodiscard]] bool matches(std::string_view path, bool is_folder);

  // Whether a path is, or a folder above it. Each folder is looked at once.
  [[nodiscard]] bool covers(std::string_view path, bool is_folder);

  // What turned out to be left out so far; true: a folder.
  [[nodiscard]] const std::map<std::string, bool>& found() const { return found_; }

 private:
  const bool is_empty_;
  const IgnoreRules rules_;
  const std::uint64_t most_steps_;
  std::map<std::string, bool, std::less<>> folders_;
  std::map<std::string, bool> found_;
  std::uint64_t steps_ = 0;
};

// The languages that rules tell. As LeftOut.
class ToldLanguages {
 public:
  explicit ToldLanguages(std::span<const LanguageRule> rules);

  // Of the file at `path`, "" when none is told.
  [[nodiscard]] std::string_view of(std::string_view path);

 private:
  struct Rule {
    IgnoreRules glob;
    std::string_view language;  // the built-in one's own name
  };
  std::vector<Rule> rules_;
  std::uint64_t steps_ = 0;
};

// Why `glob` is none that a rule can have, as the end of a sentence; empty: it is one. `negated`:
// whether one with "!" is.
[[nodiscard]] std::string fault_of_glob(std::string_view glob, bool negated);

}  // namespace velmora::host::indexing
