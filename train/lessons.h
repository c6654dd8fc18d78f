// What a model learns from: repositories, and questions about them whose answers are known.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>
#include <string_view>
#include <vector>

#include "exam.h"
#include "pairs.h"
#include "tree.h"
#include "workers.h"

namespace velmora::train {

struct Lesson {
  Tree tree = {};
  std::vector<TreeExam> exams = {};
};

// Whether the embedding model may learn from a repository: it is of the training set, and nothing
// is told of models by its questions.
[[nodiscard]] bool is_learned_from(std::string_view repository);

// A lesson for each repository of the pairs, whose symbols are those that the pairs tell of, with
// as many questions of each kind as the options say.
[[nodiscard]] std::vector<Lesson> lessons_of(std::span<const Pair> pairs,
                                             const ExamOptions& options);

// A lesson for each file of a tree, in their order.
[[nodiscard]] std::vector<Lesson> lessons_of(std::span<const std::filesystem::path> trees,
                                             const ExamOptions& options, Workers& workers);

}  // namespace velmora::train
