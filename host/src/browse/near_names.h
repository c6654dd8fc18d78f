// "Did you mean": names of the index that somebody may have meant by one that it does not hold.
#pragma once

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "velmora/storage/repository_retrieval.h"

namespace velmora::host::browse {

// No more are suggested.
inline constexpr std::size_t MOST_NEAR_NAMES = 3;
// Nobody mistypes a longer name, in bytes: nothing is near to it, and it is near to nothing.
inline constexpr std::size_t LONGEST_NEAR_NAME = 200;

// Whether one becomes the other by one character more, less or replaced, or by two neighbours that
// change places. Equal texts are not one edit apart. Characters are compared as they are.
[[nodiscard]] bool is_one_edit(std::u32string_view left, std::u32string_view right);

// Collects what is near to a name from names that are shown to it one by one, in any order and any
// number of times. It keeps MOST_NEAR_NAMES of them and takes a time that is linear in a name's
// length. The name itself is not near to itself.
class NearNames {
 public:
  explicit NearNames(std::string_view asked);

  void add(std::string_view name);

  // What is nearest comes first: the same words in another case or joined in another way, then one
  // edit in any case, then the same words in another order; equally near ones in byte order.
  [[nodiscard]] std::vector<std::string> names() const;

 private:
  enum class Nearness { same_words, one_edit, other_order, none };

  [[nodiscard]] Nearness nearness(std::string_view name) const;

  const std::string asked_;
  const std::u32string folded_;           // in one case
  const std::vector<std::string> words_;  // in order; none where they are not all ASCII
  const std::vector<std::string> sorted_words_;
  const std::uint64_t letters_;  // the same for the same letters in any order and case
  std::set<std::pair<Nearness, std::string>> found_;
};

// Those of all symbols that take part in retrieval; reads each row of `repository` once.
[[nodiscard]] std::vector<std::string> near_names(std::string_view asked,
                                                  storage::Repository& repository);

// "Did you mean: size, sizes?", the names as one printable line; empty without names.
[[nodiscard]] std::string did_you_mean(const std::vector<std::string>& names);

// The same for what is near to a name, qualified or not, that no symbol has.
[[nodiscard]] std::string did_you_mean(std::string_view name, storage::Repository& repository);

}  // namespace velmora::host::browse
