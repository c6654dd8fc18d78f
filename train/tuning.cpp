#include "tuning.h"

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>
#include <unordered_map>
#include <utility>
#include <vector>

#include "miner.h"

namespace velmora::train {
namespace {

using host::embedding::WordModel;
using host::embedding::WordModelData;

// Fewer questions cannot tell which model is better.
constexpr std::size_t FEWEST_QUESTIONS = 20;

// A file that is gone when it is left.
struct TemporaryFile {
  std::filesystem::path path;
  ~TemporaryFile() {
    std::error_code ignored;
    std::filesystem::remove(path, ignored);
  }
};

// The commits' questions in the order of the pairs, each once.
std::vector<std::string> questions_of(const std::vector<Pair>& commits) {
  std::vector<std::string> questions;
  for (const Pair& pair : commits) {
    if (questions.empty() || questions.back() != pair.query) questions.push_back(pair.query);
  }
  return questions;
}

// The questions of the newest commits, about every symbol of the repository.
Exam held_back_exam(Mined& mined) {
  const std::vector<std::string> questions = questions_of(mined.commits);
  const std::size_t held_back = questions.size() / 10;
  std::unordered_map<std::string, std::size_t> numbers;
  Exam exam;
  exam.kind = PairKind::commit;
  for (std::size_t i = 0; i < held_back; ++i) {
    if (numbers.emplace(questions[i], exam.questions.size()).second) {
      exam.questions.push_back({questions[i], {}});
    }
  }
  std::unordered_map<std::string, std::uint32_t> symbols;
  for (std::uint32_t i = 0; i < mined.symbols.size(); ++i) {
    symbols.emplace(mined.symbols[i].path + "\n" + mined.symbols[i].fqn, i);
  }
  // An older commit of the same subject is held back too.
  std::erase_if(mined.commits, [&](const Pair& pair) {
    const auto question = numbers.find(pair.query);
    if (question == numbers.end()) return false;
    exam.questions[question->second].answers.push_back(symbols.at(pair.path + "\n" + pair.fqn));
    return true;
  });
  for (Question& question : exam.questions) {
    std::sort(question.answers.begin(), question.answers.end());
    const auto repeats = std::unique(question.answers.begin(), question.answers.end());
    question.answers.erase(repeats, question.answers.end());
  }
  exam.repository = mined.symbols.empty() ? "" : mined.symbols.front().repository;
  exam.symbols = std::move(mined.symbols);
  return exam;
}

}  // namespace

Tuned tune(const std::filesystem::path& root, const std::filesystem::path& model,
           const std::filesystem::path& out, Workers& workers, const TrainingHooks& hooks) {
  const std::shared_ptr<const WordModel> general = WordModel::open(model);
  const WordModelData start = general->data();
  Mined mined = mine(root, workers);
  const Exam exam = held_back_exam(mined);
  if (exam.questions.size() < FEWEST_QUESTIONS) {
    throw std::runtime_error("The history of " + root.string() + " holds back only " +
                             std::to_string(exam.questions.size()) + " questions, and it takes " +
                             std::to_string(FEWEST_QUESTIONS) +
                             " to tell whether a tuned model is better");
  }
  std::vector<Pair> pairs = std::move(mined.docs);
  pairs.insert(pairs.end(), mined.commits.begin(), mined.commits.end());
  // Small steps: what all repositories taught must not be lost to one.
  const std::vector<Lesson> lessons = lessons_of(pairs, {.questions = pairs.size()});
  const WordModelData data = train_model(lessons,
                                         {.vocabulary = {.least_repositories = 1},
                                          .epochs = 6,
                                          .rate = 0.05F,
                                          .base_name = "tuned-1",
                                          .start = &start},
                                         workers, hooks);
  const TemporaryFile candidate{out.string() + ".candidate"};
  write_word_model(candidate.path, data);

  Tuned tuned;
  tuned.pairs = pairs.size();
  tuned.questions = exam.questions.size();
  tuned.before = evaluate(exam, general, workers);
  tuned.after = evaluate(exam, WordModel::open(candidate.path), workers);
  tuned.kept = tuned.after.all.reciprocal_rank > tuned.before.all.reciprocal_rank;
  if (tuned.kept) std::filesystem::rename(candidate.path, out);
  return tuned;
}

}  // namespace velmora::train
