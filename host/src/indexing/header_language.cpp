#include "indexing/header_language.h"

#include <algorithm>
#include <array>

#include "indexing/language.h"
#include "velmora/host/indexing/extract.h"

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
bool declares_cpp(std::string_view path, std::string_view source) {
  return std::ranges::any_of(extract_symbols("cpp", path, source), [](const auto& symbol) {
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

std::string_view HeaderLanguage::decide(std::string_view path, std::string_view source) const {
  if (find_language("cpp") == nullptr) return "c";
  if (among_cpp(path)) return "cpp";
  const std::size_t errors = count_errors("c", path, source);
  if (errors == 0 && !mentions_cpp(source)) return "c";
  const std::size_t cpp_errors = count_errors("cpp", path, source);
  if (cpp_errors != errors) return cpp_errors < errors ? "cpp" : "c";
  return declares_cpp(path, source) ? "cpp" : "c";
}

}  // namespace velmora::host::indexing
