// velmora-train: trains the model of word vectors and measures it.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <exception>
#include <iterator>
#include <string>
#include <vector>

#include "evaluation.h"
#include "exam.h"
#include "pairs.h"
#include "training.h"
#include "workers.h"

namespace velmora::train {
namespace {

using host::embedding::RowKind;
using host::embedding::WordModel;
using host::embedding::WordModelData;

volatile std::sig_atomic_t interrupted = 0;

struct Arguments {
  std::string pairs;
  std::string model = "models/builtin.model";
  std::string float_model;
  TrainingOptions training;
  ExamOptions exams;
  unsigned threads = 0;
};

std::vector<Pair> training_pairs(std::vector<Pair> pairs) {
  std::erase_if(pairs, [](const Pair& pair) {
    return std::find(VALIDATION_REPOSITORIES.begin(), VALIDATION_REPOSITORIES.end(),
                     pair.repository) != VALIDATION_REPOSITORIES.end();
  });
  return pairs;
}

void train(const Arguments& arguments) {
  Workers workers(arguments.threads);
  std::vector<Pair> pairs = read_pairs(arguments.pairs);
  const std::vector<Exam> exams =
      make_exams(pairs, VALIDATION_REPOSITORIES, {.questions = 100, .seed = arguments.exams.seed});
  pairs = training_pairs(std::move(pairs));
  std::signal(SIGINT, [](int) { interrupted = 1; });
  const auto begin = std::chrono::steady_clock::now();
  const WordModelData data = train_model(
      pairs, exams, arguments.training, workers,
      {.progress =
           [&](const TrainingProgress& progress) {
             const std::chrono::duration<double> spent = std::chrono::steady_clock::now() - begin;
             std::fprintf(stderr, "epoch %d of %d: loss %.4f, rank by meaning %.4f, %.0f s\n",
                          progress.epoch, progress.epochs, progress.loss, progress.rank,
                          spent.count());
           },
       .stop = [] { return interrupted != 0; }});
  write_word_model(arguments.model, data);
  if (!arguments.float_model.empty()) {
    write_word_model(arguments.float_model, data, RowKind::float32);
  }
  std::printf("%s: %zu words of %u numbers, %s\n", arguments.model.c_str(), data.words.size(),
              data.dimensions, WordModel::open(arguments.model)->name().c_str());
}

void evaluate_model(const Arguments& arguments) {
  Workers workers(arguments.threads);
  const std::vector<Exam> exams =
      make_exams(read_pairs(arguments.pairs), VALIDATION_REPOSITORIES, arguments.exams);
  const auto model = WordModel::open(arguments.model);
  std::printf("%-22s %-6s %6s %6s  %-13s  %-13s  %-13s  gain\n", "repository", "kind", "symb",
              "ask", "text", "meaning", "all");
  for (const PairKind kind : {PairKind::doc, PairKind::commit}) {
    ExamScores sum;
    double count = 0;
    const auto print = [&](const std::string& name, std::size_t symbols, std::size_t questions,
                           const ExamScores& s) {
      std::printf("%-22s %-6s %6zu %6zu  %.4f %.4f  %.4f %.4f  %.4f %.4f  %+.1f %%\n", name.c_str(),
                  kind == PairKind::doc ? "doc" : "commit", symbols, questions,
                  s.text.reciprocal_rank, s.text.recall, s.meaning.reciprocal_rank,
                  s.meaning.recall, s.all.reciprocal_rank, s.all.recall,
                  (s.all.reciprocal_rank / s.text.reciprocal_rank - 1.0) * 100.0);
      std::fflush(stdout);
    };
    std::size_t symbols = 0;
    std::size_t questions = 0;
    for (const Exam& exam : exams) {
      if (exam.kind != kind) continue;
      const ExamScores scores = evaluate(exam, model, workers);
      print(exam.repository, exam.symbols.size(), exam.questions.size(), scores);
      const auto add = [&](Scores& to, const Scores& from) {
        const auto weight = static_cast<double>(exam.questions.size());
        to += {from.reciprocal_rank * weight, from.recall * weight};
      };
      add(sum.text, scores.text);
      add(sum.meaning, scores.meaning);
      add(sum.all, scores.all);
      count += static_cast<double>(exam.questions.size());
      symbols += exam.symbols.size();
      questions += exam.questions.size();
    }
    for (Scores* s : {&sum.text, &sum.meaning, &sum.all}) {
      s->reciprocal_rank /= count;
      s->recall /= count;
    }
    print("all", symbols, questions, sum);
  }
  const Speed speed = measure_speed(arguments.model, exams);
  std::printf("open %.2f ms, query %.2f us, 100,000 symbols %.2f s\n", speed.open_milliseconds,
              speed.query_microseconds, speed.symbols_seconds);
}

int run(int argc, const char* const* argv) {
  CLI::App app("Trains the embedding model of velmora and measures it.", "velmora-train");
  app.require_subcommand(1);
  Arguments arguments;
  TrainingOptions& training = arguments.training;

  CLI::App* trainer = app.add_subcommand("train", "Learn word vectors from pairs");
  trainer->add_option("PAIRS", arguments.pairs)->required();
  trainer->add_option("--out", arguments.model)->capture_default_str();
  trainer->add_option("--float-out", arguments.float_model);
  trainer->add_option("--seed", training.seed)->capture_default_str();
  trainer->add_option("--dimensions", training.dimensions)->capture_default_str();
  trainer->add_option("--least", training.least)->capture_default_str();
  trainer->add_option("--epochs", training.epochs)->capture_default_str();
  trainer->add_option("--batch", training.batch)->capture_default_str();
  trainer->add_option("--group", training.group)->capture_default_str();
  trainer->add_option("--temperature", training.temperature)->capture_default_str();
  trainer->add_option("--rate", training.rate)->capture_default_str();
  trainer->add_option("--doc-pairs", training.most_doc_pairs)->capture_default_str();
  trainer->add_option("--commit-pairs", training.most_commit_pairs)->capture_default_str();
  trainer->add_option("--drop-question-words", training.drop_question_words);
  trainer->add_option("--drop-symbol-words", training.drop_symbol_words);
  trainer->add_option("--name-weight", training.settings.name.weight)->capture_default_str();
  trainer->add_option("--fqn-weight", training.settings.fqn.weight)->capture_default_str();
  trainer->add_option("--signature-weight", training.settings.signature.weight);
  trainer->add_option("--path-weight", training.settings.path.weight);
  trainer->add_option("--docstring-weight", training.settings.docstring.weight);
  trainer->add_option("--docstring-words", training.settings.docstring.words);
  trainer->add_option("--threads", arguments.threads);

  CLI::App* evaluator = app.add_subcommand("evaluate", "Measure what a model adds");
  evaluator->add_option("PAIRS", arguments.pairs)->required();
  evaluator->add_option("--model", arguments.model)->capture_default_str();
  evaluator->add_option("--questions", arguments.exams.questions)->capture_default_str();
  evaluator->add_option("--threads", arguments.threads);

  try {
    app.parse(argc, argv);
    if (trainer->parsed()) train(arguments);
    if (evaluator->parsed()) evaluate_model(arguments);
    return 0;
  } catch (const CLI::ParseError& error) {
    return app.exit(error);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "velmora-train: %s\n", error.what());
    return 1;
  }
}

}  // namespace
}  // namespace velmora::train

int main(int argc, char** argv) { return velmora::train::run(argc, argv); }
