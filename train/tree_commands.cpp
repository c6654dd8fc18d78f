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
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "decision/decision_weights.h"
#include "decision_training.h"
#include "judge_report.h"
#include "judging.h"
#include "quality_report.h"
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
  std::optional<std::string> before;
  TreeSet set = TreeSet::validation;
  std::string decision = "models/builtin.decision";
  bool without_sentences = false;
  bool without_bodies = false;
  DecisionTrainingOptions training;
  std::size_t learned_questions = 1000;
  std::optional<std::string> page;
  ExamOptions exams = {.questions = 200};
};

std::vector<fs::path> files_of(const Arguments& arguments, TreeSet set) {
  std::vector<fs::path> files = tree_files(arguments.trees, set);
  if (!files.empty()) return files;
  throw std::runtime_error(arguments.trees + " holds no tree of the " + std::string(name_of(set)) +
                           " set");
}

// Reads trees, one a thread at a time, and gives what `make` makes of each, in the
// order of their names.
template <class Result>
std::vector<Result> each_tree(const std::vector<fs::path>& files, Workers& workers,
                              const std::function<Result(const Tree&)>& make) {
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

// Each part by itself, but for the decision, which was learned over all others; then one after the
// other.
std::vector<Parts> all_parts() {
  return {{},
          {.sentences = true},
          {.bodies = true},
          {.model = true},
          {.settings = true},
          {.sentences = true, .bodies = true},
          {.sentences = true, .bodies = true, .model = true},
          {.sentences = true, .bodies = true, .model = true, .settings = true},
          {.sentences = true, .bodies = true, .model = true, .settings = true, .decision = true}};
}

std::string judged(const Arguments& arguments, TreeSet set, const std::vector<Parts>& parts,
                   Workers& workers) {
  const EmbeddingModels models = {WordModel::open(arguments.model),
                                  arguments.before ? WordModel::open(*arguments.before) : nullptr};
  static_cast<void>(host::decision::read_weights(arguments.decision));  // tells what is wrong
  const auto decisions = std::make_shared<host::decision::BuiltinDecision>(
      arguments.decision, std::make_shared<host::embedding::BuiltinEngine>(arguments.model));
  const std::vector<JudgedTree> trees = each_tree<JudgedTree>(
      files_of(arguments, set), workers,
      [&](const Tree& tree) { return judge(tree, parts, arguments.exams, models, decisions); });
  return judged_markdown(trees, parts);
}

void tell(const Arguments& arguments, TreeSet set, unsigned threads) {
  Workers workers(threads);
  const std::string text = judged(arguments, set, all_parts(), workers);
  std::fputs(text.c_str(), stdout);
  if (arguments.page) write_measured(*arguments.page, std::string(name_of(set)) + " set", text);
}

// Learns the weights, writes them, and measures them by the trees that choose settings.
void decide(const Arguments& arguments, Workers& workers) {
  const auto model = WordModel::open(arguments.model);
  const Parts parts = {.sentences = !arguments.without_sentences,
                       .bodies = !arguments.without_bodies,
                       .model = true,
                       .settings = true};
  const ExamOptions exams = {.questions = arguments.learned_questions,
                             .seed = arguments.exams.seed};
  std::vector<RankedQuestion> questions;
  for (std::vector<RankedQuestion>& some : each_tree<std::vector<RankedQuestion>>(
           files_of(arguments, TreeSet::decision), workers,
           [&](const Tree& tree) { return ranked_questions(tree, parts, exams, model); })) {
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
                                               {"decision", TreeSet::decision},
                                               {"validation", TreeSet::validation},
                                               {"test", TreeSet::test}};
  judge->add_option("--set", arguments->set, "training, decision, validation or test")
      ->transform(CLI::CheckedTransformer(sets))
      ->default_str("validation");
  CLI::App* report = app.add_subcommand(
      "report", "Measure the same by the trees of the test set, by which nothing is ever chosen");
  add_common(*report, *arguments);
  for (CLI::App* command : {judge, report}) {
    command
        ->add_option("--before-model", arguments->before,
                     "The embedding model of the fusion that the parts are added to")
        ->required();
    command->add_option("--decision", arguments->decision, "The weights of the decision model")
        ->capture_default_str();
    command->add_option("--report", arguments->page, "Puts the tables into this file");
  }
  judge->callback([arguments, &threads] { tell(*arguments, arguments->set, threads); });
  report->callback([arguments, &threads] { tell(*arguments, TreeSet::test, threads); });

  CLI::App* decision =
      app.add_subcommand("decide", "Learn the weights of the decision model, and measure them");
  add_common(*decision, *arguments);
  decision->add_option("--out", arguments->decision, "The file of weights to write")
      ->capture_default_str();
  decision
      ->add_option("--learned-questions", arguments->learned_questions,
                   "The most questions of each kind that are learned from a tree")
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
