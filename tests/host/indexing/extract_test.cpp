#include "indexing/extract.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "indexing/embedded_source.h"
#include "indexing/language_names.h"

namespace velmora::host::indexing {
namespace {

std::string read(const std::string& name) {
  std::ifstream file(std::filesystem::path(VELMORA_SAMPLES) / name);
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
                          Case{"csharp", "Program.cs", ""},
                          Case{"dart", "ledger.dart", ""},
                          Case{"elixir", "ledger.ex", ""},
                          Case{"go", "ledger.go", "books/"},
                          Case{"go", "command.go", "books/"},
                          Case{"haskell", "Ledger.hs", ""},
                          Case{"java", "Ledger.java", ""},
                          Case{"java", "package-info.java", "src/org/example/ledger/"},
                          Case{"java", "module-info.java", "src/"},
                          Case{"javascript", "cart.js", "web/"},
                          Case{"javascript", "plugin.js", "web/"},
                          Case{"javascript", "vendor.js", "web/"},
                          Case{"julia", "ledger.jl", ""},
                          Case{"kotlin", "Ledger.kt", ""},
                          Case{"lua", "account.lua", ""},
                          Case{"objc", "Ledger.m", ""},
                          Case{"objc", "ledger.h", ""},
                          Case{"ocaml", "ledger.ml", "src/"},
                          Case{"ocaml", "ledger.mli", "src/"},
                          Case{"php", "ledger.php", ""},
                          Case{"php", "legacy.php", ""},
                          Case{"python", "store.py", "app/"},
                          Case{"r", "ledger.R", ""},
                          Case{"ruby", "ledger.rb", ""},
                          Case{"rust", "pool.rs", "crates/thing-kit/src/"},
                          Case{"scala", "Ledger.scala", ""},
                          Case{"swift", "Ledger.swift", ""},
                          Case{"typescript", "store.ts", ""},
                          Case{"typescript", "view.tsx", ""},
                          Case{"zig", "ledger.zig", ""},
                          Case{"typescript", "Cart.vue", ""},
                          Case{"javascript", "Stock.svelte", ""},
                          Case{"python", "model.ipynb", "analysis/"}}) {
    const std::string path = std::string(one.folder) + one.file;
    std::string source = read(one.file);
    if (auto embedded = embedded_source(path, language_of(path), source)) {
      EXPECT_EQ(embedded->language, one.language);
      source = std::move(embedded->text);
    }
    const auto symbols = extract_symbols(one.language, path, source);
    EXPECT_EQ(listed(symbols), read(std::string(one.file) + ".symbols")) << one.file;
    for (const index::Symbol& symbol : symbols) {
      EXPECT_EQ(symbol.language, one.language);
      EXPECT_EQ(symbol.path, path);
    }
  }
}

TEST(Extract, NamesTheModuleAfterThePath) {
  constexpr const char* PYTHON[][2] = {{"a/b/__init__.py", "a.b.f"},
                                       {"a/my__init__.py", "a.my__init__.f"},
                                       {"__init__.pyi", "__init__.f"}};
  for (const auto& [path, name] : PYTHON) {
    EXPECT_EQ(extract_symbols("python", path, "def f(): pass").at(0).fqn, name);
  }
  constexpr const char* SCRIPTS[][2] = {
      {"web/user.service.ts", "user.Cart.f"}, {"web/Cart.ts", "Cart.f"},
      {"web/cart/index.ts", "cart.Cart.f"},   {"Cart/src/index.ts", "Cart.f"},
      {"src/index.ts", "index.Cart.f"},       {".config.ts", "config.Cart.f"}};
  for (const auto& [path, name] : SCRIPTS) {
    const auto symbols = extract_symbols("typescript", path, "class Cart { f() {} }");
    EXPECT_EQ(symbols.at(1).fqn, name) << path;
    EXPECT_EQ(symbols.at(1).signature, "Cart.f()") << path;
  }
}

