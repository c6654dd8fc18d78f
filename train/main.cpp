// velmora-train: adapts velmora to a repository, trains the model of word vectors and measures it.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "exam.h"
#include "lessons.h"
#include "miner.h"
#include "pairs.h"
#include "quality_report.h"
#include "training.h"
#include "tree_commands.h"
#include "tree_split.h"
#include "tune_command.h"
#include "workers.h"

namespace velmora::train {
namespace {

namespace fs = std::filesystem;
using host::embedding::RowKind;
using host::embedding::WordModel;
using host::embedding::WordModelData;

// Exit codes, as those of velmora.
constexpr int WRONG_USAGE = 2;
constexpr int FAILURE = 3;

volatile std::sig_atomic_t interrupted = 0;

struct Arguments {
  std::string pairs;
  std::string model = "models/builtin.model";
  std::optional<fs::path> float_model;
  std::optional<fs::path> report;
  std::vector<std::string> repositories;
  std::optional<fs::path> trees;
  ExamOptions lessons = {.questions = 800};
  TrainingOptions training;
  ExamOptions exams;
  unsigned threads = 0;
};

// Tells of each epoch, and ends the training when the user interrupts it.
TrainingHooks hooks() {
  std::signal(SIGINT, [](int) { interrupted = 1; });
  const auto begin = std::chrono::steady_clock::now();
  return {.progress =
              [begin](const TrainingProgress& progress) {
                const std::chrono::duration<double> spent =
                    std::chrono::steady_clock::now() - begin;
                std::fprintf(stderr, "epoch %d of %d: loss %.4f, %.0f s\n", progress.epoch,
                             progress.epochs, progress.loss, spent.count());
              },
          .stop = [] { return interrupted != 0; }};
}

// Measures by questions that are drawn from the pairs, and by all of them.
void report(const Arguments& arguments, const std::vector<Pair>& pairs, Workers& workers) {
  const std::vector<Exam> drawn = make_exams(pairs, VALIDATION_REPOSITORIES, arguments.exams);
  const std::vector<Exam> whole =
      make_exams(pairs, VALIDATION_REPOSITORIES, {.questions = pairs.size()});
  if (drawn.empty()) throw std::runtime_error("the pairs hold no question to measure with");
  const std::string text =
      to_markdown(measure(drawn, whole, arguments.model, arguments.float_model, workers));
  std::fputs(text.c_str(), stdout);
  if (arguments.report) write_measured(*arguments.report, "measured", text);
}

void run_train(const Arguments& arguments) {
  Workers workers(arguments.threads);
  std::vector<Pair> pairs = read_pairs(arguments.pairs);
  std::erase_if(pairs, [](const Pair& pair) { return !is_learned_from(pair.repository); });
  std::vector<Lesson> lessons = lessons_of(pairs, arguments.lessons);
  if (arguments.trees) {
    std::vector<fs::path> files = tree_files(*arguments.trees, TreeSet::training);
    std::erase_if(files,
                  [](const fs::path& file) { return !is_learned_from(tree_repository_of(file)); });
    std::vector<Lesson> trees = lessons_of(files, arguments.lessons, workers);
    std::move(trees.begin(), trees.end(), std::back_inserter(lessons));
  }
  const WordModelData data = train_model(lessons, arguments.training, workers, hooks());
  write_word_model(arguments.model, data);
  if (arguments.float_model) write_word_model(*arguments.float_model, data, RowKind::float32);
  std::printf("%s: %zu words of %u numbers, %s\n", arguments.model.c_str(), data.words.size(),
              data.dimensions, WordModel::open(arguments.model)->name().c_str());
}

void run_evaluate(const Arguments& arguments) {
  Workers workers(arguments.threads);
  report(arguments, read_pairs(arguments.pairs), workers);
}

void run_mine(const Arguments& arguments) {
  Workers workers(arguments.threads);
  std::vector<Pair> pairs;
  for (const std::string& repository : arguments.repositories) {
    Mined mined = mine(repository, workers);
    std::fprintf(stderr, "%s: %zu symbols, %zu pairs of documentation, %zu of commits\n",
                 repository.c_str(), mined.tree.symbols.size(), mined.docs.size(),
                 mined.commits.size());
    std::move(mined.docs.begin(), mined.docs.end(), std::back_inserter(pairs));
    std::move(mined.commits.begin(), mined.commits.end(), std::back_inserter(pairs));
  }
  write_pairs(arguments.pairs, pairs);
}

void add_training_options(CLI::App& command, TrainingOptions& training) {
  const CLI::Range some(1, 1 << 20);
  command.add_option("--seed", training.seed, "Draws everything that is random")
      ->capture_default_str();
  command.add_option("--dimensions", training.dimensions, "The length of the vectors")
      ->check(CLI::Range(1, 4096))
      ->capture_default_str();
  command.add_option("--least", training.vocabulary.least_texts, "How many texts must have a word")
      ->check(some)
      ->capture_default_str();
  command
      .add_option("--least-repositories", training.vocabulary.least_repositories,
                  "How many repositories must have a word")
      ->check(some)
      ->capture_default_str();
  command.add_option("--epochs", training.epochs, "How often every pair is seen")
      ->check(some)
      ->capture_default_str();
  command.add_option("--batch", training.batch, "How many pairs compete with each other")
      ->check(CLI::Range(2, 16384))
      ->capture_default_str();
  command.add_option("--group", training.group, "How many in a row are of one repository")
      ->check(some)
      ->capture_default_str();
  command.add_option("--rivals", training.rivals, "How many wrong answers of text compete besides")
      ->capture_default_str();
  command.add_option("--rival-weight", training.rival_weight, "How many others each counts for")
      ->check(CLI::NonNegativeNumber)
      ->capture_default_str();
  command
      .add_option("--fusion-weight", training.fusion_weight, "How much the merged answer counts")
      ->check(CLI::NonNegativeNumber)
      ->capture_default_str();
  command
      .add_option("--first-length", training.first_length, "Of the vectors that words begin with")
      ->check(CLI::NonNegativeNumber)
      ->capture_default_str();
  command
      .add_option("--unknown-length", training.unknown_length, "Of the vectors of unknown words")
      ->check(CLI::NonNegativeNumber)
      ->capture_default_str();
  command.add_option("--temperature", training.temperature, "How sharply they compete")
      ->check(CLI::Range(0.01, 10.0))
      ->capture_default_str();
  command.add_option("--rate", training.rate, "The first step size")
      ->check(CLI::PositiveNumber)
      ->capture_default_str();
  const auto add_part = [&](const std::string& name, host::embedding::PartSettings& part) {
    command.add_option("--" + name + "-weight", part.weight, "The weight of its words")
        ->check(CLI::NonNegativeNumber)
        ->capture_default_str();
    command.add_option("--" + name + "-words", part.words, "How many of its words are read")
        ->capture_default_str();
  };
  add_part("name", training.settings.name);
  add_part("fqn", training.settings.fqn);
  add_part("signature", training.settings.signature);
  add_part("path", training.settings.path);
  add_part("docstring", training.settings.docstring);
  add_part("body", training.settings.body);
}

// The numeric files may be compiled for newer processors than the rest is: train/CMakeLists.txt.
void require_processor() {
#ifdef VELMORA_TRAINER_NEEDS_AVX2
  if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma") &&
      __builtin_cpu_supports("bmi2")) {
    return;
  }
  throw std::runtime_error(
      "it was compiled for processors with AVX2, and this one has none; configure with"
      " -DVELMORA_TRAINER_ARCH=x86-64 and build it anew");
#endif
}

int run(int argc, const char* const* argv) {
  CLI::App app("Adapts velmora to a repository; makes and judges the models that come with it.",
               "velmora-train");
  app.require_subcommand(1);
  app.fallthrough();
  Arguments arguments;
  app.add_option("--threads", arguments.threads, "0: one for each processor")
      ->check(CLI::Range(0, 1024))
      ->capture_default_str();

  const CLI::App* tune = add_tune_command(app, arguments.threads);
  CLI::App* train = app.add_subcommand(
      "train",
      "Learn word vectors from pairs and trees; Ctrl-C ends it with what is learned by then");
  CLI::App* evaluation = app.add_subcommand("evaluate", "Measure what a model adds to the answers");
  for (CLI::App* command : {train, evaluation}) {
    command->add_option("PAIRS", arguments.pairs, "A file of pairs, .jsonl or .jsonl.gz")
        ->required();
  }
  evaluation
      ->add_option("--questions", arguments.exams.questions, "The most that are drawn for an exam")
      ->capture_default_str();
  evaluation->add_option("--report", arguments.report, "Puts the measured tables into this file");
  train->add_option("--trees", arguments.trees, "A folder of trees, OWNER+NAME.jsonl.gz");
  train
      ->add_option("--questions", arguments.lessons.questions,
                   "The most of each kind that are learned from a repository")
      ->capture_default_str();
  train
      ->add_option("--most-words", arguments.training.vocabulary.most_words,
                   "How many words are learned at most")
      ->capture_default_str();
  train->add_option("--out", arguments.model, "The model file to write")->capture_default_str();
  train->add_option("--float-out", arguments.float_model, "The model without rounding");
  add_training_options(*train, arguments.training);
  evaluation->add_option("--model", arguments.model, "The model file")->capture_default_str();
  evaluation->add_option("--float-model", arguments.float_model, "The model without rounding");

  CLI::App* miner = app.add_subcommand("mine", "Make pairs from git repositories");
  miner->add_option("REPO", arguments.repositories, "Work trees")->required();
  miner->add_option("--out", arguments.pairs, "The file of pairs to write")->required();

  add_tree_commands(app, arguments.threads);
  for (CLI::App* command : app.get_subcommands({})) {
    if (command == tune) continue;
    command->group("To make and judge the models that come with velmora");
  }

  try {
    require_processor();
    app.parse(argc, argv);
    if (train->parsed()) run_train(arguments);
    if (evaluation->parsed()) run_evaluate(arguments);
    if (miner->parsed()) run_mine(arguments);
    return 0;
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : WRONG_USAGE;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "velmora-train: %s\n", error.what());
    return FAILURE;
  }
}

}  // namespace
}  // namespace velmora::train

int main(int argc, char** argv) { return velmora::train::run(argc, argv); }
