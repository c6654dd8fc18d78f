#include "agent/arguments.h"

#include <algorithm>
#include <cmath>

#include "browse/limited_text.h"

namespace velmora::host::agent {
namespace {

using Type = Parameter::Type;

std::string quoted(std::string_view name) { return "\"" + std::string(name) + "\""; }

template <class List, class Text>
std::string list_of(const List& list, Text&& text) {
  std::string all;
  for (const auto& item : list) all += (all.empty() ? "" : ", ") + std::string(text(item));
  return all;
}

ToolError wrong(const Parameter& parameter, const std::string& what) {
  return ToolError(quoted(parameter.name) + " must be " + what + ".");
}

void check_text(const Parameter& parameter, const Json& value) {
  const std::string* text = value.get_ptr<const std::string*>();
  if (text == nullptr) throw wrong(parameter, "a string");
  if (text->size() > LONGEST_ARGUMENT) {
    throw wrong(parameter, "at most " + std::to_string(LONGEST_ARGUMENT) + " bytes long");
  }
  if (text->find('\0') != std::string::npos) throw wrong(parameter, "free of NUL characters");
  if (parameter.required && text->find_first_not_of(" \t\r\n") == std::string::npos) {
    throw wrong(parameter, "more than blanks");
  }
  if (parameter.choices.empty()) return;
  if (std::ranges::find(parameter.choices, std::string_view(*text)) == parameter.choices.end()) {
    throw wrong(parameter, "made of: " + list_of(parameter.choices, [](auto one) { return one; }));
  }
}

void check_integer(const Parameter& parameter, const Json& value) {
  const bool is_whole = value.is_number_integer() ||
                        (value.is_number_float() && std::trunc(value.get<double>()) == value);
  const double number = is_whole ? value.get<double>() : 0;
  if (!is_whole || number < static_cast<double>(parameter.least) ||
      number > static_cast<double>(parameter.most)) {
    throw wrong(parameter, "a whole number from " + std::to_string(parameter.least) + " to " +
                               std::to_string(parameter.most));
  }
}

// The value as the tool reads it.
Json checked(const Parameter& parameter, const Json& value) {
  switch (parameter.type) {
    case Type::text:
      check_text(parameter, value);
      return value;
    case Type::texts: {
      Json list = value.is_string() ? Json::array({value}) : value;
      if (!list.is_array()) throw wrong(parameter, "a list of strings");
      for (const Json& one : list) check_text(parameter, one);
      return list;
    }
    case Type::integer:
      check_integer(parameter, value);
      return value.get<std::int64_t>();
    case Type::boolean:
      if (!value.is_boolean()) throw wrong(parameter, "true or false");
      return value;
  }
  return value;
}

std::string name_with_need(const Parameter& parameter) {
  return std::string(parameter.name) + (parameter.required ? " (required)" : "");
}

}  // namespace

Parameter max_characters_parameter() {
  return {.name = "max_characters",
          .type = Type::integer,
          .description = "The answer is never longer; what is left out is counted.",
          .least = 300,
          .most = 50'000,
          .standard = 6'000};
}

Parameter repo_parameter() {
  return {.name = "repo",
          .type = Type::text,
          .description =
              "Which repository, by its folder's name or absolute path. Needed only when"
              " the server has several; status lists them."};
}

Arguments::Arguments(const Json& object, std::span<const Parameter> parameters)
    : object_(Json::object()), parameters_(parameters) {
  for (const auto& [name, value] : object.items()) {
    const auto parameter = std::ranges::find(parameters, name, &Parameter::name);
    if (parameter == parameters.end()) {
      throw ToolError("There is no argument \"" + browse::one_line(name, 40) +
                      "\". There are: " + list_of(parameters, name_with_need) + ".");
    }
    if (!value.is_null()) object_[name] = checked(*parameter, value);
  }
  for (const Parameter& parameter : parameters) {
    if (parameter.required && find(parameter.name) == nullptr) {
      throw ToolError(quoted(parameter.name) +
                      " is missing: " + std::string(parameter.description));
    }
  }
}

const Json* Arguments::find(std::string_view name) const {
  const auto value = object_.find(name);
  return value == object_.end() ? nullptr : &*value;
}

std::string Arguments::text(std::string_view name) const { return find(name)->get<std::string>(); }

std::optional<std::string> Arguments::optional_text(std::string_view name) const {
  const Json* const value = find(name);
  return value == nullptr ? std::nullopt : std::optional(value->get<std::string>());
}

std::vector<std::string> Arguments::texts(std::string_view name) const {
  const Json* const value = find(name);
  return value == nullptr ? std::vector<std::string>() : value->get<std::vector<std::string>>();
}

std::size_t Arguments::integer(std::string_view name) const {
  const Json* const value = find(name);
  if (value != nullptr) return value->get<std::size_t>();
  return static_cast<std::size_t>(std::ranges::find(parameters_, name, &Parameter::name)->standard);
}

std::optional<bool> Arguments::optional_boolean(std::string_view name) const {
  const Json* const value = find(name);
  return value == nullptr ? std::nullopt : std::optional(value->get<bool>());
}

}  // namespace velmora::host::agent
