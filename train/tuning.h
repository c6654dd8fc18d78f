// Adapts the embedding model to one repository.
#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>

#include "paired_gain.h"
#include "training.h"
#include "workers.h"

namespace velmora::train {

// Where the parts are, and where the tuned model goes.
struct TuningFiles {
  std::filesystem::path root;      // a git work tree, or a folder in one
  std::filesystem::path model;     // to begin with
  std::filesystem::path used;      // that answers now, and that the tuned one has to be better than
  std::filesystem::path decision;  // the weights of the decision model
  std::filesystem::path out;       // in the index folder of `root`, which is made when it is needed
};

// What tuning came to.
struct Tuned {
  std::size_t pairs = 0;      // learned from
  std::size_t questions = 0;  // of the newest commits, held back
  double before = 0.0;        // the mean reciprocal rank of the answers to those, as it is used now
  double after = 0.0;         // and by the tuned model
  PairedGain gain = {};       // of the second over the first
  bool kept = false;
};

struct TuningHooks {
  // Told of `pairs` and `questions` before the learning begins.
  std::function<void(const Tuned& begun)> learning = {};
  TrainingHooks training = {};
};

// Trains the model further on the documentation and the history of the files, but for the newest
// fifth of the history's questions, and asks those with the model that is used and with the tuned
// one, as `velmora explore` does: the words of bodies, the reading of sentences and the decision
// model count too, so that what is compared is what a user would see. The decision model's weights
// are the same for both: they were learned with the model that came along, and whether they go with
// the tuned one is part of what is tested. A model that was tuned here before, on a shorter
// history, has not seen those questions either.
//
// Writes the tuned model to `files.out` only if it is surely better (PairedGain::is_sure);
// otherwise what stands there stays. Throws std::runtime_error when the history is too short to
// tell, or a file is not what it should be, and what `mine` throws.
[[nodiscard]] Tuned tune(const TuningFiles& files, Workers& workers, const TuningHooks& hooks = {});

}  // namespace velmora::train
