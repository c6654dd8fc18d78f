#include "browse/limited_text.h"

#include "text/printable.h"

namespace velmora::host::browse {
namespace {

bool begins_character(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) != 0x80; }

}  // namespace

std::size_t characters(std::string_view text) {
  std::size_t count = 0;
  for (const char byte : text) count += begins_character(byte);
  return count;
}

std::string_view first_characters(std::string_view text, std::size_t most) {
  std::size_t at = 0;
  for (; at < text.size(); ++at) {
    if (begins_character(text[at]) && most-- == 0) break;
  }
  return text.substr(0, at);
}

void LineWriter::add(std::string_view line) {
  const std::size_t size = characters(line) + 1;
  if (written_.left_out > 0 || size > left_) {
    ++written_.left_out;
    return;
  }
  left_ -= size;
  written_.text.append(line) += '\n';
}

std::string one_line(std::string_view text, std::size_t most_characters) {
  // No character takes more than four bytes: what is behind them need not be looked at.
  const std::string_view line =
      text.substr(0, text.find_first_of("\r\n")).substr(0, 4 * most_characters + 4);
  std::string shown = text::printable_line(line);
  if (characters(shown) <= most_characters) return shown;
  return std::string(first_characters(shown, most_characters - 1)) + "…";
}

}  // namespace velmora::host::browse
