#include "indexing/language_names.h"

#include <algorithm>
#include <iterator>
#include <span>

#include "indexing/built_languages.h"
#include "indexing/extraction_version.h"
#include "velmora/host/indexing/languages.h"
#include "velmora/utils/language_filter.h"

namespace velmora::host::indexing {
namespace {

struct LanguageName {
  std::string_view name;                                // as the index stores it
  std::string_view title;                               // as people write it
  std::span<const std::string_view> extensions;         // with the dot; case counts
  std::span<const std::string_view> files = {};         // whole names that say it
  std::span<const std::string_view> interpreters = {};  // without their versions
};

constexpr std::string_view BASH[] = {".sh", ".bash", ".zsh", ".ksh"};
constexpr std::string_view BASH_FILES[] = {
    ".bashrc", ".bash_profile", ".bash_aliases", ".bash_logout", ".profile",
    ".zshrc",  ".zshenv",       ".zprofile",     "PKGBUILD",     "APKBUILD"};
constexpr std::string_view BASH_PROGRAMS[] = {"sh",  "bash", "zsh",  "ksh",
                                              "ash", "dash", "mksh", "openrc-run"};
constexpr std::string_view C[] = {".c", ".h"};
constexpr std::string_view CPP[] = {".cpp", ".cc",  ".cxx",  ".c++",  ".C",   ".hpp", ".hh",
                                    ".hxx", ".h++", ".H",    ".ipp",  ".tpp", ".tcc", ".inl",
                                    ".ixx", ".ccm", ".cppm", ".cxxm", ".cu",  ".cuh", ".ino"};
constexpr std::string_view CSHARP[] = {".cs", ".csx"};
constexpr std::string_view CSHARP_PROGRAMS[] = {"dotnet-script"};
constexpr std::string_view DART[] = {".dart"};
constexpr std::string_view DART_PROGRAMS[] = {"dart"};
constexpr std::string_view ELIXIR[] = {".ex", ".exs"};
constexpr std::string_view ELIXIR_PROGRAMS[] = {"elixir"};
constexpr std::string_view GO[] = {".go"};
constexpr std::string_view HASKELL[] = {".hs", ".hsc"};
constexpr std::string_view HASKELL_PROGRAMS[] = {"runhaskell", "runghc"};
constexpr std::string_view JAVA[] = {".java"};
constexpr std::string_view JAVASCRIPT[] = {".js",  ".jsx", ".mjs",   ".cjs",
                                           ".jsm", ".vue", ".svelte"};
constexpr std::string_view JAVASCRIPT_FILES[] = {"Jakefile"};
constexpr std::string_view JAVASCRIPT_PROGRAMS[] = {"node", "nodejs"};
constexpr std::string_view JULIA[] = {".jl"};
constexpr std::string_view JULIA_PROGRAMS[] = {"julia"};
constexpr std::string_view KOTLIN[] = {".kt", ".kts"};
constexpr std::string_view KOTLIN_PROGRAMS[] = {"kotlin"};
constexpr std::string_view LUA[] = {".lua"};
constexpr std::string_view LUA_PROGRAMS[] = {"lua", "luajit", "texlua"};
constexpr std::string_view OBJC[] = {".mm"};  // a .m file may be of another language
constexpr std::string_view OCAML[] = {".ml", ".mli"};
constexpr std::string_view OCAML_PROGRAMS[] = {"ocaml"};
constexpr std::string_view PHP[] = {".php", ".phtml"};
constexpr std::string_view PHP_PROGRAMS[] = {"php"};
constexpr std::string_view PYTHON[] = {".py", ".pyi", ".pyw", ".ipynb"};
constexpr std::string_view PYTHON_FILES[] = {"SConstruct", "SConscript", "wscript"};
constexpr std::string_view PYTHON_PROGRAMS[] = {"python", "pypy", "uv"};
constexpr std::string_view R[] = {".R", ".r"};
constexpr std::string_view R_FILES[] = {".Rprofile"};
constexpr std::string_view R_PROGRAMS[] = {"Rscript"};
constexpr std::string_view RUBY[] = {".rb",   ".rbi",     ".rake", ".gemspec",
                                     ".thor", ".podspec", ".ru",   ".jbuilder"};
constexpr std::string_view RUBY_FILES[] = {
    "Rakefile", "rakefile",   "Gemfile",   "Vagrantfile", "Guardfile", "Capfile",
    "Podfile",  "Fastfile",   "Appfile",   "Dangerfile",  "Brewfile",  "Berksfile",
    "Thorfile", "Puppetfile", "Steepfile", ".irbrc",      ".pryrc"};
constexpr std::string_view RUBY_PROGRAMS[] = {"ruby", "jruby", "rake"};
constexpr std::string_view RUST[] = {".rs"};
constexpr std::string_view RUST_PROGRAMS[] = {"rust-script"};
constexpr std::string_view SCALA[] = {".scala", ".sc", ".sbt", ".mill"};
constexpr std::string_view SCALA_PROGRAMS[] = {"scala", "scala-cli", "amm"};
constexpr std::string_view SWIFT[] = {".swift"};
constexpr std::string_view SWIFT_PROGRAMS[] = {"swift"};
constexpr std::string_view TYPESCRIPT[] = {".ts", ".mts", ".cts", ".tsx"};
// Some of them run JavaScript as well, which the grammar of TypeScript reads.
constexpr std::string_view TYPESCRIPT_PROGRAMS[] = {"deno", "bun", "ts-node", "tsx"};
constexpr std::string_view ZIG[] = {".zig"};

// In the order of their titles.
constexpr LanguageName LANGUAGES[] = {
    {"bash", "Bash", BASH, BASH_FILES, BASH_PROGRAMS},
    {"c", "C", C},
    {"csharp", "C#", CSHARP, {}, CSHARP_PROGRAMS},
    {"cpp", "C++", CPP},
    {"dart", "Dart", DART, {}, DART_PROGRAMS},
    {"elixir", "Elixir", ELIXIR, {}, ELIXIR_PROGRAMS},
    {"go", "Go", GO},
    {"haskell", "Haskell", HASKELL, {}, HASKELL_PROGRAMS},
    {"java", "Java", JAVA},
    {"javascript", "JavaScript", JAVASCRIPT, JAVASCRIPT_FILES, JAVASCRIPT_PROGRAMS},
    {"julia", "Julia", JULIA, {}, JULIA_PROGRAMS},
    {"kotlin", "Kotlin", KOTLIN, {}, KOTLIN_PROGRAMS},
    {"lua", "Lua", LUA, {}, LUA_PROGRAMS},
    {"objc", "Objective-C", OBJC},
    {"ocaml", "OCaml", OCAML, {}, OCAML_PROGRAMS},
    {"php", "PHP", PHP, {}, PHP_PROGRAMS},
    {"python", "Python", PYTHON, PYTHON_FILES, PYTHON_PROGRAMS},
    {"r", "R", R, R_FILES, R_PROGRAMS},
    {"ruby", "Ruby", RUBY, RUBY_FILES, RUBY_PROGRAMS},
    {"rust", "Rust", RUST, {}, RUST_PROGRAMS},
    {"scala", "Scala", SCALA, {}, SCALA_PROGRAMS},
    {"swift", "Swift", SWIFT, {}, SWIFT_PROGRAMS},
    {"typescript", "TypeScript", TYPESCRIPT, {}, TYPESCRIPT_PROGRAMS},
    {"zig", "Zig", ZIG},
};

constexpr bool is_in(std::span<const std::string_view> names, std::string_view name) {
  return std::ranges::find(names, name) != names.end();
}

constexpr bool has_row(std::string_view language) {
  return std::ranges::find(LANGUAGES, language, &LanguageName::name) != std::end(LANGUAGES);
}

// The retriever finds nothing in other languages, and no file is known to be of one without a row.
static_assert(std::ranges::all_of(BUILT_LANGUAGES,
                                  [](std::string_view language) {
                                    return utils::SOURCE_LANGUAGES.contains(language) &&
                                           has_row(language);
                                  }),
              "a language that is built in is not in SOURCE_LANGUAGES, or not in LANGUAGES here");

// The language that the predicate finds among the rows, if it is built in.
template <class Predicate>
std::string_view language_where(Predicate&& holds) {
  const auto* const found = std::ranges::find_if(LANGUAGES, holds);
  return found != std::end(LANGUAGES) && is_built_in(found->name) ? found->name
                                                                  : std::string_view();
}

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
  if (dot != std::string_view::npos && dot > 0) {
    return language_where(
        [&](const LanguageName& row) { return is_in(row.extensions, file.substr(dot)); });
  }
  return language_where([&](const LanguageName& row) { return is_in(row.files, file); });
}

std::string_view language_of_interpreter(std::string_view program) {
  program = program.substr(0, program.find_last_not_of("0123456789.-") + 1);
  return language_where([&](const LanguageName& row) { return is_in(row.interpreters, program); });
}

std::vector<std::string_view> language_titles() {
  std::vector<std::string_view> titles;
  for (const LanguageName& language : LANGUAGES) {
    if (is_built_in(language.name)) titles.push_back(language.title);
  }
  return titles;
}

}  // namespace velmora::host::indexing
