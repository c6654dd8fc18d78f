#include "tuning.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "decision/decision_weights.h"
#include "judging.h"
#include "lessons.h"
#include "miner.h"
#include "tree.h"
#include "velmora/host/decision/builtin_decision.h"
#include "velmora/host/embedding/builtin_engine.h"
#include "velmora/host/index/index_folder.h"

namespace velmora::train {
namespace {

namespace fs = std::filesystem;
using host::decision::BuiltinDecision;
using host::embedding::BuiltinEngine;
using host::embedding::WordModel;
using host::embedding::WordModelData;

// Fewer questions cannot tell which model is better.
constexpr std::size_t FEWEST_QUESTIONS = 20;
// One in so many is held back.
constexpr std::size_t HELD_BACK = 5;

// A file that is gone when it is left.
struct TemporaryFile {
  fs::path path;
  ~TemporaryFile() {
    std::error_code ignored;
    fs::remove(path, ignored);
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

// The questions of the newest commits. They are taken from the pairs, and with them what the
// documentation says of the symbols that they ask for: those commits may have written it.
TreeExam held_back_exam(Mined& mined) {
  const std::vector<std::string> questions = questions_of(mined.commits);
  std::unordered_map<std::string, std::size_t> numbers;
  TreeExam exam = {.kind = PairKind::commit,
                   .questions = {},
                   .hidden = std::vector<bool>(mined.tree.symbols.size(), false)};
  for (std::size_t i = 0; i < questions.size() / HELD_BACK; ++i) {
    if (numbers.emplace(questions[i], exam.questions.size()).second) {
      exam.questions.push_back({questions[i], {}});
    }
  }
  std::unordered_map<std::string, std::uint32_t> symbols;
  for (std::uint32_t i = 0; i < mined.tree.symbols.size(); ++i) {
    symbols.emplace(mined.tree.symbols[i].path + "\n" + mined.tree.symbols[i].fqn, i);
  }
  const auto symbol_of = [&](const Pair& pair) { return symbols.at(pair.path + "\n" + pair.fqn); };
  std::unordered_set<std::uint32_t> asked;
  // An older commit of the same subject is held back too.
  std::erase_if(mined.commits, [&](const Pair& pair) {
    const auto question = numbers.find(pair.query);
    if (question == numbers.end()) return false;
    exam.questions[question->second].answers.push_back(symbol_of(pair));
    asked.insert(symbol_of(pair));
    return true;
  });
  std::erase_if(mined.docs, [&](const Pair& pair) { return asked.contains(symbol_of(pair)); });
  for (Question& question : exam.questions) {
    std::sort(question.answers.begin(), question.answers.end());
    const auto repeats = std::unique(question.answers.begin(), question.answers.end());
    question.answers.erase(repeats, question.answers.end());
  }
  return exam;
}

// The model as a file keeps it. The file is there for a moment only.
std::shared_ptr<BuiltinEngine> engine_of(const WordModelData& data, const fs::path& file) {
  const TemporaryFile written = {file};
  write_word_model(written.path, data);
  auto engine = std::make_shared<BuiltinEngine>(written.path);
  static_cast<void>(engine->model());
  return engine;
}

// How each question of the exam is answered: 1 / rank, 0 where nothing right is found.
std::vector<double> reciprocal_ranks(const Tree& tree, const TreeExam& exam,
                                     const std::shared_ptr<BuiltinEngine>& engine,
                                     const fs::path& decision) {
  ExamAsker asker(tree, exam, {.now = engine->model()},
                  std::make_shared<BuiltinDecision>(decision, engine));
  std::vector<double> scores;
  for (const Question& question : exam.questions) {
    const auto answer = asker.ask(
        question,
        {.sentences = true, .bodies = true, .model = true, .settings = true, .decision = true});
    const std::uint32_t rank = rank_of(answer.hits, question);
    scores.push_back(rank == 0 ? 0.0 : 1.0 / rank);
  }
  return scores;
}

double mean(const std::vector<double>& scores) {
  double sum = 0.0;
  for (const double score : scores) sum += score;
  return sum / static_cast<double>(scores.size());
}

}  // namespace

Tuned tune(const TuningFiles& files, Workers& workers, const TuningHooks& hooks) {
  const WordModelData start = WordModel::open(files.model)->data();
  static_cast<void>(host::decision::read_weights(files.decision));  // tells what is wrong
  static_cast<void>(host::index::require_plain_file(files.out));    // so does this
  Mined mined = mine(files.root, workers);
  const TreeExam exam = held_back_exam(mined);
  if (exam.questions.size() < FEWEST_QUESTIONS) {
    throw std::runtime_error(
        "the history of " + files.root.string() +
        " is too short: to tell whether a tuned model is"
        " better takes at least " +
        std::to_string(FEWEST_QUESTIONS * HELD_BACK) +
        " commits that say what they change, and change functions that are still there; it has " +
        std::to_string(questions_of(mined.commits).size() + exam.questions.size()));
  }
  std::vector<Pair> pairs = std::move(mined.docs);
  pairs.insert(pairs.end(), mined.commits.begin(), mined.commits.end());
  Tuned tuned = {.pairs = pairs.size(), .questions = exam.questions.size()};
  if (hooks.learning) hooks.learning(tuned);
  // Smaller steps than a model takes that begins with nothing: what all repositories taught must
  // not be lost to one. Chosen on the validation trees, where half the rate gains two thirds as
  // much, and twice the rate or the epochs no more.
  const std::vector<Lesson> lessons = lessons_of(pairs, {.questions = pairs.size()});
  const WordModelData data = train_model(lessons,
                                         {.vocabulary = {.least_repositories = 1},
                                          .epochs = 6,
                                          .rate = 0.2F,
                                          .base_name = "tuned-1",
                                          .start = &start},
                                         workers, hooks.training);

  const auto ranks = [&](const std::shared_ptr<BuiltinEngine>& engine) {
    return reciprocal_ranks(mined.tree, exam, engine, files.decision);
  };
  const std::vector<double> before = ranks(std::make_shared<BuiltinEngine>(files.used));
  host::index::make_index_folder(files.root);
  const std::vector<double> after = ranks(engine_of(data, files.out.string() + ".candidate"));
  std::vector<double> differences(after);
  for (std::size_t i = 0; i < differences.size(); ++i) differences[i] -= before[i];
  tuned.before = mean(before);
  tuned.after = mean(after);
  tuned.gain = paired_gain(differences);
  tuned.kept = tuned.gain.is_sure();
  if (tuned.kept) write_word_model(files.out, data);
  return tuned;
}

}  // namespace velmora::train
