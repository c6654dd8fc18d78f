// The distinct words of a corpus, numbered.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "utils/arena.h"
#include "velmora/workers/retrieval.h"

namespace velmora::workers::retrieval::internal {

// A word's number within one vocabulary.
using WordId = std::uint32_t;

// Numbers lower-case words in the order of first appearance. It holds the stop words from the
// start, as the first numbers, so that one lookup tells a word's number and whether it is dropped.
// A flat hash table with linear probing. Used by one thread at a time.
class Vocabulary {
 public:
  static constexpr WordId FIRST_WORD = STOP_WORDS.size();

  Vocabulary();

  // The word's number, a new one when it was not seen before. Below FIRST_WORD for a stop word.
  WordId add(std::string_view word);

  // How many numbers are taken, stop words included.
  [[nodiscard]] std::size_t size() const { return words_.size(); }
  [[nodiscard]] std::string_view word(WordId id) const { return words_[id]; }

 private:
  struct Slot {
    std::uint32_t hash = 0;
    std::uint32_t next_to_id = 0;  // the word's number + 1, or 0 for a free slot
  };

  void grow();

  std::vector<Slot> slots_;
  std::vector<std::string_view> words_;
  utils::TextArena texts_;
};

}  // namespace velmora::workers::retrieval::internal
