#include "index/counterparts.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <optional>
#include <span>
#include <vector>

#include "velmora/models/symbol.h"
#include "velmora/utils/string_set.h"

namespace velmora::host::index {
namespace {

bool is_word(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
         static_cast<signed char>(c) < 0;
}

constexpr auto LANGUAGES = utils::string_set("c", "cpp", "csharp", "kotlin", "swift");
constexpr auto KINDS =
    utils::string_set("function", "method", "constructor", "class", "struct", "interface");

// SQLite would make a table of the words of an IN for each row that is stored.
std::string sql_any(std::string_view column, std::span<const std::string_view> words) {
  std::string text;
  for (const std::string_view word : words) {
    text.append(text.empty() ? "(" : " OR ").append(column).append(" = '").append(word).append("'");
  }
  return text + ")";
}

std::string may_have_parts_sql() {
  return sql_any("language", LANGUAGES.words()) + " AND " + sql_any("kind", KINDS.words());
}

bool is_c_family(std::string_view language) { return language == "c" || language == "cpp"; }

// The words and signs of a text; blanks part them.
using Tokens = std::vector<std::string_view>;

Tokens tokens_of(std::string_view text) {
  Tokens tokens;
  for (std::size_t at = 0; at < text.size();) {
    std::size_t end = at;
    while (end < text.size() && is_word(text[end])) ++end;
    end = std::max(end, at + 1);
    if (text[at] != ' ') tokens.push_back(text.substr(at, end - at));
    at = end;
  }
  return tokens;
}

// What a signature says behind the name.
struct Call {
  std::vector<Tokens> parameters = {};  // without default values
  bool is_const = false;                // it is a member that changes nothing
};

// The list in round brackets and what is behind it; nothing without such a list.
std::optional<Call> read_call(std::string_view signature) {
  constexpr std::string_view CALL_OPERATOR = "operator()";
  const std::size_t named = signature.find(CALL_OPERATOR);
  const std::size_t start =
      signature.find('(', named == signature.npos ? 0 : named + CALL_OPERATOR.size());
  if (start == signature.npos) return std::nullopt;
  Call call;
  const Tokens tokens = tokens_of(signature.substr(start + 1));
  int depth = 0;
  bool in_value = false;
  call.parameters.emplace_back();
  std::size_t at = 0;
  for (; at < tokens.size(); ++at) {
    const std::string_view token = tokens[at];
    constexpr std::string_view OPENING = "([{<", CLOSING = ")]}>";
    const bool arrow = token == ">" && at > 0 && (tokens[at - 1] == "-" || tokens[at - 1] == "=");
    if (depth == 0 && token == ")") break;
    if (depth == 0 && token == ",") {
      call.parameters.emplace_back();
      in_value = false;
      continue;
    }
    if (depth == 0 && token == "=") in_value = true;
    if (OPENING.find(token) != OPENING.npos) ++depth;
    if (CLOSING.find(token) != CLOSING.npos && !arrow && depth > 0) --depth;
    if (!in_value) call.parameters.back().push_back(token);
  }
  call.is_const = at + 1 < tokens.size() && tokens[at + 1] == "const";
  const Tokens& only = call.parameters.front();
  const bool is_void = only.size() == 1 && only.front() == "void";
  if (call.parameters.size() == 1 && (only.empty() || is_void)) call.parameters.clear();
  return call;
}

// The tokens without the last one, where that can be the name of a parameter behind its type.
std::span<const std::string_view> without_name(std::span<const std::string_view> parameter) {
  constexpr std::string_view TYPES[] = {"int",   "char",   "short",  "long", "bool",
                                        "float", "double", "signed", "auto", "unsigned"};
  constexpr std::string_view BEFORE_TYPES[] = {"const", "volatile", "struct",   "union",
                                               "enum",  "class",    "typename", ":"};
  const auto is_among = [](const auto& words, std::string_view word) {
    return std::ranges::find(words, word) != std::end(words);
  };
  if (parameter.size() < 2 || !is_word(parameter.back().front()) ||
      is_among(TYPES, parameter.back()) ||
      is_among(BEFORE_TYPES, parameter[parameter.size() - 2])) {
    return parameter;
  }
  return parameter.first(parameter.size() - 1);
}

bool are_same(std::span<const std::string_view> a, std::span<const std::string_view> b) {
  return std::ranges::equal(a, b);
}

bool have_same_call(const Part& a, const Part& b) {
  const std::optional<Call> one = read_call(a.signature);
  const std::optional<Call> other = read_call(b.signature);
  if (!one || !other) return !one && !other;
  const bool may_rename = is_c_family(a.language);
  return one->is_const == other->is_const &&
         std::ranges::equal(
             one->parameters, other->parameters, [&](const Tokens& left, const Tokens& right) {
               if (are_same(left, right)) return true;
               return may_rename &&
                      (are_same(without_name(left), right) || are_same(left, without_name(right)) ||
                       are_same(without_name(left), without_name(right)));
             });
}

// "<T>" right behind the name: types that differ in it are others.
std::string_view type_parameters(std::string_view signature) {
  std::size_t at = 0;
  while (at < signature.size() && (is_word(signature[at]) || signature[at] == '.')) ++at;
  if (at == signature.size() || signature[at] != '<') return {};
  int depth = 0;
  for (std::size_t end = at; end < signature.size(); ++end) {
    if (signature[end] == '<') ++depth;
    if (signature[end] == '>' && --depth == 0) return signature.substr(at, end + 1 - at);
  }
  return {};
}

std::string_view folder_of(std::string_view path) {
  const std::size_t slash = path.rfind('/');
  return path.substr(0, slash == path.npos ? 0 : slash);
}

// "lib" of "lib/src/commonMain/kotlin/A.kt": the source sets of a module stand beside each other.
std::string_view module_of(std::string_view path) {
  constexpr std::string_view SOURCES = "src/";
  if (path.starts_with(SOURCES)) return {};
  const std::size_t at = path.rfind("/src/");
  return at == path.npos ? folder_of(path) : path.substr(0, at);
}

}  // namespace

bool may_have_parts(std::string_view language, std::string_view kind) {
  return LANGUAGES.contains(language) && KINDS.contains(kind);
}

std::string documented_sql() { return may_have_parts_sql() + " AND docstring IS NOT NULL"; }

std::string undocumented_sql() { return may_have_parts_sql() + " AND docstring IS NULL"; }

bool is_header(std::string_view path) {
  constexpr std::string_view EXTENSIONS[] = {".h", ".hh", ".hpp", ".hxx", ".h++", ".H", ".cuh"};
  const std::size_t dot = path.rfind('.');
  return dot != path.npos &&
         std::ranges::find(EXTENSIONS, path.substr(dot)) != std::end(EXTENSIONS);
}

bool are_parts(const Part& a, const Part& b) {
  if (std::max(a.signature.size(), b.signature.size()) > LONGEST_PART) return false;
  const bool is_callable = models::CALLABLE_KINDS.contains(a.kind);
  if (is_callable != models::CALLABLE_KINDS.contains(b.kind)) return false;
  if (is_c_family(a.language) != is_c_family(b.language)) return false;
  if (!is_c_family(a.language) && a.language != b.language) return false;
  const bool has_type_parts = a.language == "csharp" || a.language == "kotlin";
  if (!is_callable && (!has_type_parts || a.kind != b.kind ||
                       type_parameters(a.signature) != type_parameters(b.signature))) {
    return false;
  }
  if (is_c_family(a.language)) {
    const bool are_members = a.kind != "function" && b.kind != "function";
    if (!are_members && is_header(a.path) == is_header(b.path)) return false;
  } else if (a.language == "kotlin") {
    if (module_of(a.path) != module_of(b.path)) return false;
  } else if (folder_of(a.path) != folder_of(b.path)) {
    return false;
  }
  return !is_callable || have_same_call(a, b);
}

}  // namespace velmora::host::index
