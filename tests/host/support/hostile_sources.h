// Sources made to break a parser, or whoever waits for it, in every language.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace velmora::host::test {

// Something to repeat, between a beginning and an end.
struct HostileSource {
  std::string_view name;       // of the file, without its extension
  std::string_view extension;  // with the dot
  std::string_view start;
  std::string_view repeated;
  std::string_view end;

  [[nodiscard]] std::string file() const { return std::string(name).append(extension); }

  // The source, of about so many bytes. Lines are short: long ones would be taken for generated.
  [[nodiscard]] std::string text(std::size_t bytes) const {
    std::string text(start);
    std::size_t line = text.size();  // where it begins
    while (text.size() < bytes) {
      text += repeated;
      if (text.size() - line > 1000 && text.find('\n', line) == text.npos) text += '\n';
      if (text.back() == '\n') line = text.size();
    }
    return text.append(end);
  }
};

inline constexpr std::string_view EVERY_EXTENSION[] = {
    ".c",  ".h",  ".cpp", ".cs",  ".dart",  ".ex",    ".go", ".hs",  ".java",
    ".jl", ".js", ".kt",  ".lua", ".ml",    ".mli",   ".mm", ".php", ".py",
    ".r",  ".rb", ".rs",  ".sh",  ".scala", ".swift", ".ts", ".tsx", ".zig"};

// What is known to hurt one language, ...
inline constexpr HostileSource HOSTILE_SOURCES[] = {
    {"less", ".cs", "class A { void f() {\n", "A<B<C\n", ""},
    {"entities", ".cs", "/** ", "&lt;", " */ class A {}"},
    {"tags", ".cs", "/** ", "<a", " */ class A {}"},
    {"annotations", ".java", "", "@a ", "class A {}"},
    {"annotations", ".kt", "", "@a ", "class A"},
    {"templates", ".kt", "val a = ", "\"${", ""},
    {"words", ".rs", "", "%w(", ""},
    {"words", ".java", "", "%w(", ""},
    {"words", ".rb", "", "%w(", ""},
    {"products", ".java", "", "a(*", ""},
    {"scopes", ".java", "", "class Abcdefghijklmnopqrstuvwxyz { int a() {} ", ""},
    {"packages", ".kt", "", "package abcdefghijklmnop.qrstuvwxyz\nfun f() {}\n", ""},
    {"constants", ".java", "class A { static final int A = 1", ", B = 2", "; }"},
    {"quotes", ".lua", "", "%q[", ""},
    {"formats", ".rs", "", "f'{%q[> ", ""},
    {"derived", ".rs", "#[derive(Debug)]\nstruct A;\n", "fn f() {}\n", ""},
    {"attributes", ".rs", "", "#[a] // b\n", "fn f() {}"},
    {"macros", ".c", "int f() ", "AB(c) ", "x"},
    {"blanks", ".c", "// c\n", "                                \n", "int f() {} int g() {}"},
    {"clauses", ".hs", "", "f 0 = 1\n", ""},
    {"attributes", ".ex", "defmodule A do\n", "@a 1\n", "def f, do: 1\nend"},
    {"heredocs", ".rb", "", "<<A + ", ""},
    {"heredocs", ".sh", "", "cat <<A\n", ""},
    {"substitutions", ".sh", "", "$((", ""},
    {"directives", ".swift", "", "#if a\n", "#endif"},
    {"hashes", ".swift", "let a = ", "#", "\"a"},
    {"generics", ".cpp", "", "template <class T> ", ""},
    {"indents", ".py", "", "if a:\n ", ""},
    {"formats", ".py", "", "f\"{", ""},
    {"tags", ".tsx", "const a = ", "<a>{", ""},
    {"regexes", ".js", "", "/[(?", ""},
};

// ... and what hurts many: brackets, strings and comments that never close, and operators without
// end.
inline std::vector<HostileSource> hostile_sources() {
  std::vector<HostileSource> all(std::begin(HOSTILE_SOURCES), std::end(HOSTILE_SOURCES));
  for (const std::string_view extension : EVERY_EXTENSION) {
    all.push_back({"open", extension, "a = ", "([{", ""});
    all.push_back({"closed", extension, "", "}])", ""});
    all.push_back({"pointed", extension, "", "a<", ""});
    all.push_back({"string", extension, "a = \"", "a /* - ", ""});
    all.push_back({"odd", extension, "", "\xFF\xC3\x28 \\ ", ""});
  }
  return all;
}

}  // namespace velmora::host::test
