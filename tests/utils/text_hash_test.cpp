#include "utils/text_hash.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <set>
#include <string>
#include <vector>

namespace velmora::utils {
namespace {

// Words of eight bytes that a hash by one known multiplication, with the upper half of the product
// folded into the lower one, cannot tell apart: the halves of their products are equal.
std::vector<std::string> crowding_words(std::uint64_t count) {
  constexpr std::uint64_t FACTOR = 0x9E3779B97F4A7C15u;
  std::uint64_t inverse = 1;  // modulo 2^64: each step doubles the bits that are right
  for (int step = 0; step < 6; ++step) inverse *= 2 - FACTOR * inverse;
  std::vector<std::string> words;
  for (std::uint64_t half = 1; half <= count; ++half) {
    const std::uint64_t chunk = (half << 32 | half) * inverse ^ 8;
    words.emplace_back(sizeof chunk, '\0');
    std::memcpy(words.back().data(), &chunk, sizeof chunk);
  }
  return words;
}

// How many slots are looked at to put the words into a table of linear probing, half full at most.
std::size_t probes(const std::vector<std::string>& words, const TextHash& hash) {
  std::vector<bool> slots(2 * words.size());
  std::size_t count = 0;
  for (const std::string& word : words) {
    std::size_t slot = static_cast<std::uint32_t>(hash(word)) % slots.size();
    for (++count; slots[slot]; ++count) slot = (slot + 1) % slots.size();
    slots[slot] = true;
  }
  return count;
}

TEST(TextHash, SpreadsWhatIsMadeToCrowd) {
  std::vector<std::vector<std::string>> hostile(4);
  hostile[0] = crowding_words(1 << 15);
  for (std::size_t i = 0; i < 1 << 15; ++i) {
    const std::string number = std::to_string(i);
    hostile[1].push_back(std::string(24, 'x') + number);                  // one beginning
    hostile[2].push_back(number + std::string(30 - number.size(), '.'));  // one end
    hostile[3].push_back(std::string(i / 64, '\0') + std::string(i % 64, '\1'));
  }
  // Half full at the end, a word takes 1.5 probes at most if all places are as likely.
  for (const auto& words : hostile) EXPECT_LT(probes(words, TextHash()), 2 * words.size());
}

TEST(TextHash, IsAnotherOneForEachDraw) {
  std::set<std::size_t> hashes;
  for (int draw = 0; draw < 100; ++draw) hashes.insert(TextHash(TextHash::draw())("name"));
  EXPECT_EQ(hashes.size(), 100U);
  for (const char* text : {"", "12345678", "123456789"})
    EXPECT_EQ(TextHash()(text), TextHash()(text));
}

}  // namespace
}  // namespace velmora::utils
