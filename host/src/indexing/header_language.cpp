#include "indexing/header_language.h"

#include <algorithm>
#include <array>
#include <utility>

#include "indexing/language.h"
#include "indexing/parsed_file.h"

namespace velmora::host::indexing {
namespace {

// The folder of a path, "" for the root.
std::string_view parent(std::string_view path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string_view::npos ? std::string_view() : path.substr(0, slash);
}

// Whether a word of C++ occurs, be it in a comment: a cheap test that spares plain C more parsing.
bool mentions_cpp(std::string_view source) {
  constexpr std::array<std::string_view, 3> WORDS = {"namespace", "class", "template"};
  return std::ranges::any_of(
      WORDS, [&](std::string_view word) { return source.find(word) != std::string_view::npos; });
}

// Whether there is a class or something in a namespace. To the grammar of C "namespace n { }" is a
// function without parameters, and no error.
bool declares_cpp(std::span<const index::Symbol> symbols) {
  return std::ranges::any_of(symbols, [](const index::Symbol& symbol) {
    return symbol.kind == "class" || symbol.fqn.find("::") != std::string::npos;
  });
}

}  // namespace

HeaderLanguage::HeaderLanguage(std::span<const std::string> files) {
  for (const std::string& file : files) {
    const Language* const language = language_of(file);
    if (language == nullptr || file.ends_with(".h")) continue;
    const bool c = language->name == "c";
    if (!c && language->name != "cpp") continue;
    std::string_view folder = file;
    do {
      folder = parent(folder);
      Sources& sources = folders_[std::string(folder)];
      ++(c ? sources.c : sources.cpp);
    } while (!folder.empty());
  }
}

bool HeaderLanguage::among_cpp(std::string_view path) const {
  std::string_view folder = path;
  do {
    folder = parent(folder);
    const auto sources = folders_.find(std::string(folder));
    if (sources == folders_.end()) continue;
    return sources->second.cpp > sources->second.c;
  } while (!folder.empty());
  return false;
}

Header HeaderLanguage::read(std::string_view path, std::string_view source,
                            const ExtractOptions& options) const {
  for (const char* name : {"c", "cpp"}) {
    if (const Language* const language = find_language(name)) load_query(*language);
  }
  const Deadline deadline(options.timeout);
  const auto parse = [&](std::string_view language) {
    return ParsedFile(language, path, source, deadline);
  };
  const auto result = [&](const ParsedFile& file) {
    return Header{file.language().name, find_symbols(file, deadline)};
  };
  if (find_language("cpp") == nullptr) return result(parse("c"));
  if (among_cpp(path)) return result(parse("cpp"));
  const ParsedFile c = parse("c");
  const std::size_t c_errors = c.count_errors();
  if (c_errors == 0 && !mentions_cpp(source)) return result(c);
  const ParsedFile cpp = parse("cpp");
  const std::size_t cpp_errors = cpp.count_errors();
  if (c_errors < cpp_errors) return result(c);
  Header header = result(cpp);
  return cpp_errors < c_errors || declares_cpp(header.symbols) ? std::move(header) : result(c);
}

}  // namespace velmora::host::indexing