// The grammar loses count of blocks where lines in brackets are indented less than those around
// them.
TEST(Extract, ListsNothingLocalToATornFunction) {
  std::string names;
  for (const auto& symbol :
       extract_symbols("python", "a.py",
                       "class Odd:\n    def lines(self):\n"
                       "        def local():\n            (bar.\n        baz)\n"
                       "            (bar.\n        baz(\n        ))\n"
                       "        for line in local(): self.a(line)\n")) {
    names += symbol.fqn + ' ';
  }
  EXPECT_EQ(names, "a.Odd a.Odd.lines ");
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

TEST(Extract, KeepsTheWordsOfBodies) {
  struct Case {
    const char* language;
    std::string source;
    const char* symbol;
    std::string words;
  };
  const std::string python =
      "class Store(Base):\n"
      "    limit = 3\n"
      "    @cached\n"
      "    def loadAll(self, path):\n"
      "        \"\"\"Reads settings.\"\"\"\n"
      "        # Falls back to the Settings of HTTPReader and that is it.\n"
      "        text = open(path).read_text(\"utf8\", 3)\n"
      "        def local(): return text\n";
  const std::string long_word(LONGEST_BODY_WORDS, 'x');
  const std::vector<Case> cases = {
      {"python", python, "loadAll",
       "cached def self falls back http reader text open read utf 8 3 local return"},
      // With what stands in its members.
      {"python", python, "Store",
       "class limit 3 cached def load self path reads settings falls back http reader text open"
       " read utf 8 local return"},
      // One definition, and what each of its names does not say itself; the path says "a" and "b".
      {"c", "const int first = 1, second = 2; // a", "first", "second 2"},
      {"c", "const int first = 1, second = 2; // a", "second", "first 1"},
      {"cpp", "#define LIST(x) \\\n  each(x)\n", "LIST", "define"},
      {"cpp", "template <class T>\nAPI_EXPORT T top(Heap<T>& heap) noexcept { return heap[0]; }",
       "top", "template api export return 0"},
      {"rust", "// Above.\n#[inline]\nfn f() -> u8 { self.rdr.get_ref(); }", "f",
       "inline fn self rdr get ref"},
      {"javascript",
       "/** Joins. */ export function join() { connect(\"root\", {password: \"hunter\"}); }",
       "join", "export function connect root password"},
      {"go", "package a\nfunc F() {/*" + repeated(200'000, " the of") + "*/}", "F", "func"},
      {"go", "package a\nfunc F() { x" + std::string(1 << 20, 'x') + " }", "F", "func"},
      {"go", "package a\nfunc F() { y(" + long_word + ") }", "F", "func y"},
  };
  for (const Case& one : cases) {
    const auto symbols = extract_symbols(one.language, "a/b", one.source);
    const auto found = std::ranges::find(symbols, one.symbol, &index::Symbol::name);
    ASSERT_NE(found, symbols.end()) << one.symbol;
    EXPECT_EQ(found->words, one.words) << one.symbol;
  }
  // A million words, all of them different.
  std::string body;
  for (int i = 0; i < 1'000'000; ++i) {
    std::string word = std::to_string(i);
    for (char& c : word) c = static_cast<char>(c - '0' + 'k');
    body += ' ' + word;
  }
  const auto symbols = extract_symbols("c", "a/b", "int f(void) { /*" + body + " */ }");
  const std::string& words = symbols.at(0).words;
  EXPECT_EQ(std::ranges::count(words, ' ') + 1, static_cast<std::ptrdiff_t>(MOST_BODY_WORDS));
  EXPECT_TRUE(words.starts_with("k l n o p")) << words;
}

// What is sound in a source is found, whatever is around it.
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
  for (const Case& one : cases) {
    EXPECT_EQ(extract_symbols(one.language, "a.c", one.source).size(), one.symbols) << one.what;
  }
  EXPECT_EQ(extract_symbols("python", "a.py", cases.back().source).at(0).docstring, "\xC3\x28\xFF");
}

TEST(Extract, BoundsWhatASymbolTakes) {
  // A class within classes, each name 26 bytes: in the 38th the qualified name has 1025 bytes.
  std::string source;
  for (int i = 0; i < 60; ++i) source += "class Abcdefghijklmnopqrstuvwxyz {\n";
  const auto nested = extract_symbols("java", "A.java", source + std::string(60, '}'));
  EXPECT_EQ(nested.size(), 37U);
  const std::string parameters = repeated(10'000, "\xC3\xA4");
  const auto symbols = extract_symbols("python", "a.py", "def fg(" + parameters + "): pass");
  EXPECT_EQ(symbols.at(0).signature->size(), 16383U) << "in front of the character that is cut";
  // Comments far from what follows, and attributes of something else, document nothing.
  EXPECT_EQ(extract_symbols("c", "a.c", "/* c */ int a(void) {} int b(void) {}").at(1).docstring,
            std::nullopt);
  const auto rust = extract_symbols("rust", "a.rs", "#[a]\n// c\n#[b]\nfn f() {}\nfn g() {}");
  EXPECT_EQ(rust.at(0).start_line, 1);
  EXPECT_EQ(rust.at(1).start_line, 5);
  EXPECT_THROW(static_cast<void>(extract_symbols("cobol", "a.cob", "")), std::invalid_argument);
}

}  // namespace
}  // namespace velmora::host::indexing
