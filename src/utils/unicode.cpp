#include "utils/unicode.h"

#include <unicode/ucasemap.h>
#include <unicode/uchar.h>

#include <algorithm>
#include <array>
#include <limits>
#include <new>
#include <stdexcept>

namespace velmora::utils {
namespace {

constexpr bool is_ascii(char c) { return static_cast<unsigned char>(c) < 0x80; }
constexpr bool is_trail(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }
constexpr char ascii_lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; }

// Runs the text through one of ICU's case mappings, which all have this shape.
using CaseMapping = int32_t (*)(const UCaseMap*, char*, int32_t, const char*, int32_t, UErrorCode*);

const UCaseMap* root_case_map() {
  // Never closed: it must outlive every static object that may still lower-case something.
  static const UCaseMap* const map = [] {
    UErrorCode error = U_ZERO_ERROR;
    const UCaseMap* opened = ucasemap_open("", 0, &error);
    if (U_FAILURE(error)) throw std::runtime_error(u_errorName(error));
    return opened;
  }();
  return map;
}

// Appends `valid` (valid UTF-8) mapped to `out`.
void append_mapped(std::string& out, std::string_view valid, CaseMapping mapping) {
  if (valid.size() > static_cast<std::size_t>(std::numeric_limits<int32_t>::max() / 3)) {
    throw std::length_error("a text is too long to change its case");
  }
  const auto size = static_cast<int32_t>(valid.size());
  const std::size_t before = out.size();
  out.resize(before + valid.size());
  UErrorCode error = U_ZERO_ERROR;
  int32_t length = mapping(root_case_map(), out.data() + before, size, valid.data(), size, &error);
  if (error == U_BUFFER_OVERFLOW_ERROR) {
    out.resize(before + static_cast<std::size_t>(length));
    error = U_ZERO_ERROR;
    length = mapping(root_case_map(), out.data() + before, length, valid.data(), size, &error);
  }
  if (error == U_MEMORY_ALLOCATION_ERROR) throw std::bad_alloc();
  if (U_FAILURE(error)) throw std::runtime_error(u_errorName(error));
  out.resize(before + static_cast<std::size_t>(length));
}

// Maps the valid stretches of the text and copies the invalid bytes between them.
std::string mapped(std::string_view text, CaseMapping mapping) {
  std::string out;
  out.reserve(text.size());
  std::size_t start = 0;
  std::size_t at = 0;
  while (at < text.size()) {
    const Character character = first_character(text.substr(at));
    if (!character.valid) {
      append_mapped(out, text.substr(start, at - start), mapping);
      out += text[at];
      start = at + 1;
    }
    at += character.length;
  }
  append_mapped(out, text.substr(start), mapping);
  return out;
}

std::string first_mapped(std::string_view text, CaseMapping mapping) {
  if (text.empty()) return {};
  const std::size_t length = first_character(text).length;
  return mapped(text.substr(0, length), mapping).append(text.substr(length));
}

bool prints(const Character& character) {
  switch (u_charType(static_cast<UChar32>(character.code))) {
    case U_UNASSIGNED:
    case U_CONTROL_CHAR:
    case U_FORMAT_CHAR:
    case U_PRIVATE_USE_CHAR:
    case U_SURROGATE:
    case U_SPACE_SEPARATOR:
    case U_LINE_SEPARATOR:
    case U_PARAGRAPH_SEPARATOR:
      return false;
    default:
      return true;
  }
}

void append_hex(std::string& out, char letter, std::uint32_t value, int digits) {
  out += '\\';
  out += letter;
  for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4) {
    out += "0123456789abcdef"[(value >> shift) & 0xF];
  }
}

void append_escaped(std::string& out, char32_t code) {
  if (code == '\n') return void(out += "\\n");
  if (code == '\r') return void(out += "\\r");
  if (code == '\t') return void(out += "\\t");
  if (code < 0x100) return append_hex(out, 'x', code, 2);
  if (code < 0x10000) return append_hex(out, 'u', code, 4);
  append_hex(out, 'U', code, 8);
}

}  // namespace

