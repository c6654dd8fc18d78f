// Pairs as numbers: the vocabulary, and texts as lists of word numbers with weights.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "embedding/word_bag.h"
#include "lessons.h"

namespace velmora::train {

// Which words a model learns: those in so many texts, of so many repositories.
struct VocabularyOptions {
  std::size_t least_texts = 3;
  std::size_t least_repositories = 3;
  std::size_t most_words = 20000;
};

// Words, numbered: first those that a model learns, then all others in the order of their
// appearance.
class Vocabulary {
 public:
  explicit Vocabulary(std::vector<std::string> words);

  // The words of questions and their answers that are to be learned, most frequent first, equal
  // ones by the alphabet.
  static Vocabulary of(std::span<const Lesson> lessons,
                       const host::embedding::SymbolSettings& settings,
                       const VocabularyOptions& options);

  [[nodiscard]] const std::vector<std::string>& words() const { return words_; }
  // The number of a word; one that is new gets the next.
  [[nodiscard]] std::uint32_t number(const std::string& word);
  [[nodiscard]] bool knows(const std::string& word) const { return numbers_.contains(word); }
  // How many words are learned: those that stood there from the beginning.
  [[nodiscard]] std::size_t learned() const { return learned_; }

 private:
  std::vector<std::string> words_;
  std::size_t learned_ = 0;
  std::unordered_map<std::string, std::uint32_t> numbers_;
};

struct Term {
  std::uint32_t word = 0;
  float weight = 0.0F;
};

// Many texts, each a list of terms.
class Bags {
 public:
  // Adds a text.
  void add(const host::embedding::WordBag& bag, Vocabulary& vocabulary);

  // Adds a text of these terms.
  void add(std::span<const Term> terms);
  void clear();

  [[nodiscard]] std::size_t size() const { return ends_.size() - 1; }
  [[nodiscard]] std::span<const Term> operator[](std::size_t text) const {
    return std::span(terms_).subspan(ends_[text], ends_[text + 1] - ends_[text]);
  }

 private:
  std::vector<Term> terms_;
  std::vector<std::size_t> ends_ = {0};
};

// Where a question and one of its answers stand.
struct AnswerPlace {
  std::uint32_t lesson = 0;
  std::uint32_t exam = 0;
  std::uint32_t question = 0;
  std::uint32_t symbol = 0;
};

// Every question with each of its answers, in their order.
[[nodiscard]] std::vector<AnswerPlace> places_of(std::span<const Lesson> lessons);

// What is learned from: questions and answers, in the order of their places.
struct Examples {
  Examples(std::span<const Lesson> lessons, std::span<const AnswerPlace> places,
           Vocabulary& vocabulary, const host::embedding::SymbolSettings& settings);

  Bags questions;
  Bags symbols;
  // Equal numbers: equal questions of one repository.
  std::vector<std::uint32_t> question_ids;
  // Numbers of the symbols among those of all lessons, one after the other.
  std::vector<std::uint32_t> symbol_ids;
};

}  // namespace velmora::train
