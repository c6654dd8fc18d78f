// How well the name of a symbol is the one that somebody typed.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace velmora::host::browse {

// The text with the case of its letters folded away, one character for one.
[[nodiscard]] std::string fold_case(std::string_view text);

// A name that somebody typed, qualified or not, perhaps with () behind it. Immutable.
class NameMatch {
 public:
  explicit NameMatch(std::string_view typed);

  // 0: it is the fqn. 1: it is the name. 2: it is either in another case. 3: it is qualified, and
  // its parts are the last ones of the fqn, whatever stands between them ("Store.size" for
  // app::Store::size). 4: so it is in another case. Nothing otherwise.
  [[nodiscard]] std::optional<int> grade(std::string_view name, std::string_view fqn) const;

 private:
  std::string typed_;
  std::string folded_;
  // With a dot before each part; empty: not qualified.
  std::string parts_;
  std::string folded_parts_;
};

// A pattern of names: * stands for any characters, ? for one; case does not count. One with a
// separator (as . or ::) is compared with the last parts of the fqn, any other with the name.
// Immutable.
class NamePattern {
 public:
  static constexpr std::size_t LONGEST = 256;  // in bytes

  // Throws std::invalid_argument for a pattern that is empty or longer than LONGEST.
  explicit NamePattern(std::string_view pattern);

  // Time is at most proportional to the product of the two lengths.
  [[nodiscard]] bool matches(std::string_view name, std::string_view fqn) const;

 private:
  std::string pattern_;
  bool qualified_ = false;
};

}  // namespace velmora::host::browse
