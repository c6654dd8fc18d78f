#include "questions.h"

#include <utility>

#include "random.h"
#include "velmora/workers/retrieval.h"

namespace velmora::bench {
namespace {

using workers::retrieval::query_terms;

// A word of the text, or nothing for a text without any.
std::string any_word(Random& random, const std::string& text) {
  const std::vector<std::string> words = query_terms(text);
  return words.empty() ? "" : words[random.below(words.size())];
}

std::string written(const Row& row) { return row.name + " " + row.docstring.value_or(""); }

Question make_question(const Rows& rows, Random& random, bool path_words) {
  const auto any_row = [&]() -> const Row& { return rows[random.below(rows.size())]; };
  const Row& about = any_row();
  const bool spelled = random.below(5) == 0;
  Question question;
  if (spelled) question.text = about.name;
  for (std::size_t words = random.between(2, 5) - (spelled ? 1 : 0); words > 0; --words) {
    std::string word;
    if (path_words && random.below(20) == 0) {
      word = any_word(random, any_row().path);
    } else {
      word = any_word(random, written(random.below(10) < 6 ? about : any_row()));
    }
    if (!question.text.empty()) question.text += ' ';
    question.text += word;
  }
  question.terms = query_terms(question.text);
  return question;
}

}  // namespace

std::vector<Question> make_questions(const Rows& rows, QuestionOptions options) {
  Random random(options.seed);
  std::vector<Question> questions;
  while (questions.size() < options.count) {
    Question question = make_question(rows, random, options.path_words);
    if (!question.terms.empty()) questions.push_back(std::move(question));
  }
  return questions;
}

}  // namespace velmora::bench
