// The little Unicode that the retriever needs, over UTF-8. Invalid bytes are carried through. Pure
// functions; any thread may call them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace velmora::utils {

// A character read from UTF-8, or one invalid byte.
struct Character {
  char32_t code = 0;       // the code point, or the byte where it is not valid UTF-8
  std::size_t length = 0;  // in bytes
  bool valid = false;
};

// The first character of a text that is not empty.
[[nodiscard]] Character first_character(std::string_view text);

// How many characters a text holds; an invalid byte counts as one.
[[nodiscard]] std::size_t character_count(std::string_view text);

// The Unicode default lower-case mapping (full, root locale).
[[nodiscard]] std::string lowercase(std::string_view text);

// The text with its first character in lower or upper case.
[[nodiscard]] std::string lowercase_first(std::string_view text);
[[nodiscard]] std::string uppercase_first(std::string_view text);

// Properties of a character: White_Space, Uppercase, Lowercase; a numeric type of decimal or digit.
[[nodiscard]] bool is_white_space(const Character& character);
[[nodiscard]] bool is_uppercase(const Character& character);
[[nodiscard]] bool is_lowercase(const Character& character);
[[nodiscard]] bool is_digit(const Character& character);

// The text without white space at either end.
[[nodiscard]] std::string_view trim(std::string_view text);

// The text as a quoted literal for a log line: between single quotes, or double quotes when it
// holds a single quote and no double one; a backslash before backslashes and the quote; line
// breaks, tabs, other characters that do not print, and separators other than the space, as
// escapes.
[[nodiscard]] std::string quoted_literal(std::string_view text);

}  // namespace velmora::utils
