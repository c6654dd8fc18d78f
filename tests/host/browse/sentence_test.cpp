#include "browse/sentence.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace velmora::host::browse {
namespace {

TEST(Sentence, BeginsWithAWordOfProseUnlessItNamesAThing) {
  const auto is_thing = [](std::string_view word) { return word == "Request"; };
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"Align the columns", "align the columns"},
      {"  Where, then, is it?", "  where, then, is it?"},
      {"Read it. Write Request to it", "read it. write Request to it"},
      {"net: Close idle sockets", "net: close idle sockets"},
      {"Align the Columns, Align", "align the Columns, Align"},  // later ones may be names
      {"Request times out", "Request times out"},
      {"Align", "Align"},
      {"Align Columns", "Align Columns"},
      {"PDF is read", "PDF is read"},
      {"HttpServer is slow", "HttpServer is slow"},
      {"A page", "A page"},
      {"Align. the columns", "Align. the columns"},
      {"\xC3\x84hnlich wie das", "\xC3\x84hnlich wie das"},
      {". ", ". "},
      {"", ""}};
  for (const auto& [typed, read] : cases) EXPECT_EQ(read_as_sentence(typed, is_thing), read);
}

}  // namespace
}  // namespace velmora::host::browse
