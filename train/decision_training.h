// Learns the weights of the program's own decision model from whole trees.
#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

#include "decision/decision_weights.h"
#include "judging.h"
#include "tree.h"
#include "velmora/host/embedding/word_model.h"
#include "workers.h"

namespace velmora::train {

// The hits of a question that a rerank may move, as the decision model sees them, when the right
// answer is among them.
struct RankedQuestion {
  double weight = 0.0;  // as question_weight() has it
  std::vector<host::decision::FeatureRow> rows;
  std::vector<bool> right;
};

// Asks a tree, with the parts that are on besides the decision, and keeps what can be learned from.
[[nodiscard]] std::vector<RankedQuestion> ranked_questions(
    const Tree& tree, const Parts& parts, const ExamOptions& options,
    const std::shared_ptr<const host::embedding::WordModel>& model);

struct DecisionTrainingOptions {
  // What the square of a weight costs, in features of deviation one, beside a mean loss.
  double l2 = 1e-3;
};

// The weights under which the softmax over the candidates of a question gives its right ones the
// most: the smallest weighted mean of -ln of the sum of their probabilities. Found by Newton's
// method with a majorant of the loss, which falls at every step. The same questions give the same
// bits however many threads there are, on machines of one kind. REQUIRES: there is a question.
[[nodiscard]] host::decision::FeatureRow learn_weights(std::span<const RankedQuestion> questions,
                                                       const DecisionTrainingOptions& options,
                                                       Workers& workers);

}  // namespace velmora::train
