#include "browse/near_names.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace velmora::host::browse {
namespace {

// All that one edit makes of `text`, in the letters a and b.
std::set<std::u32string> edits(const std::u32string& text) {
  std::set<std::u32string> made;
  for (std::size_t i = 0; i <= text.size(); ++i) {
    for (const char32_t c : {U'a', U'b'}) {
      made.insert(std::u32string(text).insert(i, 1, c));
      if (i < text.size()) made.insert(std::u32string(text).replace(i, 1, 1, c));
    }
    if (i < text.size()) made.insert(std::u32string(text).erase(i, 1));
    if (i + 1 < text.size()) {
      std::u32string swapped = text;
      std::swap(swapped[i], swapped[i + 1]);
      made.insert(swapped);
    }
  }
  made.erase(text);
  return made;
}

TEST(NearNames, OneEditIsWhatEditingMakes) {
  std::vector<std::u32string> texts = {U""};
  for (std::size_t i = 0; texts[i].size() < 5; ++i) {
    for (const char32_t c : {U'a', U'b'}) texts.push_back(texts[i] + c);
  }
  for (const std::u32string& left : texts) {
    const std::set<std::u32string> near = edits(left);
    for (const std::u32string& right : texts) {
      ASSERT_EQ(is_one_edit(left, right), near.contains(right))
          << std::string(left.begin(), left.end()) << " "
          << std::string(right.begin(), right.end());
    }
  }
}

TEST(NearNames, AreTheNearestInAStableOrder) {
  using Names = std::vector<std::string>;
  const std::string long_name(LONGEST_NEAR_NAME + 1, 'x');
  const std::vector<std::tuple<std::string, Names, Names>> cases = {
      {"parse_config",
       {"config_parse", "parse_confg", "parse_config", "ParseConfig", "parse", "parseConfig",
        "parseConfig"},
       {"ParseConfig", "parseConfig", "parse_confg"}},
      {"parse_confg", {"PARSE_CONFIG", "parse_conf", "render", ""}, {"PARSE_CONFIG", "parse_conf"}},
      {"retreive", {"retrieve", "receive"}, {"retrieve"}},
      {"indexReader", {"reader_index", "IndexRead"}, {"reader_index"}},
      {"\u00C9t\u00E9s", {"\u00E9t\u00E9", "\u00E9t\u00E9s!!"}, {"\u00E9t\u00E9"}},
      {"ab", {"ac", "AB", "b_a"}, {"AB"}},  // too short to be mistyped; "ba" is one word
      {"__", {"_", "___", "a"}, {}},
      {long_name, {long_name + "x", long_name}, {}},
      {"xx", {long_name}, {}},
  };
  for (const auto& [asked, names, expected] : cases) {
    NearNames near(asked);
    for (const std::string& name : names) near.add(name);
    EXPECT_EQ(near.names(), expected) << asked;
  }
}

}  // namespace
}  // namespace velmora::host::browse
