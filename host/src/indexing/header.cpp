#include "indexing/header.h"

#include <algorithm>
#include <array>
#include <span>
#include <string>
#include <utility>

#include "indexing/parsed_file.h"

namespace velmora::host::indexing {
namespace {

// Whether a word of C++ occurs, be it in a comment: a cheap test that spares plain C more parsing.
bool mentions_cpp(std::string_view source) {
  constexpr std::array<std::string_view, 3> WORDS = {"namespace", "class", "template"};
  return std::ranges::any_of(
      WORDS, [&](std::string_view word) { return source.find(word) != std::string_view::npos; });
}

// Whether a line begins with what declares something in Objective-C, in a comment or not.
bool declares_objc(std::string_view source) {
  constexpr std::array<std::string_view, 3> WORDS = {"@interface ", "@protocol ", "@class "};
  return std::ranges::any_of(WORDS, [&](std::string_view word) {
    for (std::size_t at = source.find(word); at != std::string_view::npos;
         at = source.find(word, at + 1)) {
      if (at == 0 || source[at - 1] == '\n') return true;
    }
    return false;
  });
}

// Whether there is a class or something in a namespace. To the grammar of C "namespace n { }" is a
// function without parameters, and no error.
bool declares_cpp(std::span<const index::Symbol> symbols) {
  return std::ranges::any_of(symbols, [](const index::Symbol& symbol) {
    return symbol.kind == "class" || symbol.fqn.find("::") != std::string::npos;
  });
}

}  // namespace

Header read_header(std::string_view path, std::string_view source, std::string_view expected) {
  const auto result = [](const ParsedFile& file) {
    return Header{file.language().name, find_symbols(file)};
  };
  if (find_language("objc", path) != nullptr && declares_objc(source)) {
    return result(ParsedFile("objc", path, source));
  }
  if (expected == "cpp") return result(ParsedFile("cpp", path, source));
  const ParsedFile c("c", path, source);
  const std::size_t c_errors = c.count_errors();
  if (c_errors == 0 && !mentions_cpp(source)) return result(c);
  const ParsedFile cpp("cpp", path, source);
  const std::size_t cpp_errors = cpp.count_errors();
  if (c_errors < cpp_errors) return result(c);
  Header header = result(cpp);
  return cpp_errors < c_errors || declares_cpp(header.symbols) ? std::move(header) : result(c);
}

}  // namespace velmora::host::indexing
