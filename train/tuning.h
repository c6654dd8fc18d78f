// Adapts a model to one repository.
#pragma once

#include <cstddef>
#include <filesystem>

#include "evaluation.h"
#include "training.h"
#include "workers.h"

namespace velmora::train {

// What tuning came to.
struct Tuned {
  std::size_t pairs = 0;      // learned from
  std::size_t questions = 0;  // of the newest commits, held back
  ExamScores before;          // the answers to those with the model as it was,
  ExamScores after;           // and with the tuned one
  bool kept = false;
};

// Trains the model at `model` further on the documentation and the history of the work tree at
// `root`, but for the newest tenth of its commits, and asks both models about those. Writes the
// tuned one to `out` only when it answers better with all channels; otherwise `out` stays as it is.
// Throws std::runtime_error when the history is too short to tell, and what `mine` throws.
[[nodiscard]] Tuned tune(const std::filesystem::path& root, const std::filesystem::path& model,
                         const std::filesystem::path& out, Workers& workers,
                         const TrainingHooks& hooks = {});

}  // namespace velmora::train
