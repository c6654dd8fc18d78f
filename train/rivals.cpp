#include "rivals.h"

#include <algorithm>
#include <unordered_map>

#include "judging.h"

namespace velmora::train {
namespace {

constexpr std::size_t MOST_RIVALS = 32;

// What text alone makes of a question, in numbers of the tree's symbols.
struct TextAnswer {
  std::vector<Rival> rivals;
  std::unordered_map<std::uint32_t, float> answers;  // with their scores
};

TextAnswer answer_by_text(ExamAsker& asker, const Question& question) {
  TextAnswer answer;
  for (const auto& hit :
       asker.ask(question, {.sentences = true, .bodies = true, .settings = true}).hits) {
    const auto symbol = static_cast<std::uint32_t>(hit.symbol.id);
    const auto score = static_cast<float>(hit.score);
    if (std::binary_search(question.answers.begin(), question.answers.end(), symbol)) {
      answer.answers.emplace(symbol, score);
    } else if (answer.rivals.size() < MOST_RIVALS) {
      answer.rivals.push_back({symbol, score});
    }
  }
  return answer;
}

}  // namespace

Rivals::Rivals(std::span<const Lesson> lessons, std::span<const AnswerPlace> places,
               Vocabulary& vocabulary, const host::embedding::SymbolSettings& settings,
               Workers& workers)
    : of(places.size()), answer_scores(places.size()) {
  std::vector<std::size_t> firsts(lessons.size() + 1, places.size());  // places of each lesson
  for (std::size_t i = places.size(); i-- > 0;) firsts[places[i].lesson] = i;
  for (std::size_t i = lessons.size(); i-- > 0;) firsts[i] = std::min(firsts[i], firsts[i + 1]);
  workers.run(lessons.size(), [&](std::size_t number) {
    const Lesson& lesson = lessons[number];
    std::size_t i = firsts[number];
    for (std::uint32_t exam = 0; exam < lesson.exams.size(); ++exam) {
      ExamAsker asker(lesson.tree, lesson.exams[exam]);
      for (const Question& question : lesson.exams[exam].questions) {
        const TextAnswer answer = answer_by_text(asker, question);
        for (const std::uint32_t symbol : question.answers) {
          of[i] = answer.rivals;
          const auto own = answer.answers.find(symbol);
          if (own != answer.answers.end()) answer_scores[i] = own->second;
          ++i;
        }
      }
    }
  });
  for (std::size_t number = 0; number < lessons.size(); ++number) {
    const auto before = static_cast<std::uint32_t>(symbols.size());
    for (const TreeSymbol& symbol : lessons[number].tree.symbols) {
      symbols.add(symbol_bag(symbol.parts(false), settings), vocabulary);
    }
    for (std::size_t i = firsts[number]; i < firsts[number + 1]; ++i) {
      for (Rival& rival : of[i]) rival.symbol += before;
    }
  }
}

}  // namespace velmora::train