// The well-formed sequences are those of the Unicode Standard's table 3-7: no overlong forms, no
// surrogates, nothing above U+10FFFF.
Character first_character(std::string_view text) {
  const auto byte = [text](std::size_t i) -> char32_t {
    return i < text.size() ? static_cast<unsigned char>(text[i]) : 0u;
  };
  const auto trails = [&](std::size_t last) {
    for (std::size_t i = 1; i <= last; ++i) {
      if ((byte(i) & 0xC0) != 0x80) return false;
    }
    return true;
  };
  const char32_t lead = byte(0);
  if (lead < 0x80) return {lead, 1, true};
  if (lead >= 0xC2 && lead < 0xE0 && trails(1)) {
    return {(lead & 0x1F) << 6 | (byte(1) & 0x3F), 2, true};
  }
  if (lead >= 0xE0 && lead < 0xF0 && trails(2)) {
    const char32_t code = (lead & 0xF) << 12 | (byte(1) & 0x3F) << 6 | (byte(2) & 0x3F);
    if (code >= 0x800 && (code < 0xD800 || code > 0xDFFF)) return {code, 3, true};
  }
  if (lead >= 0xF0 && lead < 0xF5 && trails(3)) {
    const char32_t code =
        (lead & 0x7) << 18 | (byte(1) & 0x3F) << 12 | (byte(2) & 0x3F) << 6 | (byte(3) & 0x3F);
    if (code >= 0x10000 && code <= 0x10FFFF) return {code, 4, true};
  }
  return {lead, 1, false};
}

std::size_t character_count(std::string_view text) {
  if (std::all_of(text.begin(), text.end(), is_ascii)) return text.size();
  std::size_t count = 0;
  for (; !text.empty(); ++count) text.remove_prefix(first_character(text).length);
  return count;
}

std::string lowercase(std::string_view text) {
  if (std::all_of(text.begin(), text.end(), is_ascii)) {
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(), ascii_lower);
    return lower;
  }
  return mapped(text, ucasemap_utf8ToLower);
}

std::string lowercase_first(std::string_view text) {
  return first_mapped(text, ucasemap_utf8ToLower);
}

std::string uppercase_first(std::string_view text) {
  return first_mapped(text, ucasemap_utf8ToUpper);
}

bool is_white_space(const Character& character) {
  return character.valid && u_isUWhiteSpace(static_cast<UChar32>(character.code));
}

bool is_uppercase(const Character& character) {
  return character.valid && u_isUUppercase(static_cast<UChar32>(character.code));
}

bool is_lowercase(const Character& character) {
  return character.valid && u_isULowercase(static_cast<UChar32>(character.code));
}

bool is_digit(const Character& character) {
  if (!character.valid) return false;
  if (character.code < 0x80) return character.code >= '0' && character.code <= '9';
  const int type = u_getIntPropertyValue(static_cast<UChar32>(character.code), UCHAR_NUMERIC_TYPE);
  return type == U_NT_DECIMAL || type == U_NT_DIGIT;
}

std::string_view trim(std::string_view text) {
  while (!text.empty()) {
    const Character first = first_character(text);
    if (!is_white_space(first)) break;
    text.remove_prefix(first.length);
  }
  while (!text.empty()) {
    // The last character begins at the last byte that continues none.
    std::size_t start = text.size() - 1;
    while (start > 0 && text.size() - start < 4 && is_trail(text[start])) --start;
    const Character last = first_character(text.substr(start));
    if (start + last.length != text.size() || !is_white_space(last)) break;
    text = text.substr(0, start);
  }
  return text;
}

std::string quoted_literal(std::string_view text) {
  const bool single = text.find('\'') != std::string_view::npos;
  const bool doubled = text.find('"') != std::string_view::npos;
  const char quote = single && !doubled ? '"' : '\'';
  std::string out(1, quote);
  while (!text.empty()) {
    const Character character = first_character(text);
    if (character.code == static_cast<unsigned char>(quote) || character.code == '\\') {
      out += '\\';
      out += text.front();
    } else if (character.valid && (character.code == ' ' || prints(character))) {
      out += text.substr(0, character.length);
    } else {
      append_escaped(out, character.code);
    }
    text.remove_prefix(character.length);
  }
  return out += quote;
}

}  // namespace velmora::utils
