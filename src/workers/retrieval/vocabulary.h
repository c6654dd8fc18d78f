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
// Any number of threads may read it, or one change it.
class Vocabulary {
 public:
  static constexpr WordId FIRST_WORD = STOP_WORDS.size();

  Vocabulary() {
    for (const std::string_view word : STOP_WORDS) add(word);
  }

  // Appends the words of a text to `out`, without stop words; order and repeats stay. Returns how
  // many there are.
  std::size_t append_words(std::string_view text, std::vector<WordId>& out) {
    const std::size_t before = out.size();
    WordScanner words(text);
    for (std::string_view word = words.next(); !word.empty(); word = words.next()) {
      const WordId id = number_of(word);
      if (id >= FIRST_WORD) out.push_back(id);
    }
    return out.size() - before;
  }

  // The number of a word in lower case, or utils::Interner::NONE.
  [[nodiscard]] WordId find(std::string_view word) const { return words_.find(word); }
  // How many numbers are taken, stop words included.
  [[nodiscard]] std::size_t size() const { return words_.size(); }
  [[nodiscard]] std::string_view word(WordId id) const { return words_.text(id); }

 private:
  // A word of 2 to 16 bytes that was seen lately: its first and its last bytes, which may overlap.
  struct Recent {
    std::uint64_t head = 0;
    std::uint64_t tail = 0;
    std::size_t size = 0;
    WordId id = 0;
  };

  WordId add(std::string_view word) {
    return words_.add(word, [this](std::string_view text) { return texts_.store(text); });
  }

  WordId add_lowercase(std::string_view word) {
    lower_.clear();
    append_lowercase(lower_, word);
    return add(lower_);
  }

  // The number of a word of the scanner, in any case; most were seen lately.
  WordId number_of(std::string_view word) {
    if (word.size() < 2 || word.size() > 16) return add_lowercase(word);
    if (word.size() < 4) return number_of_short<std::uint16_t>(word);
    if (word.size() < 8) return number_of_short<std::uint32_t>(word);
    return number_of_short<std::uint64_t>(word);
  }

  template <class Bytes>
  WordId number_of_short(std::string_view word) {
    const auto lower = [](const char* at) {
      Bytes bytes;
      std::memcpy(&bytes, at, sizeof bytes);
      return bytes | 0x2020202020202020u;  // leaves digits as they are
    };
    const std::uint64_t head = lower(word.data());
    const std::uint64_t tail = lower(word.data() + word.size() - sizeof(Bytes));
    Recent& seen = recent_[((head ^ std::rotl(tail, 29)) * 0x9E3779B97F4A7C15u) >> 51];  // 13 bits
    if (seen.head != head || seen.tail != tail || seen.size != word.size()) {
      seen = {head, tail, word.size(), add_lowercase(word)};
    }
    return seen.id;
  }

  utils::Interner words_;
  utils::TextArena texts_;
  std::string lower_;  // reused
  std::vector<Recent> recent_ = std::vector<Recent>(std::size_t{1} << 13);
};

}  // namespace velmora::workers::retrieval::internal
