#include "browse/name_match.h"

#include <gtest/gtest.h>

#include <optional>
#include <random>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

namespace velmora::host::browse {
namespace {

TEST(NameMatch, GradesHowWellANameFits) {
  const std::vector<std::tuple<std::string, std::string, std::string, std::optional<int>>> cases = {
      {"app::Store::size", "size", "app::Store::size", 0},
      {"size", "size", "app::Store::size", 1},
      {"size()", "size", "app::Store::size", 1},
      {"operator()", "operator()", "app::operator()", 1},
      {"SIZE", "size", "app::Store::size", 2},
      {"\u00C9TAT", "\u00E9tat", "app.\u00E9tat", 2},
      {"App::STORE::size", "size", "app::Store::size", 2},
      {"Store.size", "size", "app::Store::size", 3},
      {"app/Store#size", "size", "app.Store.size", 3},
      {"Store->size", "size", "app.Store.size", 3},
      {"store::SIZE", "size", "app.Store.size", 4},
      {"tore.size", "size", "app.Store.size", std::nullopt},
      {"Store", "size", "app.Store.size", std::nullopt},
      {"siz", "size", "size", std::nullopt},
      {"", "", "", std::nullopt},
      {"()", "", "a", std::nullopt},
      {"::", "size", "app::size", std::nullopt},
      {"\xFF.a", "a", "b.\xFF.a", 3},
  };
  for (const auto& [typed, name, fqn, grade] : cases) {
    EXPECT_EQ(NameMatch(typed).grade(name, fqn), grade) << typed << " for " << fqn;
  }
}

// Every way in which the stars may be taken.
bool plain_match(std::string_view pattern, std::string_view text) {
  if (pattern.empty()) return text.empty();
  if (pattern[0] == '*') {
    return plain_match(pattern.substr(1), text) ||
           (!text.empty() && plain_match(pattern, text.substr(1)));
  }
  return !text.empty() && (pattern[0] == '?' || pattern[0] == text[0]) &&
         plain_match(pattern.substr(1), text.substr(1));
}

TEST(NamePattern, MatchesAsThePlainWayDoes) {
  std::mt19937 random(3);
  const auto draw = [&](std::string_view letters, std::size_t most) {
    std::string text;
    for (std::size_t i = random() % (most + 1); i > 0; --i) {
      text += letters[random() % letters.size()];
    }
    return text;
  };
  int matches = 0;
  for (int i = 0; i < 20'000; ++i) {
    const std::string pattern = "a" + draw("ab*?", 7), name = draw("ab", 9);
    const bool matched = NamePattern(pattern).matches(name, "");
    matches += matched ? 1 : 0;
    EXPECT_EQ(matched, plain_match(pattern, name)) << pattern << " " << name;
  }
  EXPECT_GT(matches, 500);
}

TEST(NamePattern, KnowsQualifiedNamesAndItsLimit) {
  const std::vector<std::tuple<std::string, std::string, bool>> cases = {
      {"Parse*", "parseConfig", true},          {"store.*", "app::Store::size", true},
      {"*::get?", "app.Box.get\u00E9", true},   {"ore.*", "app::Store::size", false},
      {"app::*::size", "app.Store.size", true}, {"get?", "get", false},
  };
  for (const auto& [pattern, fqn, matches] : cases) {
    EXPECT_EQ(NamePattern(pattern).matches(fqn, fqn), matches) << pattern;
  }
  EXPECT_THROW(NamePattern(""), std::invalid_argument);
  EXPECT_THROW(NamePattern(std::string(257, 'a')), std::invalid_argument);
  // Stars that can be taken in very many ways.
  std::string stars;
  for (int i = 0; i < 120; ++i) stars += "a*";
  EXPECT_FALSE(NamePattern(stars + "b").matches(std::string(100'000, 'a'), ""));
}

}  // namespace
}  // namespace velmora::host::browse
