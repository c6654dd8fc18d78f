#include "text/layout.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <cstdint>

#include "text/printable.h"

namespace velmora::host::text {
namespace {

constexpr std::string_view ELLIPSIS = "\u2026";
constexpr std::string_view SPACES = " \t\r\n\f\v";

bool is_space(char c) { return SPACES.find(c) != std::string_view::npos; }

std::size_t columns_of(UChar32 character) {
  switch (u_charType(character)) {
    case U_NON_SPACING_MARK:
    case U_ENCLOSING_MARK:
    case U_FORMAT_CHAR:
      return 0;
    default:
      break;
  }
  const int width = u_getIntPropertyValue(character, UCHAR_EAST_ASIAN_WIDTH);
  return width == U_EA_WIDE || width == U_EA_FULLWIDTH ? 2 : 1;
}

struct Head {
  std::size_t bytes = 0;
  std::size_t columns = 0;
};

// As many of the first characters as `most` columns hold.
Head head(std::string_view text, std::size_t most) {
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
  Head head;
  for (std::size_t i = 0; i < text.size(); head.bytes = i) {
    UChar32 character = 0;
    U8_NEXT_OR_FFFD(bytes, i, text.size(), character);
    const std::size_t width = columns_of(character);
    if (head.columns + width > most) break;
    head.columns += width;
  }
  return head;
}

// Where a line of `width` columns ends: before the last space that leaves `least` columns, or else
// where it is full. At least one character is taken.
std::size_t line_end(std::string_view text, std::size_t width, std::size_t least) {
  const std::size_t full = head(text, width).bytes;
  if (full == text.size()) return full;
  const std::size_t space = text.substr(0, full + 1).rfind(' ');
  if (space != std::string_view::npos && columns(text.substr(0, space)) >= least) return space;
  return full > 0 ? full : head(text, 2).bytes;
}

std::string_view without_end_spaces(std::string_view text) {
  while (text.ends_with(' ')) text.remove_suffix(1);
  return text;
}

}  // namespace

std::size_t columns(std::string_view text) { return head(text, text.size() * 2).columns; }

std::string on_one_line(std::string_view text) {
  std::string line;
  for (const char c : text.substr(0, LONGEST_LAID_OUT)) {
    if (!is_space(c)) {
      line += c;
    } else if (!line.empty() && line.back() != ' ') {
      line += ' ';
    }
  }
  return printable_line(without_end_spaces(line));
}

std::string cut_to(std::string_view line, std::size_t most) {
  if (columns(line) <= most) return std::string(line);
  const std::string_view kept =
      line.substr(0, most > 1 ? line_end(line, most - 1, most * 3 / 4) : 0);
  return std::string(without_end_spaces(kept)).append(ELLIPSIS);
}

std::vector<std::string> folded(std::string_view line, std::size_t width, std::size_t most_lines) {
  std::vector<std::string> lines;
  while (!line.empty()) {
    if (lines.size() + 1 == most_lines) {
      lines.push_back(cut_to(line, width));
      break;
    }
    const std::size_t end = line_end(line, width, 1);
    lines.emplace_back(without_end_spaces(line.substr(0, end)));
    line.remove_prefix(end);
    while (line.starts_with(' ')) line.remove_prefix(1);
  }
  return lines;
}

std::string first_sentence(std::string_view docstring) {
  docstring = docstring.substr(0, LONGEST_LAID_OUT);
  docstring.remove_prefix(std::min(docstring.find_first_not_of(SPACES), docstring.size()));
  std::size_t end = 0;
  for (; end < docstring.size(); ++end) {
    const char c = docstring[end];
    if (c != '\n' && c != '.' && c != '!' && c != '?') continue;
    const std::string_view rest = docstring.substr(end + 1);
    const std::size_t word = std::min(rest.find_first_not_of(SPACES), rest.size());
    const char next = word < rest.size() ? rest[word] : '\0';
    if (c == '\n') {
      const bool blank = rest.substr(0, word).find('\n') != std::string_view::npos;
      if (blank || next == '@' || next == ':') break;
    } else if (word > 0 && !(next >= 'a' && next <= 'z')) {  // "e.g. this" goes on
      break;
    }
  }
  return on_one_line(docstring.substr(0, end + 1));
}

}  // namespace velmora::host::text
