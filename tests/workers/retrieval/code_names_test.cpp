#include <gtest/gtest.h>

#include <random>
#include <regex>

#include "velmora/workers/retrieval.h"

namespace velmora::workers::retrieval {
namespace {

using Names = std::vector<std::string>;

TEST(CodeNames, TellsNamesFromProse) {
  for (const char* word : {"getHTTPResponse", "HTTPServer", "Offloader", "build_context_pack",
                           "$scope", "utf8", "MAX_SIZE", "iPhone", "Ok", "Id", "x\u00B2", "PDFs",
                           "\u00C9clair", "\u0663x", "\u01C4\u01C6"}) {
    EXPECT_TRUE(reads_as_code(word)) << word;
  }
  // \u01C5 is a title-case letter, neither Uppercase nor Lowercase; \u00BD is numeric but no digit.
  for (const char* word : {"X", "PDF", "ID", "OK", "then", "id", "music", "", "\u00C9COLE",
                           "\u01C5a", "x\u00BD", "\xFF\xFE"}) {
    EXPECT_FALSE(reads_as_code(word)) << word;
  }
}

TEST(CodeNames, FindsTheNamesOfAQuery) {
  const std::pair<const char*, Names> cases[] = {
      {"then", {"then"}},
      {"the", {"the"}},
      {"then then", {}},
      {"The Then THEN then", {}},
      {"how does the mixer duck background music", {"mixer", "duck", "background", "music"}},
      {"Where is build_context_pack defined?", {"build_context_pack", "defined"}},
      {"$http.get(url)", {"$http", "get", "url"}},
      {"a.b.c", {"b", "c"}},
      {"foo foo Foo", {"foo", "Foo"}},
      {"Foo Foo", {"Foo"}},
      {"caf\u00E9_au lait", {"caf", "_au", "lait"}},
      {"2fa setup", {"fa", "setup"}},
      {"123 \u00E9", {}},
      {"", {}}};
  for (const auto& [query, names] : cases) EXPECT_EQ(query_names(query), names) << query;
}

TEST(CodeNames, ScannersFindWhatThePatternsFind) {
  const std::regex mixed("[a-z0-9][A-Z]|[A-Z]{2}[a-z]");
  const std::regex name("[A-Za-z_$][A-Za-z0-9_$]*");
  std::mt19937 random(2);
  for (int round = 0; round < 20000; ++round) {
    std::string word;
    for (std::size_t i = random() % 7; i > 0; --i) word += "AZbY"[random() % 4];
    const bool capitalised = word.size() > 1 && word[0] != 'b' && word[1] == 'b';
    ASSERT_EQ(reads_as_code(word), capitalised || std::regex_search(word, mixed)) << word;

    std::string query = "q. ";  // never a single name, never a stop word
    for (std::size_t i = random() % 12; i > 0; --i) query += "Qz_$7. \xC3"[random() % 8];
    Names expected;
    for (std::sregex_iterator match(query.begin(), query.end(), name), end; match != end; ++match) {
      if (std::find(expected.begin(), expected.end(), match->str()) == expected.end()) {
        expected.push_back(match->str());
      }
    }
    ASSERT_EQ(query_names(query), expected) << query;
  }
}

}  // namespace
}  // namespace velmora::workers::retrieval
