#include "cli/terminal.h"

#include <gtest/gtest.h>

#include <map>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

#include "text/layout.h"

namespace velmora::host::cli {
namespace {

using text::columns;
using text::cut_to;
using text::first_sentence;
using text::folded;
using text::on_one_line;

TEST(Terminal, ColourFollowsTheStrongestWish) {
  using Variables = std::map<std::string, std::string>;
  const std::vector<std::tuple<std::string, bool, Variables, bool>> cases = {
      {"auto", true, {{"TERM", "xterm"}}, true},
      {"auto", false, {{"TERM", "xterm"}}, false},
      {"auto", true, {}, false},
      {"auto", true, {{"TERM", "dumb"}}, false},
      {"auto", true, {{"TERM", "xterm"}, {"CLICOLOR", "0"}}, false},
      {"auto", true, {{"TERM", "xterm"}, {"NO_COLOR", "1"}}, false},
      {"auto", true, {{"TERM", "xterm"}, {"NO_COLOR", ""}}, true},
      {"auto", false, {{"TERM", "dumb"}, {"FORCE_COLOR", "1"}}, true},
      {"auto", false, {{"FORCE_COLOR", "0"}}, false},
      {"auto", false, {{"CLICOLOR_FORCE", "1"}}, true},
      {"auto", true, {{"TERM", "xterm"}, {"NO_COLOR", "1"}, {"FORCE_COLOR", "1"}}, false},
      {"always", false, {{"TERM", "dumb"}, {"NO_COLOR", "1"}}, true},
      {"never", true, {{"TERM", "xterm"}, {"FORCE_COLOR", "1"}}, false},
  };
  for (const auto& [choice, is_terminal, variables, expected] : cases) {
    const auto environment = [&known = variables](const char* name) -> const char* {
      const auto found = known.find(name);
      return found == known.end() ? nullptr : found->second.c_str();
    };
    EXPECT_EQ(wants_color(choice, is_terminal, environment), expected)
        << choice << " " << is_terminal << " " << ::testing::PrintToString(variables);
  }
}

TEST(Terminal, LinksToPlacesInFiles) {
  const auto url = [](const char* choice) {
    return HyperlinkFormat::of(choice)->url("/a b/\u00E9\x1B.c", 7, 2);
  };
  EXPECT_EQ(url("vscode"), "vscode://file/a%20b/%C3%A9%1B.c:7:2");
  EXPECT_EQ(url("x://h?f={path}&l={line}"), "x://h?f=/a%20b/%C3%A9%1B.c&l=7");
  EXPECT_TRUE(url("auto").starts_with("file://"));
  EXPECT_TRUE(url("auto").ends_with("/a%20b/%C3%A9%1B.c"));
  EXPECT_FALSE(HyperlinkFormat::of("none"));
  for (const char* wrong : {"", "emax", "{path}:1", "x:{line}", "x:{path}{row}", "x:{path}{line",
                            "x:{path}}", "x:{path}\x1B", "x:{path} "}) {
    EXPECT_THROW(static_cast<void>(HyperlinkFormat::of(wrong)), std::invalid_argument) << wrong;
  }
  Look look{.color = true, .links = HyperlinkFormat::of("x:{path}:{line}")};
  EXPECT_EQ(look.place("/r", "a\n", 3),
            "\033]8;;x:/r/a%0A:3\033\\\033[35ma\uFFFD\033[0m:\033[32m3\033[0m\033]8;;\033\\");
  look.color = false;
  EXPECT_EQ(look.place("", "a", 3), "a:3");
}

TEST(TextLayout, FoldsAndCuts) {
  EXPECT_EQ(columns("e\u0301\u4E2Dx"), 4U);
  EXPECT_EQ(on_one_line("\n int  f(\n\tint a)\x1B \n"), "int f( int a)\uFFFD");
  EXPECT_EQ(cut_to("abcdef", 6), "abcdef");
  EXPECT_EQ(cut_to("abcdefg", 6), "abcde\u2026");
  EXPECT_EQ(cut_to("abcdef ghij", 9), "abcdef\u2026");  // no room for "ghij"
  EXPECT_EQ(cut_to("ab", 1), "\u2026");
  using Lines = std::vector<std::string>;
  EXPECT_EQ(folded("one two threefour five", 8, 9), (Lines{"one two", "threefou", "r five"}));
  EXPECT_EQ(folded("one two threefour five", 8, 2), (Lines{"one two", "threefo\u2026"}));
  EXPECT_EQ(folded("\u4E2D\u4E2D", 1, 9), (Lines{"\u4E2D", "\u4E2D"}));
  EXPECT_EQ(folded("", 8, 2), Lines{});
}

TEST(TextLayout, FindsTheFirstSentence) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"Reads settings.", "Reads settings."},
      {"\n  Reads\n  settings. Slowly.", "Reads settings."},
      {"Uses e.g. this file.c or 1.5! More", "Uses e.g. this file.c or 1.5!"},
      {"No stop\n\nMore", "No stop"},
      {"No stop\n  @param x More", "No stop"},
      {"", ""},
      {" \n", ""},
      {std::string(100'000, ' ') + "x", ""},
  };
  for (const auto& [docstring, sentence] : cases) EXPECT_EQ(first_sentence(docstring), sentence);
}

}  // namespace
}  // namespace velmora::host::cli
