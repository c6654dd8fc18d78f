#include "tree_commands.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "decision/decision_weights.h"
#include "decision_training.h"
#include "judge_report.h"
#include "judging.h"
#include "tree.h"
#include "tree_split.h"
#include "velmora/host/decision/builtin_decision.h"
#include "velmora/host/embedding/builtin_engine.h"
#include "velmora/host/embedding/word_model.h"
#include "workers.h"

namespace velmora::train {
namespace {

namespace fs = std::filesystem;
using host::embedding::WordModel;

struct Arguments {
  std::string trees;
  std::string model = "models/builtin.model";
  TreeSet set = TreeSet::validation;
  std::string decision = "models/builtin.decision";
  bool without_sentences = false;
  bool without_bodies = false;
  DecisionTrainingOptions training;
  ExamOptions exams = {.questions = 200};
};

// Reads the trees of a set, one a thread at a time, and gives what `make` makes of each, in the
// order of their names.
template <class Result>
std::vector<Result> each_tree(const Arguments& arguments, TreeSet set, Workers& workers,
                              const std::function<Result(const Tree&)>& make) {
  const std::vector<fs::path> files = tree_files(arguments.trees, set);
  if (files.empty()) {
    throw std::runtime_error(arguments.trees + " holds no tree of the " +
                             std::string(name_of(set)) + " set");
  }
  std::vector<Result> results(files.size());
  std::mutex lock;
  std::size_t done = 0;
  workers.run(files.size(), [&](std::size_t number) {
    results[number] = make(read_tree(files[number]));
    const std::lock_guard held(lock);
    std::fprintf(stderr, "%zu of %zu: %s\n", ++done, files.size(),
                 tree_repository_of(files[number]).c_str());
  });
  return results;
}

// Each part by itself, then one after the other.
std::vector<Parts> all_parts() {
  return {{},
          {.sentences = true},
          {.bodies = true},
          {.decision = true},
          {.sentences = true, .bodies = true},
          {.sentences = true, .decision = true},
          {.sentences = true, .bodies = true, .decision = true}};
}

std::string judged(const Arguments& arguments, TreeSet set, const std::vector<Parts>& parts,
                   Workers& workers) {
  const auto model = WordModel::open(arguments.model);
  static_cast<void>(host::decision::read_weights(arguments.decision));  // tells what is wrong
  const auto decisions = std::make_shared<host::decision::BuiltinDecision>(
      arguments.decision, std::make_shared<host::embedding::BuiltinEngine>(arguments.model));
  const std::vector<JudgedTree> trees = each_tree<JudgedTree>(
      arguments, set, workers,
      [&](const Tree& tree) { return judge(tree, parts, arguments.exams, model, decisions); });
  return judged_markdown(trees, parts);
}

// Learns the weights, writes them, and measures them by the trees that choose settings.
void decide(const Arguments& arguments, Workers& workers) {
  const auto model = WordModel::open(arguments.model);
  const Parts parts = {.sentences = !arguments.without_sentences,
                       .bodies = !arguments.without_bodies};
  std::vector<RankedQuestion> questions;
  for (std::vector<RankedQuestion>& some : each_tree<std::vector<RankedQuestion>>(
           arguments, TreeSet::training, workers, [&](const Tree& tree) {
             return ranked_questions(tree, parts, arguments.exams, model);
           })) {
    std::move(some.begin(), some.end(), std::back_inserter(questions));
  }
  if (questions.empty()) throw std::runtime_error("the trees hold no question to learn from");
  std::fprintf(stderr, "learning from %zu questions\n", questions.size());
  const std::string text = host::decision::weights_text(
      {model->name(), learn_weights(questions, arguments.training, workers)});
  std::ofstream out(arguments.decision, std::ios::binary | std::ios::trunc);
  out << text;
  out.close();
  if (!out) throw std::runtime_error(arguments.decision + " cannot be written");
  Parts with = parts;
  with.decision = true;
  std::fputs(judged(arguments, TreeSet::validation, {parts, with}, workers).c_str(), stdout);
}

void add_common(CLI::App& command, Arguments& arguments) {
  command.add_option("TREES", arguments.trees, "A folder of trees, OWNER+NAME.jsonl.gz")
      ->required();
  command.add_option("--model", arguments.model, "The embedding model")->capture_default_str();
  command
      .add_option("--questions", arguments.exams.questions,
                  "The most questions of each kind that a tree is asked")
      ->capture_default_str();
  command.add_option("--seed", arguments.exams.seed, "Draws the questions")->capture_default_str();
}

}  // namespace

void add_tree_commands(CLI::App& app, const unsigned& threads) {
  const auto arguments = std::make_shared<Arguments>();
  CLI::App* judge = app.add_subcommand("judge", "Measure what each part adds to the answers");
  add_common(*judge, *arguments);
  const std::map<std::string, TreeSet> sets = {{"training", TreeSet::training},
                                               {"validation", TreeSet::validation},
                                               {"test", TreeSet::test}};
  judge->add_option("--set", arguments->set, "training, validation or test")
      ->transform(CLI::CheckedTransformer(sets))
      ->default_str("validation");
  judge->add_option("--decision", arguments->decision, "The weights of the decision model")
      ->capture_default_str();
  judge->callback([arguments, &threads] {
    Workers workers(threads);
    std::fputs(judged(*arguments, arguments->set, all_parts(), workers).c_str(), stdout);
  });

  CLI::App* decision =
      app.add_subcommand("decide", "Learn the weights of the decision model, and measure them");
  add_common(*decision, *arguments);
  decision->add_option("--out", arguments->decision, "The file of weights to write")
      ->capture_default_str();
  decision->add_flag("--without-sentences", arguments->without_sentences,
                     "Ask questions as they are typed");
  decision->add_flag("--without-bodies", arguments->without_bodies,
                     "Let text search read no bodies");
  decision->add_option("--l2", arguments->training.l2, "What large weights cost")
      ->check(CLI::NonNegativeNumber)
      ->capture_default_str();
  decision->callback([arguments, &threads] {
    Workers workers(threads);
    decide(*arguments, workers);
  });
}

}  // namespace velmora::train
