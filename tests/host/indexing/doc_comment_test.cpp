#include "indexing/doc_comment.h"

#include <gtest/gtest.h>

#include <string_view>

namespace velmora::host::indexing {
namespace {

TEST(DocComment, KeepsTheProseOnly) {
  constexpr std::string_view SLASHES[] = {"///", "//!", "//"};
  constexpr std::string_view CASES[][2] = {
      {"/// One.\n\t///   two\n///\n/// three  ", "One.\n  two\n\nthree"},
      {"// -----\r\n//! Mixed\r\n// ====", "Mixed"},
      {"//", ""},
      {"/**/", ""},
      {"/***** drawn out *****/", "drawn out"},
      {"/*!\n * a\n *\n *   - b\n */", "a\n\n  - b"},
      {"/* first\n   second\n     third */", "first\nsecond\n  third"},
      {"/*\n  * not\n  all starred\n*/", "* not\nall starred"},
      {"/* unterminated", "unterminated"},
      {"--[[ a [b]\n  c ]]", "a [b]\nc"},
      {"--[==[\nx\n]==]", "x"},
      {"--[[", ""},
      {"=begin\n x\n  y\n=end", "x\n y"},
      {"=begin", ""},
  };
  for (const auto& [comment, text] : CASES) EXPECT_EQ(comment_text(comment, SLASHES), text);

  EXPECT_EQ(without_directives("frozen_string_literal: true\n\nKept.\nrubocop:disable all"),
            "Kept.");
  EXPECT_EQ(docstring_text("First.\n\n      deep\n    less\n    "), "First.\n\n  deep\nless");
  EXPECT_EQ(docstring_text(" \n\t\n"), "");
}

TEST(DocComment, TellsWhatIsNoDocumentation) {
  EXPECT_TRUE(is_trailing_comment("///< of the member before"));
  EXPECT_TRUE(is_trailing_comment("/**< too */"));
  EXPECT_FALSE(is_trailing_comment("// < b"));
  EXPECT_FALSE(is_trailing_comment("///"));
  EXPECT_TRUE(is_licence("// (C) COPYRIGHT 2026"));
  EXPECT_FALSE(is_licence("// Checks the licence of a file."));
}

}  // namespace
}  // namespace velmora::host::indexing
