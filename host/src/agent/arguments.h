// What a client calls a tool with, checked.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "agent/message.h"

namespace velmora::host::agent {

// A call that a tool cannot answer. The text tells the model what to do instead.
class ToolError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Longer texts are refused, in bytes.
inline constexpr std::size_t LONGEST_ARGUMENT = 10'000;

struct Parameter {
  enum class Type { text, texts, integer, boolean };

  std::string_view name;
  Type type = Type::text;
  std::string_view description;
  bool required = false;
  // Of an integer.
  std::int64_t least = 0;
  std::int64_t most = 0;
  std::int64_t standard = 0;  // what holds when it is absent
  // Of texts: what each may be.
  std::span<const std::string_view> choices = {};
};

// What every tool has besides its own.
[[nodiscard]] Parameter max_characters_parameter();
[[nodiscard]] Parameter repo_parameter();

class Arguments {
 public:
  // `object` is a JSON object; `parameters` outlive this. An argument that is null counts as
  // absent, a single text as a list of one. Throws ToolError for what the tool does not take.
  Arguments(const Json& object, std::span<const Parameter> parameters);

  // REQUIRES, for each: there is a parameter of this name and type.
  [[nodiscard]] std::string text(std::string_view name) const;  // of one that is required
  [[nodiscard]] std::optional<std::string> optional_text(std::string_view name) const;
  [[nodiscard]] std::vector<std::string> texts(std::string_view name) const;
  [[nodiscard]] std::size_t integer(std::string_view name) const;
  [[nodiscard]] std::optional<bool> optional_boolean(std::string_view name) const;

 private:
  [[nodiscard]] const Json* find(std::string_view name) const;

  Json object_;
  std::span<const Parameter> parameters_;
};

}  // namespace velmora::host::agent
