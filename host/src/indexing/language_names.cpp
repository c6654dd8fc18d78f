#include "indexing/language_names.h"

#include <algorithm>
#include <iterator>
#include <span>

#include "indexing/built_languages.h"
#include "indexing/extraction_version.h"
#include "velmora/host/indexing/languages.h"

namespace velmora::host::indexing {
namespace {

struct LanguageName {
  std::string_view name;                         // as the index stores it
  std::string_view title;                        // as people write it
  std::span<const std::string_view> extensions;  // with the dot; case counts
};

constexpr std::string_view BASH[] = {".sh", ".bash"};
constexpr std::string_view C[] = {".c", ".h"};
constexpr std::string_view CPP[] = {".cpp", ".cc",  ".cxx", ".c++", ".C",   ".hpp", ".hh",
                                    ".hxx", ".h++", ".H",   ".ipp", ".tpp", ".tcc", ".inl"};
constexpr std::string_view CSHARP[] = {".cs", ".csx"};
constexpr std::string_view GO[] = {".go"};
constexpr std::string_view JAVA[] = {".java"};
constexpr std::string_view JAVASCRIPT[] = {".js", ".jsx", ".mjs", ".cjs"};
constexpr std::string_view KOTLIN[] = {".kt", ".kts"};
constexpr std::string_view LUA[] = {".lua"};
constexpr std::string_view PHP[] = {".php", ".phtml"};
constexpr std::string_view PYTHON[] = {".py", ".pyi", ".pyw"};
constexpr std::string_view RUBY[] = {".rb", ".rake", ".gemspec", ".ru"};
constexpr std::string_view RUST[] = {".rs"};
constexpr std::string_view SCALA[] = {".scala", ".sc"};
constexpr std::string_view SWIFT[] = {".swift"};
constexpr std::string_view TYPESCRIPT[] = {".ts", ".mts", ".cts", ".tsx"};

// In the order of their titles.
constexpr LanguageName LANGUAGES[] = {
    {"bash", "Bash", BASH},
    {"c", "C", C},
    {"csharp", "C#", CSHARP},
    {"cpp", "C++", CPP},
    {"go", "Go", GO},
    {"java", "Java", JAVA},
    {"javascript", "JavaScript", JAVASCRIPT},
    {"kotlin", "Kotlin", KOTLIN},
    {"lua", "Lua", LUA},
    {"php", "PHP", PHP},
    {"python", "Python", PYTHON},
    {"ruby", "Ruby", RUBY},
    {"rust", "Rust", RUST},
    {"scala", "Scala", SCALA},
    {"swift", "Swift", SWIFT},
    {"typescript", "TypeScript", TYPESCRIPT},
};

}  // namespace

constinit const std::string_view EXTRACTION_VERSION = VERSION;

bool is_built_in(std::string_view language) { return !built_in(language).empty(); }

std::string_view built_in(std::string_view language) {
  const auto* const found = std::ranges::find(BUILT_LANGUAGES, language);
  return found == std::end(BUILT_LANGUAGES) ? std::string_view() : *found;
}

std::string built_in_names() {
  std::string names;
  for (const std::string_view name : BUILT_LANGUAGES) {
    names.append(names.empty() ? "" : ", ").append(name);
  }
  return names;
}

std::string_view language_of(std::string_view path) {
  const std::string_view file = path.substr(path.rfind('/') + 1);
  const std::size_t dot = file.rfind('.');
  if (dot == std::string_view::npos) return {};
  for (const LanguageName& language : LANGUAGES) {
    const bool found =
        std::ranges::find(language.extensions, file.substr(dot)) != language.extensions.end();
    if (found) return is_built_in(language.name) ? language.name : std::string_view();
  }
  return {};
}

std::vector<std::string_view> language_titles() {
  std::vector<std::string_view> titles;
  for (const LanguageName& language : LANGUAGES) {
    if (is_built_in(language.name)) titles.push_back(language.title);
  }
  return titles;
}

}  // namespace velmora::host::indexing
