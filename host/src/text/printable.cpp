#include "text/printable.h"

#include <unicode/utf8.h>

#include <cstdint>

namespace velmora::host::text {
namespace {

constexpr char32_t REPLACEMENT = 0xFFFD;

bool is_control(char32_t character) {
  return character < 0x20 || (character >= 0x7F && character < 0xA0);
}

bool breaks_lines(char32_t character) {
  return is_control(character) || character == 0x2028 || character == 0x2029;
}

bool drives_terminals(char32_t character) {
  return is_control(character) && character != U'\n' && character != U'\t';
}

// The text with U+FFFD for each character that `is_bad`, and for bytes that are not UTF-8.
std::string shown(std::string_view text, bool (*is_bad)(char32_t)) {
  std::string out;
  out.reserve(text.size());
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
  for (std::size_t i = 0; i < text.size();) {
    const std::size_t start = i;
    UChar32 decoded = 0;
    U8_NEXT_OR_FFFD(bytes, i, text.size(), decoded);
    const auto character = static_cast<char32_t>(decoded);
    if (character == REPLACEMENT || is_bad(character)) {
      out += "\uFFFD";
    } else {
      out.append(text.substr(start, i - start));
    }
  }
  return out;
}

}  // namespace

std::string printable(std::string_view text) { return shown(text, drives_terminals); }

std::string printable_line(std::string_view text) { return shown(text, breaks_lines); }

std::string counted(std::size_t count, std::string_view thing) {
  return std::to_string(count).append(" ").append(thing).append(count == 1 ? "" : "s");
}

}  // namespace velmora::host::text
