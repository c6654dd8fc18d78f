#include "workers/retrieval/words.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <regex>

#include "velmora/workers/retrieval.h"
#include "workers/retrieval/vocabulary.h"

namespace velmora::workers::retrieval {
namespace {

using Words = std::vector<std::string>;

TEST(Words, SplitsIdentifiers) {
  const std::pair<const char*, Words> cases[] = {
      {"getHTTPResponse_v2", {"get", "http", "response", "v", "2"}},
      {"src/x-news-source.ts", {"src", "x", "news", "source", "ts"}},
      {"XMLHttpRequest", {"xml", "http", "request"}},
      {"MyURLParser2", {"my", "url", "parser", "2"}},
      {"ABC123def", {"abc", "123", "def"}},
      {"PDFs", {"pd", "fs"}},
      {"IPv6Address", {"i", "pv", "6", "address"}},
      {"na\u00EFveBayes", {"na", "ve", "bayes"}},
      {"\u00C9coleNormale", {"cole", "normale"}},
      {"x\u00B2", {"x"}},
      {"__tag__ A", {"tag", "a"}},
      {"", {}}};
  for (const auto& [text, words] : cases) EXPECT_EQ(split_identifier(text), words) << text;
}

TEST(Words, ScannerFindsWhatThePatternFinds) {
  const std::regex pattern("[A-Z]+(?=[A-Z][a-z])|[A-Z]?[a-z]+|[A-Z]+|[0-9]+");
  std::mt19937 random(1);
  for (int round = 0; round < 20000; ++round) {
    std::string text;
    for (std::size_t i = random() % 12; i > 0; --i) text += "ABzy09_ \xC3"[random() % 9];
    Words expected;
    for (std::sregex_iterator match(text.begin(), text.end(), pattern), end; match != end;
         ++match) {
      std::string word = match->str();
      std::transform(word.begin(), word.end(), word.begin(), ::tolower);
      expected.push_back(std::move(word));
    }
    ASSERT_EQ(split_identifier(text), expected) << text;
  }
}

TEST(Words, QuestionsGiveTheirTermsOnce) {
  const std::pair<const char*, Words> cases[] = {
      {"The quick DOG", {"quick", "dog"}},
      {"what is it", {}},
      {"iOS don't", {"os", "don"}},
      {"parse Parse PARSE tree parse", {"parse", "tree"}},
      {"How do the tests for pytest fixtures work", {"tests", "pytest", "fixtures", "work"}}};
  for (const auto& [text, terms] : cases) EXPECT_EQ(query_terms(text), terms) << text;
  for (const char* text : {"conftest.py", "unittest.mock", "TestCase", "a Spec"}) {
    EXPECT_TRUE(is_test_query(query_terms(text))) << text;
  }
  for (const char* text : {"contest", "latest", ""}) {
    EXPECT_FALSE(is_test_query(query_terms(text))) << text;
  }
}

// The words that an index keeps of a text.
Words kept(std::string_view text) {
  internal::Vocabulary vocabulary;
  std::vector<internal::WordId> ids;
  vocabulary.append_words(text, ids);
  Words words;
  for (const internal::WordId id : ids) words.emplace_back(vocabulary.word(id));
  return words;
}

TEST(Words, VocabularyLeavesOutStopWordsAndKeepsOrderAndRepeats) {
  EXPECT_EQ(kept("get_user get_user"), (Words{"get", "user", "get", "user"}));
  EXPECT_EQ(kept("the_and"), Words{});
  EXPECT_EQ(kept("The HTTPServer of an"), (Words{"http", "server"}));
}

TEST(Words, TenMillionLettersNeitherCrashNorCrawl) {
  const std::string letters(10'000'000, 'a');
  EXPECT_EQ(split_identifier(letters), Words{letters});
  EXPECT_EQ(kept(std::string(10'000'000, 'A')), Words{letters});
}

}  // namespace
}  // namespace velmora::workers::retrieval
