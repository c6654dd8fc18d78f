#include "exam.h"

#include <algorithm>
#include <unordered_map>

#include "random.h"

namespace velmora::train {

Collected collect(std::span<const Pair> pairs, std::string_view repository) {
  Collected all;
  std::unordered_map<std::string, std::uint32_t> symbols;
  std::unordered_map<std::string, std::uint32_t> docs;
  std::unordered_map<std::string, std::uint32_t> commits;
  for (const Pair& pair : pairs) {
    if (pair.repository != repository) continue;
    const auto [symbol, fresh] =
        symbols.emplace(symbol_key(pair), static_cast<std::uint32_t>(all.symbols.size()));
    if (fresh) all.symbols.push_back(pair);
    std::string& docstring = all.symbols[symbol->second].docstring;
    if (docstring.empty()) docstring = pair.kind == PairKind::doc ? pair.query : pair.docstring;

    const bool is_doc = pair.kind == PairKind::doc;
    std::vector<Question>& questions = is_doc ? all.docs : all.commits;
    const auto [question, is_new] =
        (is_doc ? docs : commits).emplace(pair.query, static_cast<std::uint32_t>(questions.size()));
    if (is_new) questions.push_back({pair.query, {}});
    questions[question->second].answers.push_back(symbol->second);
  }
  return all;
}

std::vector<Pair> without_answers_documentation(std::vector<Pair> symbols,
                                                std::span<const Question> questions) {
  for (const Question& question : questions) {
    for (const std::uint32_t symbol : question.answers) symbols[symbol].docstring.clear();
  }
  return symbols;
}

std::vector<Question> draw(std::vector<Question> questions, const ExamOptions& options) {
  Random random(options.seed);
  std::vector<std::size_t> numbers(questions.size());
  for (std::size_t i = 0; i < numbers.size(); ++i) numbers[i] = i;
  random.shuffle(std::span(numbers));
  numbers.resize(std::min(numbers.size(), options.questions));
  std::sort(numbers.begin(), numbers.end());
  std::vector<Question> drawn;
  for (const std::size_t number : numbers) {
    Question& question = questions[number];
    std::sort(question.answers.begin(), question.answers.end());
    const auto repeats = std::unique(question.answers.begin(), question.answers.end());
    question.answers.erase(repeats, question.answers.end());
    drawn.push_back(std::move(question));
  }
  return drawn;
}

std::vector<Exam> make_exams(std::span<const Pair> pairs,
                             std::span<const std::string_view> repositories,
                             const ExamOptions& options) {
  std::vector<Exam> exams;
  for (const std::string_view repository : repositories) {
    Collected all = collect(pairs, repository);
    Exam docs = {std::string(repository), PairKind::doc, {}, draw(all.docs, options)};
    docs.symbols = without_answers_documentation(all.symbols, docs.questions);
    if (!docs.questions.empty()) exams.push_back(std::move(docs));
    Exam commits = {std::string(repository), PairKind::commit, std::move(all.symbols),
                    draw(std::move(all.commits), options)};
    if (!commits.questions.empty()) exams.push_back(std::move(commits));
  }
  return exams;
}

}  // namespace velmora::train
