#include "examples.h"

#include <algorithm>
#include <string_view>
#include <unordered_set>
#include <utility>

namespace velmora::train {

using host::embedding::query_bag;
using host::embedding::symbol_bag;
using host::embedding::SymbolSettings;
using host::embedding::WeightedWord;
using host::embedding::WordBag;

namespace {

const Question& question_at(const Lesson& lesson, const AnswerPlace& place) {
  return lesson.exams[place.exam].questions[place.question];
}

WordBag answer_bag(const Lesson& lesson, const AnswerPlace& place, const SymbolSettings& settings) {
  const bool is_hidden = lesson.exams[place.exam].hidden[place.symbol];
  return symbol_bag(lesson.tree.symbols[place.symbol].parts(is_hidden), settings);
}

}  // namespace

Vocabulary::Vocabulary(std::vector<std::string> words)
    : words_(std::move(words)), learned_(words_.size()) {
  numbers_.reserve(words_.size());
  for (std::uint32_t number = 0; number < words_.size(); ++number) {
    numbers_.emplace(words_[number], number);
  }
}

Vocabulary Vocabulary::of(std::span<const Lesson> lessons, const SymbolSettings& settings,
                          const VocabularyOptions& options) {
  struct Count {
    std::size_t texts = 0;
    std::unordered_set<std::string_view> repositories;
  };
  std::unordered_map<std::string, Count> counts;
  for (const AnswerPlace& place : places_of(lessons)) {
    const Lesson& lesson = lessons[place.lesson];
    for (const WordBag& bag :
         {query_bag(question_at(lesson, place).text), answer_bag(lesson, place, settings)}) {
      for (const WeightedWord& entry : bag) {
        Count& count = counts[entry.word];
        ++count.texts;
        count.repositories.insert(lesson.tree.repository);
      }
    }
  }
  std::vector<std::pair<std::size_t, std::string>> frequent;
  for (const auto& [word, count] : counts) {
    if (count.texts >= options.least_texts &&
        count.repositories.size() >= options.least_repositories) {
      frequent.emplace_back(count.texts, word);
    }
  }
  std::sort(frequent.begin(), frequent.end(), [](const auto& left, const auto& right) {
    return left.first != right.first ? left.first > right.first : left.second < right.second;
  });
  frequent.resize(std::min(frequent.size(), options.most_words));
  std::vector<std::string> words;
  for (auto& [count, word] : frequent) words.push_back(std::move(word));
  return Vocabulary(std::move(words));
}

std::uint32_t Vocabulary::number(const std::string& word) {
  const auto [found, fresh] = numbers_.emplace(word, static_cast<std::uint32_t>(words_.size()));
  if (fresh) words_.push_back(word);
  return found->second;
}

void Bags::add(const WordBag& bag, Vocabulary& vocabulary) {
  for (const WeightedWord& entry : bag) {
    terms_.push_back({vocabulary.number(entry.word), entry.weight});
  }
  ends_.push_back(terms_.size());
}

void Bags::add(std::span<const Term> terms) {
  terms_.insert(terms_.end(), terms.begin(), terms.end());
  ends_.push_back(terms_.size());
}

void Bags::clear() {
  terms_.clear();
  ends_.assign(1, 0);
}

std::vector<AnswerPlace> places_of(std::span<const Lesson> lessons) {
  std::vector<AnswerPlace> places;
  AnswerPlace place;
  for (place.lesson = 0; place.lesson < lessons.size(); ++place.lesson) {
    const Lesson& lesson = lessons[place.lesson];
    for (place.exam = 0; place.exam < lesson.exams.size(); ++place.exam) {
      const TreeExam& exam = lesson.exams[place.exam];
      for (place.question = 0; place.question < exam.questions.size(); ++place.question) {
        for (const std::uint32_t answer : exam.questions[place.question].answers) {
          place.symbol = answer;
          places.push_back(place);
        }
      }
    }
  }
  return places;
}

Examples::Examples(std::span<const Lesson> lessons, std::span<const AnswerPlace> places,
                   Vocabulary& vocabulary, const SymbolSettings& settings) {
  std::vector<std::uint32_t> begins;  // of the symbols of each lesson, among all
  std::uint32_t before = 0;
  for (const Lesson& lesson : lessons) {
    begins.push_back(before);
    before += static_cast<std::uint32_t>(lesson.tree.symbols.size());
  }
  std::unordered_map<std::string, std::uint32_t> numbers;
  const auto number_of = [&](const std::string& key) {
    return numbers.emplace(key, static_cast<std::uint32_t>(numbers.size())).first->second;
  };
  for (const AnswerPlace& place : places) {
    const Lesson& lesson = lessons[place.lesson];
    const std::string& text = question_at(lesson, place).text;
    questions.add(query_bag(text), vocabulary);
    symbols.add(answer_bag(lesson, place, settings), vocabulary);
    question_ids.push_back(number_of(std::to_string(place.lesson) + "\n" + text));
    symbol_ids.push_back(begins[place.lesson] + place.symbol);
  }
}

}  // namespace velmora::train
