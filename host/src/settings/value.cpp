#include "settings/value.h"

#include <array>
#include <charconv>
#include <cmath>

#include "indexing/language_names.h"
#include "indexing/path_rules.h"
#include "text/printable.h"

namespace velmora::host::settings {
namespace {

using indexing::LanguageRule;

template <class Number>
std::optional<Value> number_of(std::string_view text) {
  Number number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

std::vector<std::string> parts_of(std::string_view text) {
  std::vector<std::string> parts;
  while (true) {
    const std::size_t colon = text.find(':');
    parts.emplace_back(text.substr(0, colon));
    if (colon == std::string_view::npos) return parts;
    text.remove_prefix(colon + 1);
  }
}

std::optional<Value> languages_of(std::string_view text) {
  std::vector<LanguageRule> rules;
  for (const std::string& part : parts_of(text)) {
    const std::size_t equals = part.rfind('=');
    if (equals == std::string::npos) return std::nullopt;
    rules.push_back({part.substr(0, equals), part.substr(equals + 1)});
  }
  return rules;
}

std::string quoted(std::string_view text) {
  std::string out = "\"";
  for (const char c : text::printable_line(text)) {
    if (c == '"' || c == '\\') out += '\\';
    out += c;
  }
  return out += '"';
}

// What messages and lists show of a value: its beginning.
std::string brief(std::string_view text) {
  constexpr std::size_t LONGEST = 60;
  return quoted(text.size() <= LONGEST ? text : text.substr(0, LONGEST)) +
         (text.size() <= LONGEST ? "" : "...");
}

bool in_range(const Key& key, double number, bool of_repository) {
  if (key.type == Type::number && number == 0) return true;
  return number >= key.least && number <= (of_repository ? key.most_of_repository : key.most);
}

struct Faults {
  const Key& key;
  bool of_repository;

  std::string operator()(std::monostate) const { return ""; }
  std::string operator()(bool) const { return ""; }
  std::string operator()(std::int64_t number) const { return (*this)(static_cast<double>(number)); }
  std::string operator()(double number) const {
    if (in_range(key, number, of_repository)) return "";
    return "must be " + wanted(key, of_repository);
  }
  std::string operator()(const std::string& text) const {
    const bool is_choice = key.name == "terminal.color";
    if (!is_choice || text == "auto" || text == "always" || text == "never") return "";
    return "must be auto, always or never, not " + brief(text);
  }
  std::string operator()(const std::vector<std::string>& globs) const {
    for (const std::string& glob : globs) {
      const std::string fault = indexing::fault_of_glob(glob, true);
      if (!fault.empty()) return "has the glob " + brief(glob) + ", which " + fault;
    }
    return "";
  }
  std::string operator()(const std::vector<LanguageRule>& rules) const {
    for (const LanguageRule& rule : rules) {
      const std::string fault = indexing::fault_of_glob(rule.glob, false);
      if (!fault.empty()) return "has the glob " + brief(rule.glob) + ", which " + fault;
      if (!indexing::is_built_in(rule.language)) {
        return "has no language " + brief(rule.language) + "; there are " +
               indexing::built_in_names();
      }
    }
    return "";
  }
};

struct Texts {
  std::string operator()(std::monostate) const { return ""; }
  std::string operator()(bool value) const { return value ? "true" : "false"; }
  std::string operator()(std::int64_t number) const { return std::to_string(number); }
  std::string operator()(double number) const {
    std::array<char, 64> text{};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), number).ptr;
    return {text.data(), end};
  }
  std::string operator()(const std::string& text) const { return quoted(text); }
  std::string operator()(const std::vector<std::string>& list) const {
    std::string out = "[";
    for (const std::string& one : list) out += (out.size() == 1 ? "" : ", ") + quoted(one);
    return out + "]";
  }
  std::string operator()(const std::vector<LanguageRule>& rules) const {
    std::string out = "{";
    for (const LanguageRule& rule : rules) {
      out += (out.size() == 1 ? "" : ", ") + quoted(rule.glob) + " = " + quoted(rule.language);
    }
    return out + "}";
  }
};

}  // namespace

std::optional<Value> value_of_text(const Key& key, std::string_view text) {
  if (text.empty()) return Value();
  switch (key.type) {
    case Type::integer:
      return number_of<std::int64_t>(text);
    case Type::number:
      return number_of<double>(text);
    case Type::boolean:
      if (text != "true" && text != "false") return std::nullopt;
      return text == "true";
    case Type::globs:
      return parts_of(text);
    case Type::languages:
      return languages_of(text);
    case Type::text:
      break;
  }
  return std::string(text);
}

std::string fault_of(const Key& key, const Value& value, bool of_repository) {
  return std::visit(Faults{key, of_repository}, value);
}

std::string to_toml(const Value& value) { return std::visit(Texts(), value); }

}  // namespace velmora::host::settings
