// The distinct words of a corpus, numbered.
#pragma once

#include <cstddef>
#include <cstdint>
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
      lower_.clear();
      append_lowercase(lower_, word);
      const WordId id = add(lower_);
      if (id >= FIRST_WORD) out.push_back(id);
    }
  }

  // How many numbers are taken, stop words included.
  [[nodiscard]] std::size_t size() const { return words_.size(); }
  [[nodiscard]] std::string_view word(WordId id) const { return words_.text(id); }

 private:
  WordId add(std::string_view word) {
    return words_.add(word, [this](std::string_view text) { return texts_.store(text); });
  }

  utils::Interner words_;
  utils::TextArena texts_;
  std::string lower_;  // reused
};

}  // namespace velmora::workers::retrieval::internal
