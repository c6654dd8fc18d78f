#include "cli/json_fields.h"

#include <algorithm>
#include <limits>

namespace velmora::host::cli {
namespace {

using nlohmann::json;

[[noreturn]] void refuse(const char* name, const char* reason) {
  throw InputError("\"" + std::string(name) + "\" " + reason);
}

template <class Value>
Value required(const char* name, std::optional<Value> value) {
  if (!value) refuse(name, "is missing");
  return *std::move(value);
}

}  // namespace

json parse_line(std::string_view line) {
  // The parser takes it for the end, whatever follows.
  if (line.find('\0') != line.npos) throw InputError("this is not JSON: it holds a NUL");
  try {
    return json::parse(line);
  } catch (const json::exception& error) {
    // Without the name of the exception and the parser's own line number, which is always 1.
    const std::string_view message = error.what();
    const std::size_t column = message.find("column ");
    const std::size_t reason = column != std::string_view::npos ? column : message.find("] ") + 2;
    throw InputError("this is not JSON: " + std::string(message.substr(reason)));
  }
}

JsonFields::JsonFields(const json& value, std::initializer_list<std::string_view> known)
    : object_(value) {
  if (!value.is_object()) throw InputError("this is not a JSON object");
  for (const auto& [name, field] : value.items()) {
    if (std::find(known.begin(), known.end(), name) == known.end()) {
      refuse(name.c_str(), "is not a field that is known here");
    }
  }
}

const json* JsonFields::find(const char* name) const {
  const auto field = object_.find(name);
  return field == object_.end() || field->is_null() ? nullptr : &*field;
}

std::string JsonFields::text(const char* name) const { return required(name, optional_text(name)); }

std::int64_t JsonFields::integer(const char* name) const {
  return required(name, optional_integer(name));
}

std::optional<std::string> JsonFields::optional_text(const char* name) const {
  const json* field = find(name);
  if (field == nullptr) return std::nullopt;
  if (!field->is_string()) refuse(name, "must be a string");
  return field->get<std::string>();
}

std::optional<std::int64_t> JsonFields::optional_integer(const char* name) const {
  const json* field = find(name);
  if (field == nullptr) return std::nullopt;
  const bool fits =
      field->is_number_unsigned()
          ? field->get<std::uint64_t>() <= std::uint64_t{std::numeric_limits<std::int64_t>::max()}
          : field->is_number_integer();
  if (!fits) refuse(name, "must be an integer of at most 64 bits");
  return field->get<std::int64_t>();
}

std::optional<bool> JsonFields::optional_boolean(const char* name) const {
  const json* field = find(name);
  if (field == nullptr) return std::nullopt;
  if (!field->is_boolean()) refuse(name, "must be true or false");
  return field->get<bool>();
}

const json* JsonFields::optional_list(const char* name) const {
  const json* field = find(name);
  if (field != nullptr && !field->is_array()) refuse(name, "must be a list");
  return field;
}

}  // namespace velmora::host::cli
