// Learns the vectors of words from lessons.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>

#include "examples.h"
#include "lessons.h"
#include "velmora/host/embedding/word_model.h"
#include "workers.h"

namespace velmora::train {

struct TrainingOptions {
  std::uint64_t seed = 1;
  std::uint32_t dimensions = 256;
  // A word needs to stand in so many texts of the pairs, and in texts of so many repositories, to
  // get a vector: what only one repository says is no lesson for another.
  VocabularyOptions vocabulary = {};
  int epochs = 8;
  // Pairs that compete with each other, and how many of them in a row are of one repository, and
  // there file by file: what stands in the same file is the hardest to tell apart.
  std::size_t batch = 1024;
  std::size_t group = 1024;
  float temperature = 0.1F;
  // The first step size; it falls to zero by the last batch.
  float rate = 0.4F;
  // Besides, each answer competes with so many rivals of its question, drawn anew in every epoch,
  // each counting as much as so many others: what text alone takes for the answer matters most.
  std::size_t rivals = 8;
  float rival_weight = 40.0F;
  // How much the loss of the merged answer counts beside that of the vectors alone.
  float fusion_weight = 1.3F;
  // The length of the vectors of words that the model does not know, a little more than that of
  // those that it learns, and the length that these begin with.
  float unknown_length = 32.0F;
  float first_length = 20.0F;
  // The name of the model, without its checksum.
  std::string base_name = "builtin-2";
  // A model to begin with, whose dimensions and settings are kept; words that it lacks begin with
  // the vectors that it gives to unknown ones. Null: none. Lives as long as the training.
  const host::embedding::WordModelData* start = nullptr;
  host::embedding::SymbolSettings settings = {.name = {2.0F, 64},
                                              .fqn = {2.0F, 64},
                                              .signature = {0.5F, 30},
                                              .path = {5.0F, 64},
                                              .docstring = {0.1F, 40},
                                              .body = {0.25F, 64}};
};

// How far a training is, after each epoch.
struct TrainingProgress {
  int epoch = 0;  // from 1
  int epochs = 0;
  double loss = 0.0;  // mean over the epoch
};

// What the caller of a training wants to know and to stop.
struct TrainingHooks {
  std::function<void(const TrainingProgress&)> progress = {};
  // Asked after each batch; true ends the training with what was learned so far.
  std::function<bool()> stop = {};
};

// A model trained on lessons. The same arguments give the same model, bit for bit, on machines of
// one kind. Throws std::invalid_argument when no word is left to learn.
[[nodiscard]] host::embedding::WordModelData train_model(std::span<const Lesson> lessons,
                                                         const TrainingOptions& options,
                                                         Workers& workers,
                                                         const TrainingHooks& hooks = {});

}  // namespace velmora::train
