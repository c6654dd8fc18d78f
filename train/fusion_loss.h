// The loss of the merged answer: how far it is from putting the right symbol first.
#pragma once

#include <cstddef>
#include <vector>

#include "gradient.h"
#include "velmora/workers/retrieval.h"
#include "workers.h"

namespace velmora::train {

// What an embedding gives a candidate in the fusion falls with its rank, which no gradient can
// follow. In its place stands a smooth vote by the candidate's cosine: two steps, one where the
// list of the semantic channel ends and one near its top, which add up to the vote of the first.
struct VoteSteps {
  float entry = 0.0F;  // the cosine at which the list ends
  float top = 0.0F;
};

// The steps of every one of `questions`, from its cosines with all answers of the batch: a batch
// stands for its repository, and the list takes about the same part of either. REQUIRES: there is a
// question.
[[nodiscard]] std::vector<VoteSteps> vote_steps(Floats answer_cosines, std::size_t questions,
                                                Workers& workers);

struct FusionLossOptions {
  workers::retrieval::RetrievalSettings ranking = {};  // how the fusion scores
  float weight = 1.0F;
};

// Adds `options.weight` times the mean over the questions of the cross entropy of picking the
// answer among itself and its rivals by text score and vote, and adds the derivatives by the
// vectors, for which the steps are constants. Returns what it added to the loss. Questions without
// rivals cost nothing. REQUIRES: the derivatives are those that contrastive_loss() gave for the
// batch.
double add_fusion_loss(const Batch& batch, const Encoded& questions, const Encoded& symbols,
                       const std::vector<VoteSteps>& steps, const FusionLossOptions& options,
                       Workers& workers, Floats& by_questions, Floats& by_symbols);

}  // namespace velmora::train
