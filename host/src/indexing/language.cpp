#include "indexing/language.h"

#include <algorithm>
#include <array>

#include "indexing/c_family.h"
#include "indexing/c_macros.h"
#include "indexing/python.h"
#include "indexing/queries.h"

extern "C" {
const TSLanguage* tree_sitter_c();
const TSLanguage* tree_sitter_cpp();
const TSLanguage* tree_sitter_python();
}

namespace velmora::host::indexing {
namespace {

using Words = std::string_view[];

constexpr Words C_EXTENSIONS = {".c", ".h"};
constexpr Words CPP_EXTENSIONS = {".cpp", ".cc",  ".cxx", ".c++", ".C",   ".hpp", ".hh",
                                  ".hxx", ".h++", ".H",   ".ipp", ".tpp", ".tcc", ".inl"};
constexpr Words PYTHON_EXTENSIONS = {".py", ".pyi", ".pyw"};

constexpr Words C_QUERIES = {queries::c};
constexpr Words CPP_QUERIES = {queries::c, queries::cpp};
constexpr Words PYTHON_QUERIES = {queries::python};

constexpr Words SLASHES = {"///", "//!", "//"};
constexpr Words HASHES = {"#:", "#"};

const std::array LANGUAGES = {
    Language{.name = "c",
             .extensions = C_EXTENSIONS,
             .grammar = tree_sitter_c,
             .queries = C_QUERIES,
             .separator = "",
             .line_comments = SLASHES,
             .describe = describe_c_family,
             .prepare = blank_macros,
             .module = nullptr,
             .module_docstring = nullptr},
    Language{.name = "cpp",
             .extensions = CPP_EXTENSIONS,
             .grammar = tree_sitter_cpp,
             .queries = CPP_QUERIES,
             .separator = "::",
             .line_comments = SLASHES,
             .describe = describe_c_family,
             .prepare = blank_macros,
             .module = nullptr,
             .module_docstring = nullptr},
    Language{.name = "python",
             .extensions = PYTHON_EXTENSIONS,
             .grammar = tree_sitter_python,
             .queries = PYTHON_QUERIES,
             .separator = ".",
             .line_comments = HASHES,
             .describe = describe_python,
             .prepare = nullptr,
             .module = python_module,
             .module_docstring = python_docstring},
};

}  // namespace

const Language* find_language(std::string_view name) {
  const auto* const found = std::ranges::find(LANGUAGES, name, &Language::name);
  return found == LANGUAGES.end() ? nullptr : found;
}

const Language* language_of(std::string_view path) {
  const std::string_view file = path.substr(path.rfind('/') + 1);
  const std::size_t dot = file.rfind('.');
  if (dot == std::string_view::npos) return nullptr;
  const auto* const found = std::ranges::find_if(LANGUAGES, [&](const Language& language) {
    return std::ranges::find(language.extensions, file.substr(dot)) != language.extensions.end();
  });
  return found == LANGUAGES.end() ? nullptr : found;
}

}  // namespace velmora::host::indexing
