// Twice the source takes about twice the steps, whatever the source: counted are the branches of
// the extraction's own code, which is compiled for it, and the bytes that it has the C library
// search, compare, set and copy.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "indexing/parsed_file.h"
#include "support/hostile_sources.h"

// count_steps.c counts them.
extern "C" volatile std::uint64_t steps;

namespace velmora::host::indexing {
namespace {

std::uint64_t steps_of(const std::string& language, const std::string& path,
                       const std::string& source) {
  const ParsedFile file(language, path, source);
  const std::uint64_t before = steps;
  static_cast<void>(find_symbols(file));
  return steps - before;
}

TEST(Steps, GrowWithTheSource) {
  struct Case {
    const char* language;
    test::HostileSource source;
  };
  constexpr std::size_t SIZE = 12'000;
  const Case cases[] = {
      {"csharp", {"entities", ".cs", "/** ", "&lt;", " */ class A {}"}},
      {"csharp", {"tags", ".cs", "/** ", "<a", " */ class A {}"}},
      {"csharp", {"open tags", ".cs", "/** ", "< ", "> */ class A {}"}},
      {"rust", {"derived", ".rs", "#[derive(Debug)]\nstruct A;\n", "fn f() {}\n", ""}},
      {"rust", {"attributes", ".rs", "", "#[a] // b\n", "fn f() {}"}},
      {"java", {"constants", ".java", "class A { static final int A = 1", ", B = 2", "; }"}},
      {"kotlin", {"packages", ".kt", "", "package abcdefghijklmnop.qrstuvwxyz\nfun f() {}\n", ""}},
      {"c", {"functions", ".c", "", "int f(int a) { return a; }\n", ""}},
      {"c", {"comments", ".c", "", "// c\n", "int f(void) {}"}},
      {"go", {"names", ".go", "package a\nconst a", ", b", " = 1"}},
      {"c", {"one body", ".c", "int f(void) {", "g(word);\n", "}"}},
      {"java", {"classes", ".java", "", "class A { void f() { g(word); } }\n", ""}},
      {"javascript", {"assigned", ".js", "", "a.b = {c() {}};\n", ""}},
      {"javascript", {"chained", ".js", "", "a.b = ", "function () {};"}},
      {"javascript", {"objects", ".js", "a.b = ", "{c: ", "1"}},
      {"elixir", {"attributes", ".ex", "defmodule A do\n", "@a 1\n", "def f, do: 1\nend"}},
      {"elixir", {"functions", ".ex", "defmodule A do\n", "@doc \"a\"\ndef f(1), do: 1\n", "end"}},
      {"haskell", {"clauses", ".hs", "f :: Int -> Int\n", "f 0 = 1\n", ""}},
      {"julia", {"functions", ".jl", "", "\"a\"\nf(x) = x\n", ""}},
      {"objc", {"macros", ".m", "", "NS_A(b, (c) ", ""}},
      {"objc", {"methods", ".m", "@implementation A\n", "- (int)a:(int)b { return b; }\n", "@end"}},
      {"ocaml", {"bindings", ".ml", "let a = 1", " and b = 2", ""}},
      {"r", {"calls", ".R", "", "setClass('A', f = function(x) x)\n", ""}},
      {"zig", {"constants", ".zig", "", "const a = 1;\n", ""}},
      {"python", {"docstrings", ".py", "", "def f():\n  '''text'''\n", ""}},
  };
  for (const Case& one : cases) {
    const auto steps_for = [&](std::size_t size) {
      return static_cast<double>(steps_of(one.language, one.source.file(), one.source.text(size)));
    };
    static_cast<void>(steps_for(0));  // the query is compiled once
    EXPECT_LT(steps_for(2 * SIZE), 2.5 * steps_for(SIZE)) << one.source.file();
  }
  // What is far away is not looked at again and again: blanks in front of many functions.
  const auto blanks = [](std::size_t size) {
    std::string source = "/* c */" + std::string(size, ' ');
    for (std::size_t i = 0; i < size / 12; ++i) source += "int f() {}\n";
    return static_cast<double>(steps_of("c", "a.c", source));
  };
  EXPECT_LT(blanks(2 * SIZE), 2.5 * blanks(SIZE));
  // What the parser is given instead of the source.
  const auto macros = [](std::size_t size) {
    std::string source = "int f() ";
    for (std::size_t i = 0; i < size / 6; ++i) source += "AB(c) ";
    const std::uint64_t before = steps;
    static_cast<void>(find_language("c", "a.c")->prepare(source + "x"));
    return static_cast<double>(steps - before);
  };
  EXPECT_LT(macros(2 * SIZE), 2.5 * macros(SIZE));
}

}  // namespace
}  // namespace velmora::host::indexing
