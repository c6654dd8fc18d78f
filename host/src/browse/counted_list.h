// Numbers of things of several kinds, as people read them.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace velmora::host::browse {

// By count, the most first, then by name.
[[nodiscard]] std::vector<std::pair<std::string, std::size_t>> by_count(
    const std::map<std::string, std::size_t>& counts);

// "120 c++, 7 python, and 3 kinds more" of pairs of a thing and its count, or the like: the first
// `most` of them, each as `name` calls it.
template <class List, class Name>
[[nodiscard]] std::string list_of(const List& list, std::size_t most, Name&& name) {
  std::string text;
  std::size_t shown = 0;
  for (const auto& [what, count] : list) {
    if (shown == most) break;
    text += (shown++ == 0 ? "" : ", ") + std::to_string(count) + " " + name(what);
  }
  if (shown < list.size()) {
    const std::size_t rest = list.size() - shown;
    text += ", and " + std::to_string(rest) + (rest == 1 ? " kind more" : " kinds more");
  }
  return text;
}

// "412 files of other kinds: 210 .md, 88 .json, 2 without an extension": those that are no sources,
// as indexing::RepositoryScan counts them, of which there are some. At most `most` kinds.
[[nodiscard]] std::string other_kinds(const std::map<std::string, std::size_t>& others,
                                      std::size_t most);

}  // namespace velmora::host::browse
