#include "browse/counted_list.h"

#include <algorithm>
#include <functional>
#include <string_view>

#include "browse/limited_text.h"
#include "text/printable.h"

namespace velmora::host::browse {

std::vector<std::pair<std::string, std::size_t>> by_count(
    const std::map<std::string, std::size_t>& counts) {
  std::vector<std::pair<std::string, std::size_t>> list(counts.begin(), counts.end());
  std::ranges::stable_sort(list, std::greater(), [](const auto& entry) { return entry.second; });
  return list;
}

std::string other_kinds(const std::map<std::string, std::size_t>& others, std::size_t most) {
  std::size_t count = 0;
  for (const auto& [extension, files] : others) count += files;
  return text::counted(count, "file") +
         " of other kinds: " + list_of(by_count(others), most, [](const std::string& extension) {
           return extension.empty() ? "without an extension" : text::printable_line(extension);
         });
}

}  // namespace velmora::host::browse
