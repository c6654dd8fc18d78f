#include "tune_command.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include "cli/end_signals.h"
#include "cli/progress_line.h"
#include "cli/refresh_folder.h"
#include "embedding/index_model.h"
#include "tuning.h"
#include "upkeep/index_place.h"
#include "velmora/host/decision/builtin_decision.h"
#include "velmora/host/embedding/builtin_engine.h"
#include "velmora/host/embedding/word_model.h"
#include "velmora/host/index/index_folder.h"
#include "workers.h"

namespace velmora::train {
namespace {

namespace fs = std::filesystem;
using host::cli::ProgressLine;

struct Arguments {
  std::string folder = ".";
  std::optional<fs::path> model;  // absent: the one that came along
};

// The repository whose index answers questions from the folder.
fs::path repository_at(const fs::path& folder) {
  if (!fs::is_directory(folder)) throw std::runtime_error(folder.string() + " is no folder");
  if (const auto index = host::upkeep::nearest_index(folder)) {
    return host::index::repository_of(*index);
  }
  fs::path root = host::upkeep::folder_to_index(folder);
  host::upkeep::require_no_consent(root);
  return root;
}

// Shows how far it is.
TuningHooks hooks(ProgressLine& line) {
  return {
      .learning =
          [&line](const Tuned& begun) {
            line.begin("Learning from " + std::to_string(begun.pairs) + " questions and answers");
          },
      .training = {.progress = [&line](const TrainingProgress& now) {
        if (now.epoch == now.epochs) return line.begin("Asking with both models");
        line.show([&](double seconds) {
          const std::string left = host::cli::time_left(now.epoch, now.epochs, seconds);
          return "round " + std::to_string(now.epoch) + " of " + std::to_string(now.epochs) +
                 (left.empty() ? "" : ", " + left);
        });
      }}};
}

// "+6.4 % (with 90 % certainty between +1.5 and +11.4 %)"
std::string gain_text(const Tuned& tuned) {
  const double percent = 100.0 / std::max(tuned.before, 1e-9);
  std::array<char, 128> text{};
  std::snprintf(text.data(), text.size(),
                "%+.1f %% (with 90 %% certainty between %+.1f and %+.1f %%)",
                tuned.gain.mean * percent, tuned.gain.low * percent, tuned.gain.high * percent);
  return text.data();
}

void run(const Arguments& arguments, unsigned threads) {
  host::cli::end_at_signals();
  Workers workers(threads);
  const fs::path root = repository_at(arguments.folder);
  const fs::path index = host::upkeep::index_of_repository(root);
  const fs::path shipped = host::embedding::shipped_model_file();
  const fs::path out = host::embedding::tuned_model_file(index);
  const Tuned tuned = [&] {
    ProgressLine line("Reading files and history");
    return tune({.root = root,
                 .model = arguments.model.value_or(shipped),
                 .used = host::embedding::chosen_model_file({}, index).value_or(shipped),
                 .decision = host::decision::shipped_decision_file(),
                 .out = out},
                workers, hooks(line));
  }();
  std::printf(
      "Learned from %zu questions and answers. %zu questions of the newest commits, held back, "
      "were\n"
      "asked with the model that was used so far and with the tuned one. Mean reciprocal rank:\n"
      "%.4f before, %.4f tuned, %s.\n",
      tuned.pairs, tuned.questions, tuned.before, tuned.after, gain_text(tuned).c_str());
  if (!tuned.kept) {
    std::printf("%s: the tuned model is not kept, and nothing has changed.\n",
                tuned.gain.mean > 0.0 ? "That may be chance" : "That is no better");
    return;
  }
  std::printf("That is no chance: the tuned model is kept as %s\n", out.c_str());
  std::fflush(stdout);
  host::index::note_made_here(out);
  const auto done = host::cli::refresh_folder(
      root, {.model = host::embedding::WordModel::open(out)}, false, [] {});
  std::printf("%s, with it. To go back: rm %s && velmora index %s\n", done.headline.c_str(),
              out.c_str(), root.c_str());
}

}  // namespace

const CLI::App* add_tune_command(CLI::App& app, const unsigned& threads) {
  const auto arguments = std::make_shared<Arguments>();
  CLI::App* command = app.add_subcommand(
      "tune", "Adapt the embedding model to a repository, and keep that if it is surely better");
  command->add_option("dir", arguments->folder, "A git work tree; the current one when absent")
      ->type_name("DIR");
  command
      ->add_option("--model", arguments->model,
                   "The model to begin with, in place of the one that came with velmora")
      ->type_name("FILE");
  command->footer(
      "It learns from the repository's documentation and from the subjects of its commits. There\n"
      "must be a hundred of these that say what they change; the newest fifth is held back, and\n"
      "asked with the model that is used so far and with the tuned one. This is kept as\n"
      "DIR/.velmora/tuned.model only if it answers better with 95 % certainty, and then the index\n"
      "is brought up to date with it. To go back, remove that file and run velmora index.\n"
      "It takes git and up to some minutes. Nothing leaves this machine, and Ctrl-C leaves all as\n"
      "it was.");
  command->callback([arguments, &threads] { run(*arguments, threads); });
  return command;
}

}  // namespace velmora::train
