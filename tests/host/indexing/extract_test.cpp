#include "velmora/host/indexing/extract.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <span>
#include <sstream>
#include <string>
#include <vector>

#include "indexing/header_language.h"
#include "indexing/parsed_file.h"

namespace velmora::host::indexing {
namespace {

std::string read(const std::string& name) {
  std::ifstream file(std::filesystem::path(__FILE__).parent_path() / "data" / name);
  EXPECT_TRUE(file) << name;
  return {std::istreambuf_iterator<char>(file), {}};
}

// One line a symbol, and one for its docstring.
std::string listed(const std::vector<index::Symbol>& symbols) {
  std::ostringstream list;
  for (const index::Symbol& symbol : symbols) {
    list << symbol.start_line << '-' << symbol.end_line << ' ' << symbol.kind << ' ' << symbol.name
         << " | " << symbol.fqn << " | " << symbol.signature.value_or("none") << '\n';
    if (!symbol.docstring) continue;
    list << "    \"";
    for (const char c : *symbol.docstring) c == '\n' ? list << "\\n" : list << c;
    list << "\"\n";
  }
  return list.str();
}

std::string repeated(std::size_t times, const std::string& text) {
  std::string all;
  for (std::size_t i = 0; i < times; ++i) all += text;
  return all;
}

TEST(Extract, FindsTheSymbolsOfEachLanguage) {
  struct Case {
    const char* language;
    const char* file;
    const char* folder;
  };
  for (const Case& one : {Case{"bash", "deploy.sh", ""},
                          Case{"c", "queue.c", ""},
                          Case{"cpp", "shapes.hpp", "geometry/"},
                          Case{"cpp", "shapes.cpp", "geometry/"},
                          Case{"csharp", "Ledger.cs", ""},
                          Case{"csharp", "Clock.cs", ""},
                          Case{"go", "ledger.go", "books/"},
                          Case{"java", "Ledger.java", ""},
                          Case{"javascript", "cart.js", "web/"},
                          Case{"javascript", "plugin.js", "web/"},
                          Case{"kotlin", "Ledger.kt", ""},
                          Case{"lua", "account.lua", ""},
                          Case{"php", "ledger.php", ""},
                          Case{"php", "legacy.php", ""},
                          Case{"python", "store.py", "app/"},
                          Case{"ruby", "ledger.rb", ""},
                          Case{"rust", "pool.rs", "crates/thing-kit/src/"},
                          Case{"scala", "Ledger.scala", ""},
                          Case{"swift", "Ledger.swift", ""},
                          Case{"typescript", "store.ts", ""},
                          Case{"typescript", "view.tsx", ""}}) {
    const std::string path = std::string(one.folder) + one.file;
    const auto symbols = extract_symbols(one.language, path, read(one.file));
    EXPECT_EQ(listed(symbols), read(std::string(one.file) + ".symbols")) << one.file;
    for (const index::Symbol& symbol : symbols) {
      EXPECT_EQ(symbol.language, one.language);
      EXPECT_EQ(symbol.path, path);
    }
  }
}

TEST(Extract, NamesTheModuleAfterThePath) {
  const auto fqn = [](const char* path) {
    return extract_symbols("python", path, "def f(): pass").at(0).fqn;
  };
  EXPECT_EQ(fqn("a/b/__init__.py"), "a.b.f");
  EXPECT_EQ(fqn("a/my__init__.py"), "a.my__init__.f");
  EXPECT_EQ(fqn("__init__.pyi"), "__init__.f");
}

TEST(Extract, SeesThroughDecoratingMacros) {
  const auto fqns = [](const std::string& source) {
    std::string all;
    for (const auto& symbol : extract_symbols("cpp", "a.h", source)) all += symbol.fqn + ' ';
    return all;
  };
  EXPECT_EQ(fqns("BEGIN_NAMESPACE\nnamespace n VISIBLE(yes) {\nclass API(1) A OLD : B {\n"
                 "  NODISCARD int f() const NOTHROW;\n  API\n  A(int);\n};\n}\nEND_NAMESPACE\n"),
            "n::A n::A::f n::A::A ");
  // A type in capitals is no decoration, and a macro that names its arguments defines something.
  EXPECT_EQ(extract_symbols("c", "a.h", "BOOL f(int);").at(0).signature, "f(int) -> BOOL");
  EXPECT_EQ(extract_symbols("c", "a.h", "BOOL\nf(int);").at(0).signature, "f(int) -> BOOL");
  EXPECT_EQ(fqns("TEST(A, B)\n{\n}\nCASE(c) {}\n"), "A::B c ");
  EXPECT_EQ(fqns("static MY_INLINE word_t\nf(int a)\n{\n}\n"), "f ");
  EXPECT_EQ(fqns("#define LIST \\\n  ITEM \\\n  int f();\n"), "LIST ");
}

// Each source costs a bounded time and little memory, and what is sound in it is found.
TEST(Extract, SurvivesHostileSources) {
  struct Case {
    const char* what;
    const char* language;
    std::string source;
    std::size_t symbols;
  };
  const std::string megabyte(1 << 20, 'x');
  const std::vector<Case> cases = {
      {"empty", "c", "", 0},
      // Above 65535 children of one node.
      {"comments", "c", repeated(70'000, "//\n") + "int f(void) {}", 1},
      {"directives", "cpp", repeated(70'000, "#if A\n"), 0},
      {"branches", "python", "def f(a):\n if a: b\n" + repeated(100'000, " elif a: b\n"), 1},
      {"one line", "c", repeated(40'000, "int f(int a) {return a;} "), 40'000},
      {"nested classes", "python",
       [] {
         std::string source;
         for (std::size_t i = 0; i < 500; ++i) source += std::string(i, ' ') + "class A:\n";
         return source + std::string(500, ' ') + "pass\n";
       }(),
       65},  // scopes within 64 others
      {"long name", "c", "int " + megabyte + "(void);\nint f(void) {}", 1},
      {"declarators", "c", "const int a = 1" + repeated(10'000, ", b = 1") + ";", 64},
      {"unterminated string", "python", "def f(): pass\ns = \"\"\"" + megabyte, 1},
      {"unterminated comment", "c", "int f(void) {}\n/*" + megabyte, 1},
      {"invalid UTF-8", "python", "def f():\n  '''\xC3\x28\xFF'''\n", 1},
  };
  // What is found is the matter here, however slow the machine.
  const ExtractOptions ample = {.timeout = std::chrono::minutes(10)};
  for (const Case& one : cases) {
    EXPECT_EQ(extract_symbols(one.language, "a.c", one.source, ample).size(), one.symbols)
        << one.what;
  }
  EXPECT_EQ(extract_symbols("python", "a.py", cases.back().source).at(0).docstring, "\xC3\x28\xFF");
}

TEST(Extract, RefusesWhatWouldTakeTooLong) {
  const auto reason = [](const std::string& source, const ExtractOptions& options) -> std::string {
    try {
      return std::to_string(extract_symbols("cpp", "a.cpp", source, options).size());
    } catch (const ExtractError& error) {
      return error.what();
    }
  };
  using std::chrono::microseconds;
  EXPECT_EQ(reason("int x = " + std::string(100'000, '('), {}), "it is nested too deeply");
  EXPECT_EQ(reason(repeated(100'000, "template <class T> "), {.timeout = microseconds(1'000)}),
            "parsing it takes too long");
  EXPECT_EQ(reason("int f() {}", {}), "1");
  EXPECT_THROW(static_cast<void>(extract_symbols("cobol", "a.cob", "")), std::invalid_argument);
}

// Once the time of a file is over, no step of reading it begins anew with all of it.
TEST(Extract, AllStepsShareOneLimit) {
  const auto reason = [](const auto& step) -> std::string {
    try {
      static_cast<void>(step());
    } catch (const ExtractError& error) {
      return error.what();
    }
    return "";
  };
  const std::string source = "namespace n { class A { int f(); }; }";
  const Deadline ample(std::chrono::hours(1));
  const Deadline spent(std::chrono::microseconds(0));
  const ParsedFile parsed("cpp", "a.h", source, ample);
  const HeaderLanguage headers(std::span<const std::string>{});
  const auto header = [&](std::chrono::microseconds timeout) {
    return headers.read("a.h", source, {.timeout = timeout});
  };
  constexpr const char* TOO_LONG = "parsing it takes too long";
  EXPECT_EQ(reason([&] { return ParsedFile("c", "a.h", source, spent).count_errors(); }), TOO_LONG);
  EXPECT_EQ(reason([&] { return find_symbols(parsed, spent); }), TOO_LONG);
  EXPECT_EQ(reason([&] { return header(std::chrono::microseconds(0)); }), TOO_LONG);
  EXPECT_EQ(listed(header(std::chrono::hours(1)).symbols), listed(find_symbols(parsed, ample)));
}

}  // namespace
}  // namespace velmora::host::indexing
