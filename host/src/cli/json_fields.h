// Reads JSON objects that users write, and says what is wrong with them.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace velmora::host::cli {

// A line of input that is not what it should be.
class InputError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Parses one line. Throws InputError for what is not JSON, which includes text that is not UTF-8.
[[nodiscard]] nlohmann::json parse_line(std::string_view line);

// The fields of a JSON object. A field that is null counts as absent. Every function throws
// InputError that names the field.
class JsonFields {
 public:
  // `value` must be an object with no fields but these, and outlives the fields.
  JsonFields(const nlohmann::json& value, std::initializer_list<std::string_view> known);

  [[nodiscard]] std::string text(const char* name) const;
  [[nodiscard]] std::int64_t integer(const char* name) const;
  [[nodiscard]] std::optional<std::string> optional_text(const char* name) const;
  [[nodiscard]] std::optional<std::int64_t> optional_integer(const char* name) const;
  [[nodiscard]] std::optional<bool> optional_boolean(const char* name) const;
  // The elements of a list; null when it is absent.
  [[nodiscard]] const nlohmann::json* optional_list(const char* name) const;

 private:
  [[nodiscard]] const nlohmann::json* find(const char* name) const;

  const nlohmann::json& object_;
};

}  // namespace velmora::host::cli
