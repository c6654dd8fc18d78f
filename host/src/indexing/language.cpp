#include "indexing/language.h"

#include <algorithm>
#include <array>

#include "indexing/c_family.h"
#include "indexing/c_macros.h"
#include "indexing/go.h"
#include "indexing/java_family.h"
#include "indexing/kotlin_family.h"
#include "indexing/python.h"
#include "indexing/queries.h"
#include "indexing/rust.h"
#include "indexing/script_family.h"

extern "C" {
const TSLanguage* tree_sitter_c();
const TSLanguage* tree_sitter_cpp();
const TSLanguage* tree_sitter_c_sharp();
const TSLanguage* tree_sitter_go();
const TSLanguage* tree_sitter_java();
const TSLanguage* tree_sitter_javascript();
const TSLanguage* tree_sitter_kotlin();
const TSLanguage* tree_sitter_python();
const TSLanguage* tree_sitter_rust();
const TSLanguage* tree_sitter_scala();
const TSLanguage* tree_sitter_swift();
const TSLanguage* tree_sitter_tsx();
const TSLanguage* tree_sitter_typescript();
}

namespace velmora::host::indexing {
namespace {

using Words = std::string_view[];

constexpr Words C_EXTENSIONS = {".c", ".h"};
constexpr Words CPP_EXTENSIONS = {".cpp", ".cc",  ".cxx", ".c++", ".C",   ".hpp", ".hh",
                                  ".hxx", ".h++", ".H",   ".ipp", ".tpp", ".tcc", ".inl"};
constexpr Words CSHARP_EXTENSIONS = {".cs", ".csx"};
constexpr Words GO_EXTENSIONS = {".go"};
constexpr Words JAVA_EXTENSIONS = {".java"};
constexpr Words JAVASCRIPT_EXTENSIONS = {".js", ".jsx", ".mjs", ".cjs"};
constexpr Words KOTLIN_EXTENSIONS = {".kt", ".kts"};
constexpr Words PYTHON_EXTENSIONS = {".py", ".pyi", ".pyw"};
constexpr Words RUST_EXTENSIONS = {".rs"};
constexpr Words SCALA_EXTENSIONS = {".scala", ".sc"};
constexpr Words SWIFT_EXTENSIONS = {".swift"};
constexpr Words TSX_EXTENSIONS = {".tsx"};
constexpr Words TYPESCRIPT_EXTENSIONS = {".ts", ".mts", ".cts"};

constexpr Words C_QUERIES = {queries::c};
constexpr Words CPP_QUERIES = {queries::c, queries::cpp};
constexpr Words CSHARP_QUERIES = {queries::csharp};
constexpr Words GO_QUERIES = {queries::go};
constexpr Words JAVA_QUERIES = {queries::java};
constexpr Words JAVASCRIPT_QUERIES = {queries::javascript, queries::javascript_fields};
constexpr Words KOTLIN_QUERIES = {queries::kotlin};
constexpr Words PYTHON_QUERIES = {queries::python};
constexpr Words RUST_QUERIES = {queries::rust};
constexpr Words SCALA_QUERIES = {queries::scala};
constexpr Words SWIFT_QUERIES = {queries::swift};
constexpr Words TYPESCRIPT_QUERIES = {queries::javascript, queries::typescript};

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
    Language{.name = "csharp",
             .extensions = CSHARP_EXTENSIONS,
             .grammar = tree_sitter_c_sharp,
             .queries = CSHARP_QUERIES,
             .separator = ".",
             .line_comments = SLASHES,
             .describe = describe_csharp,
             .prepare = nullptr,
             .module = nullptr,
             .module_docstring = nullptr,
             .documentation = xml_text},
    Language{.name = "go",
             .extensions = GO_EXTENSIONS,
             .grammar = tree_sitter_go,
             .queries = GO_QUERIES,
             .separator = ".",
             .line_comments = SLASHES,
             .describe = describe_go,
             .prepare = nullptr,
             .module = nullptr,
             .module_docstring = nullptr,
             .documentation = without_directives},
    Language{.name = "java",
             .extensions = JAVA_EXTENSIONS,
             .grammar = tree_sitter_java,
             .queries = JAVA_QUERIES,
             .separator = ".",
             .line_comments = SLASHES,
             .describe = describe_java,
             .prepare = nullptr,
             .module = nullptr,
             .module_docstring = nullptr},
    Language{.name = "javascript",
             .extensions = JAVASCRIPT_EXTENSIONS,
             .grammar = tree_sitter_javascript,
             .queries = JAVASCRIPT_QUERIES,
             .separator = ".",
             .line_comments = SLASHES,
             .describe = describe_script,
             .prepare = nullptr,
             .module = nullptr,
             .module_docstring = nullptr},
    Language{.name = "kotlin",
             .extensions = KOTLIN_EXTENSIONS,
             .grammar = tree_sitter_kotlin,
             .queries = KOTLIN_QUERIES,
             .separator = ".",
             .line_comments = SLASHES,
             .describe = describe_kotlin,
             .prepare = blank_fun_interfaces,
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
    Language{.name = "rust",
             .extensions = RUST_EXTENSIONS,
             .grammar = tree_sitter_rust,
             .queries = RUST_QUERIES,
             .separator = "::",
             .line_comments = SLASHES,
             .describe = describe_rust,
             .prepare = nullptr,
             .module = rust_module,
             .module_docstring = nullptr},
    Language{.name = "scala",
             .extensions = SCALA_EXTENSIONS,
             .grammar = tree_sitter_scala,
             .queries = SCALA_QUERIES,
             .separator = ".",
             .line_comments = SLASHES,
             .describe = describe_scala,
             .prepare = nullptr,
             .module = nullptr,
             .module_docstring = nullptr},
    Language{.name = "swift",
             .extensions = SWIFT_EXTENSIONS,
             .grammar = tree_sitter_swift,
             .queries = SWIFT_QUERIES,
             .separator = ".",
             .line_comments = SLASHES,
             .describe = describe_swift,
             .prepare = nullptr,
             .module = nullptr,
             .module_docstring = nullptr},
    Language{.name = "typescript",
             .extensions = TYPESCRIPT_EXTENSIONS,
             .grammar = tree_sitter_typescript,
             .queries = TYPESCRIPT_QUERIES,
             .separator = ".",
             .line_comments = SLASHES,
             .describe = describe_script,
             .prepare = nullptr,
             .module = nullptr,
             .module_docstring = nullptr},
    // Elements may stand in it; what an assertion in angle brackets is in the other.
    Language{.name = "typescript",
             .extensions = TSX_EXTENSIONS,
             .grammar = tree_sitter_tsx,
             .queries = TYPESCRIPT_QUERIES,
             .separator = ".",
             .line_comments = SLASHES,
             .describe = describe_script,
             .prepare = nullptr,
             .module = nullptr,
             .module_docstring = nullptr},
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
