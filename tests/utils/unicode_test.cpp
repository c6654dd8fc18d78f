#include "utils/unicode.h"

#include <gtest/gtest.h>
#include <unicode/ustring.h>

#include <random>

namespace velmora::utils {
namespace {

TEST(Unicode, LowercaseIsTheFullDefaultMapping) {
  const std::pair<const char*, const char*> cases[] = {
      {"MixedCASE_09", "mixedcase_09"},
      {"\u212A", "k"},                                 // the Kelvin sign
      {"\u039F\u03A3 \u03A3", "\u03BF\u03C2 \u03C3"},  // a sigma is final after a letter only
      {"\u0130", "i\u0307"},                           // grows
      {"A\xFF\u00C9\xC3", "a\xFF\u00E9\xC3"},          // invalid bytes stay
      {"", ""}};
  for (const auto& [text, expected] : cases) EXPECT_EQ(lowercase(text), expected);
  EXPECT_EQ(lowercase_first("\u00C9A"), "\u00E9A");
  EXPECT_EQ(uppercase_first("\u00E9a"), "\u00C9a");
  EXPECT_EQ(lowercase_first(""), "");
}

// Decoding agrees with ICU on whether bytes are UTF-8 and on how many characters they hold.
TEST(Unicode, DecodesAsIcuDoes) {
  std::mt19937 random(20);
  const unsigned char bytes[] = {'a',  0x7F, 0x80, 0xBF, 0xC1, 0xC2, 0xDF, 0xE0, 0xA0,
                                 0x9F, 0xED, 0xEF, 0xF0, 0x90, 0x8F, 0xF4, 0xF5, 0xFF};
  for (int round = 0; round < 20000; ++round) {
    std::string text;
    for (std::size_t i = random() % 8; i > 0; --i) {
      text += static_cast<char>(bytes[random() % std::size(bytes)]);
    }
    bool valid = true;
    for (std::string_view rest = text; !rest.empty();) {
      const Character character = first_character(rest);
      valid = valid && character.valid;
      rest.remove_prefix(character.length);
    }
    UErrorCode error = U_ZERO_ERROR;
    int32_t units = 0;
    UChar buffer[16];
    u_strFromUTF8(buffer, 16, &units, text.data(), static_cast<int32_t>(text.size()), &error);
    EXPECT_EQ(valid, U_SUCCESS(error)) << quoted_literal(text);
    if (valid) {
      EXPECT_EQ(static_cast<int32_t>(character_count(text)), u_countChar32(buffer, units));
    }
  }
}

TEST(Unicode, TrimTakesWhiteSpaceOffBothEnds) {
  EXPECT_EQ(trim(" \t\u3000a b\u00A0\u2028\n"), "a b");
  EXPECT_EQ(trim("\u00A0 \u2003"), "");
  EXPECT_EQ(trim("\x80\xA0 "), "\x80\xA0");
}

TEST(Unicode, QuotesAsALiteral) {
  const std::pair<std::string, const char*> cases[] = {
      {"plain", "'plain'"},
      {"it's", "\"it's\""},
      {"it's \"so\"", "'it\\'s \"so\"'"},
      {"a\\b\n\t\r", "'a\\\\b\\n\\t\\r'"},
      {std::string("\0\x7F", 2), "'\\x00\\x7f'"},
      {"\u00A0\u2028\u3000", "'\\xa0\\u2028\\u3000'"},  // separators other than the space
      {"\u00E9\u00AD\u200B", "'\u00E9\\xad\\u200b'"},   // soft hyphen, zero width space
      {"\U000E0001", "'\\U000e0001'"},
      {"\xFF\xC3", "'\\xff\\xc3'"}};
  for (const auto& [text, expected] : cases) EXPECT_EQ(quoted_literal(text), expected);
}

}  // namespace
}  // namespace velmora::utils
