#include "tree_commands.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "judge_report.h"
#include "judging.h"
#include "tree.h"
#include "tree_split.h"
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
  return {{}, {.sentences = true}, {.bodies = true}, {.sentences = true, .bodies = true}};
}

std::string judged(const Arguments& arguments, TreeSet set, Workers& workers) {
  const std::vector<Parts> parts = all_parts();
  const auto model = WordModel::open(arguments.model);
  const std::vector<JudgedTree> trees = each_tree<JudgedTree>(
      arguments, set, workers,
      [&](const Tree& tree) { return judge(tree, parts, arguments.exams, model, nullptr); });
  return judged_markdown(trees, parts);
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
  judge->callback([arguments, &threads] {
    Workers workers(threads);
    std::fputs(judged(*arguments, arguments->set, workers).c_str(), stdout);
  });
}

}  // namespace velmora::train
