// The distinct words of a corpus, numbered.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "utils/arena.h"
#include "utils/interner.h"
#include "velmora/workers/retrieval.h"
#include "workers/retrieval/words.h"

namespace velmora::workers::retrieval::internal {

// A word's number within one vocabulary.
using WordId = std::uint32_t;

// Numbers lower-case words in the order of first appearance. It holds the stop words from the
// start, as the first numbers, so that one look-up tells a word's number and whether it is dropped.
// Used by one thread at a time.
class Vocabulary {
 public:
  static constexpr WordId FIRST_WORD = STOP_WORDS.size();

  Vocabulary() {
    for (const std::string_view word : STOP_WORDS) add(word);
  }

  // Appends the words of a text to `out`, without stop words; order and repeats stay.
  void append_words(std::string_view text, std::vector<WordId>& out) {
    WordScanner words(text);
    for (std::string_view word = words.next(); !word.empty(); word = words.next()) {
      const WordId id = number_of(word);
      if (id >= FIRST_WORD) out.push_back(id);
    }
  }

  // How many numbers are taken, stop words included.
  [[nodiscard]] std::size_t size() const { return words_.size(); }
  [[nodiscard]] std::string_view word(WordId id) const { return words_.text(id); }

 private:
  // A word of up to 16 bytes in lower case, as two numbers that may share bytes.
  struct ShortWord {
    std::uint64_t head = 0;
    std::uint64_t tail = 0;
    std::size_t size = 0;

    bool operator==(const ShortWord&) const = default;
  };
  struct Recent {
    ShortWord word;
    WordId id = 0;
  };

  WordId add(std::string_view word) {
    return words_.add(word, [this](std::string_view text) { return texts_.store(text); });
  }

  // The number of a word of the scanner, in any case. Most words were here lately.
  WordId number_of(std::string_view word) {
    if (word.size() > 16) return add_lowercase(word);
    const ShortWord key = short_word(word);
    Recent& recent = recent_[((key.head ^ std::rotl(key.tail, 29)) * 0x9E3779B97F4A7C15u) >> 49];
    if (recent.word != key) recent = {key, add_lowercase(word)};
    return recent.id;
  }

  WordId add_lowercase(std::string_view word) {
    lower_.clear();
    append_lowercase(lower_, word);
    return add(lower_);
  }

  static ShortWord short_word(std::string_view word) {
    const auto bytes = [&](std::size_t count, std::size_t from) {
      std::uint64_t number = 0;
      std::memcpy(&number, word.data() + from, count);
      return number | 0x2020202020202020u;  // lower case; leaves digits as they are
    };
    const std::size_t size = word.size();
    if (size >= 8) return {bytes(8, 0), bytes(8, size - 8), size};
    if (size >= 4) return {bytes(4, 0), bytes(4, size - 4), size};
    return {bytes(1, 0), size < 2 ? 0 : bytes(2, size - 2), size};
  }

  utils::Interner words_;
  utils::TextArena texts_;
  std::string lower_;  // reused
  std::vector<Recent> recent_ = std::vector<Recent>(std::size_t{1} << 15);
};

}  // namespace velmora::workers::retrieval::internal
